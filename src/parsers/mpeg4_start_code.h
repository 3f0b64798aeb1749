#pragma once

#include <array>
#include <cstdint>

namespace korvane
{

/// Start codes of ISO/IEC 14496-2, table 6-3.
inline constexpr std::array<std::uint8_t, 4> kSequenceStartCode = {0, 0, 1, 0xB0}; ///< visual object sequence
inline constexpr std::array<std::uint8_t, 4> kPictureStartCode = {0, 0, 1, 0xB6};  ///< VOP

} // namespace korvane
