#include "base/annexb.h"

#include <algorithm>

namespace larkmoor
{

namespace
{

constexpr std::uint8_t kStartCode[] = {0, 0, 1};

} // namespace

std::size_t FindStartCode(std::span<const std::uint8_t> stream, std::size_t from)
{
    const auto found = std::search(stream.begin() + static_cast<std::ptrdiff_t>(from), stream.end(),
                                   std::begin(kStartCode), std::end(kStartCode));
    return static_cast<std::size_t>(found - stream.begin());
}

std::vector<NalUnit> SplitAnnexB(std::span<const std::uint8_t> stream)
{
    std::vector<NalUnit> units;
    for (std::size_t at = FindStartCode(stream, 0); at < stream.size();)
    {
        const std::size_t begin = at + std::size(kStartCode);
        at = FindStartCode(stream, begin);
        std::size_t end = at;
        while (end > begin && stream[end - 1] == 0)
            --end;
        if (end > begin)
            units.push_back({begin, end - begin});
    }
    return units;
}

} // namespace larkmoor
