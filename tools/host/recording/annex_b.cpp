#include "host/recording/annex_b.h"

#include <algorithm>
#include <array>

namespace larkmoor::host
{

namespace
{

constexpr std::array<std::uint8_t, 3> kStartCode = {0, 0, 1};
constexpr std::uint8_t kSequenceParameterSet = 7;
constexpr std::uint8_t kPictureParameterSet = 8;

// Where the next start code begins, or the end.
std::size_t NextStart(ByteSpan stream, std::size_t from)
{
    const auto found = std::search(stream.begin() + static_cast<std::ptrdiff_t>(from), stream.end(),
                                   kStartCode.begin(), kStartCode.end());
    return static_cast<std::size_t>(found - stream.begin());
}

} // namespace

std::vector<ByteSpan> SplitUnits(ByteSpan stream)
{
    std::vector<ByteSpan> units;
    for (std::size_t at = NextStart(stream, 0); at < stream.size();)
    {
        const std::size_t begin = at + kStartCode.size();
        at = NextStart(stream, begin);
        ByteSpan unit = stream.subspan(begin, at - begin);
        while (!unit.empty() && unit.back() == 0)
            unit = unit.first(unit.size() - 1);
        if (!unit.empty())
            units.push_back(unit);
    }
    return units;
}

std::vector<std::uint8_t> H264Headers(ByteSpan keyFrame)
{
    std::vector<std::uint8_t> headers;
    bool hasSequence = false;
    bool hasPicture = false;
    for (const ByteSpan unit : SplitUnits(keyFrame))
    {
        const unsigned type = unit[0] & 0x1F;
        if (type != kSequenceParameterSet && type != kPictureParameterSet)
            continue;
        (type == kSequenceParameterSet ? hasSequence : hasPicture) = true;
        headers.push_back(0);
        headers.insert(headers.end(), kStartCode.begin(), kStartCode.end());
        headers.insert(headers.end(), unit.begin(), unit.end());
    }
    return hasSequence && hasPicture ? headers : std::vector<std::uint8_t>();
}

std::vector<std::uint8_t> Mpeg4Headers(ByteSpan keyFrame)
{
    constexpr std::uint8_t kFirstLayer = 0x20;
    constexpr std::uint8_t kLastLayer = 0x2F;
    constexpr std::uint8_t kGroup = 0xB3;
    constexpr std::uint8_t kPicture = 0xB6;
    bool hasLayer = false;
    for (std::size_t at = NextStart(keyFrame, 0); at + kStartCode.size() < keyFrame.size();
         at = NextStart(keyFrame, at + kStartCode.size()))
    {
        const std::uint8_t code = keyFrame[at + kStartCode.size()];
        hasLayer = hasLayer || (code >= kFirstLayer && code <= kLastLayer);
        if (code == kGroup || code == kPicture)
            return hasLayer ? std::vector<std::uint8_t>(keyFrame.begin(),
                                                        keyFrame.begin() + static_cast<std::ptrdiff_t>(at))
                            : std::vector<std::uint8_t>();
    }
    return {};
}

} // namespace larkmoor::host
