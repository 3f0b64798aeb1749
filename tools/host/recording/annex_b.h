#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace larkmoor::host
{

using ByteSpan = std::span<const std::uint8_t>;

/// The NAL units of an H.264 byte stream (ITU-T H.264, annex B), without start codes and trailing zero bytes.
std::vector<ByteSpan> SplitUnits(ByteSpan stream);

/// The sequence and picture parameter sets of a key frame, each behind a four-byte start code, as a player
/// wants them in front of a recording. Empty if either kind is missing.
std::vector<std::uint8_t> H264Headers(ByteSpan keyFrame);

/// What stands in front of the first picture of an MPEG-4 key frame (ISO/IEC 14496-2, 6.2: visual object
/// sequence, visual object, video object layer). Empty without a picture or without a layer.
std::vector<std::uint8_t> Mpeg4Headers(ByteSpan keyFrame);

} // namespace larkmoor::host
