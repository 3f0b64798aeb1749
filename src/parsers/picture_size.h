#pragma once

#include <cstdint>

namespace korvane
{

struct PictureSize
{
    std::uint32_t width = 0;  ///< pixels
    std::uint32_t height = 0; ///< pixels of the whole frame, also when it is coded as fields

    bool operator==(const PictureSize&) const = default;
};

} // namespace korvane
