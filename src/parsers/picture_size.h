#pragma once

#include <cstdint>
#include <optional>
#include <span>

/// The picture size out of a stream's headers. Any bytes are acceptable input. No state; any thread.
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
/// `bytes` begin behind the NAL header and may go on behind the set. Nothing when they end within it or when
/// it gives no size. Emulation prevention bytes are not removed: up to the size no camera's set needs them.
/// Cropping counts in units of two pixels either way, which is right for frames of 4:2:0.
std::optional<PictureSize> ReadPictureSize(std::span<const std::uint8_t> bytes);

/// Reads the picture size out of the headers at the start of an MPEG-4 Part 2 stream (ISO/IEC 14496-2,
/// clauses 6.2.2 and 6.2.3), or out of a short video header (ITU-T H.263, clause 5.1), which may be the
/// extended one with a size of its own.
///
/// `bytes` may go on behind the headers. Nothing when no video object layer or short header is found, when
/// they end within it, when a marker bit is missing, or when it says something that no camera's stream has:
/// another shape than the rectangle, another chroma format than 4:2:0, a size of nothing.
std::optional<PictureSize> ReadMpeg4PictureSize(std::span<const std::uint8_t> bytes);

} // namespace korvane
