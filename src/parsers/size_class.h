#pragma once

#include <cstdint>

namespace korvane
{

/// The host's size class of a picture, from its width and height in pixels.
constexpr std::uint32_t SizeClass(std::uint32_t width, std::uint32_t height)
{
    if (width < 200)
        return 1;
    if (width < 400)
        return 2;
    if (width >= 1024)
        return 4;
    return width > 2 * height ? 3 : 4;
}

} // namespace korvane
