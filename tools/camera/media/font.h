#pragma once

#include <array>
#include <cstdint>

namespace larkmoor::camera
{

inline constexpr int kGlyphColumns = 5;
inline constexpr int kGlyphRows = 7;
inline constexpr int kGlyphAdvance = kGlyphColumns + 1; ///< with the gap to the next letter

/// The columns of a letter from left to right; bit 0 is the top row. Small letters look like capitals, and a
/// letter that the font lacks is an empty box.
std::array<std::uint8_t, kGlyphColumns> GlyphOf(char letter);

} // namespace larkmoor::camera
