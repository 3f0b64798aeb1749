#include "parsers/mp4_parser.h"

#include <algorithm>

#include "parsers/mpeg4_start_code.h"

namespace korvane
{

namespace
{

constexpr std::size_t kLeastBytes = 8; // two start codes

} // namespace

std::size_t CMP4Parser::TakeConfig(std::span<const std::uint8_t> payload)
{
    if (payload.size() < kLeastBytes || !std::ranges::equal(payload.first(4), kSequenceStartCode))
        return 0;
    const auto picture =
        std::search(payload.begin() + 4, payload.end(), kPictureStartCode.begin(), kPictureStartCode.end());
    if (picture == payload.end())
        return 0;
    config_.assign(payload.begin(), picture);
    return config_.size();
}

} // namespace korvane
