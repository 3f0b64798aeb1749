#pragma once

#include "camera/media/video_encoder.h"

#include <span>

namespace larkmoor::camera
{

/// Motion JPEG by libjpeg: baseline files with the Huffman tables of ITU-T T.81, annex K, and the
/// quantisation tables that its annex gives, scaled to a quality, as RFC 2435 takes them for granted. Null as
/// of VideoEncoder::Open.
std::unique_ptr<VideoEncoder> OpenJpegEncoder(const VideoSettings& settings);

/// The quality, 1 to 99, for the device's scale of 10 (best) to 200.
int JpegQualityOf(std::uint32_t quantizer);

/// Both quantisation tables, 128 bytes in zig-zag order, of a quality of 1 to 99.
Bytes JpegTables(int quality);

} // namespace larkmoor::camera
