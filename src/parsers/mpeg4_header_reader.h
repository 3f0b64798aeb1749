#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "parsers/picture_size.h"

namespace korvane
{

/// Reads the picture size out of the headers at the start of an MPEG-4 Part 2 stream (ISO/IEC 14496-2,
/// clauses 6.2.2 and 6.2.3), or out of a short video header (ITU-T H.263, clause 5.1), which may be the
/// extended one with a size of its own.
///
/// `bytes` may go on behind the headers; any bytes are acceptable input. Nothing when no video object layer
/// or short header is found, when they end within it, when a marker bit is missing, or when it says something
/// that no camera's stream has: another shape than the rectangle, another chroma format than 4:2:0, a size of
/// nothing.
std::optional<PictureSize> ReadMpeg4PictureSize(std::span<const std::uint8_t> bytes);

} // namespace korvane
