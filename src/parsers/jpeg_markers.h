#pragma once

#include <cstdint>

/// Marker codes of a JPEG file (ITU-T T.81, table B.1).
namespace korvane
{

inline constexpr std::uint8_t kMarker = 0xFF; ///< before each code
inline constexpr std::uint8_t kStartOfFrame =
    0xC0; ///< SOF0, baseline: the sequence that all these cameras send
inline constexpr std::uint8_t kStartOfImage = 0xD8;
inline constexpr std::uint8_t kEndOfImage = 0xD9;

} // namespace korvane
