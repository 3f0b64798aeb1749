#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "parsers/picture_size.h"

namespace korvane
{

/// Reads the picture size out of an H.264 sequence parameter set (ITU-T H.264, clause 7.3.2.1).
///
/// `bytes` begin behind the NAL header and may go on behind the set; any bytes are acceptable input. Nothing
/// when they end within it or when it gives no size. Emulation prevention bytes are not removed: up to the
/// size no camera's set needs them. Cropping counts in units of two pixels either way, which is right for
/// frames of 4:2:0.
std::optional<PictureSize> ReadPictureSize(std::span<const std::uint8_t> bytes);

} // namespace korvane
