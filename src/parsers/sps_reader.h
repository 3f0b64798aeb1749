#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace korvane
{

struct PictureSize
{
    std::uint32_t width = 0;  ///< pixels
    std::uint32_t height = 0; ///< pixels of the whole frame, also when it is coded as fields

    bool operator==(const PictureSize&) const = default;
};

/// Reads the picture size out of an H.264 sequence parameter set (ITU-T H.264, clause 7.3.2.1).
///
/// `bytes` begin behind the NAL header and may go on behind the set; any bytes are acceptable input. Nothing
/// when they end within it or when it gives no size. Emulation prevention bytes are not removed: up to the
/// size no camera's set needs them. Cropping counts in units of two pixels either way, which is right for
/// frames of 4:2:0.
std::optional<PictureSize> ReadPictureSize(std::span<const std::uint8_t> bytes);

} // namespace korvane
