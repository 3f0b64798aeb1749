#include "camera/media/annexb.h"

#include <algorithm>
#include <array>

namespace larkmoor::camera
{
namespace
{

constexpr std::array<std::uint8_t, 3> kStartCode = {0, 0, 1};

} // namespace

std::vector<NalUnit> SplitAnnexB(std::span<const std::uint8_t> stream)
{
    std::vector<NalUnit> units;
    auto startCode = std::search(stream.begin(), stream.end(), kStartCode.begin(), kStartCode.end());
    while (startCode != stream.end())
    {
        const auto begin = startCode + kStartCode.size();
        startCode = std::search(begin, stream.end(), kStartCode.begin(), kStartCode.end());
        auto end = startCode;
        while (end != begin && *(end - 1) == 0)
            --end;
        if (end != begin)
            units.push_back(
                {static_cast<std::size_t>(begin - stream.begin()), static_cast<std::size_t>(end - begin)});
    }
    return units;
}

} // namespace larkmoor::camera
