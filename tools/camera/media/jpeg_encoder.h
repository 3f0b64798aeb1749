#pragma once

#include "camera/media/encoded_frame.h"
#include "camera/media/video_encoder.h"

#include <span>

namespace larkmoor::camera
{

/// The parts of a baseline JPEG file (ITU-T T.81, annex B) of which a stream is made. Spans lie in the file.
struct JpegFile
{
    /// Reads the segments up to the scan. False for a file that this camera's encoder would not have made.
    bool Read(std::span<const std::uint8_t> file);

    std::span<const std::uint8_t> application;        ///< from the start of image to behind the JFIF segment
    std::span<const std::uint8_t> restartSegment;     ///< DRI with its marker; empty if there is none
    std::span<const std::uint8_t> tables[2];          ///< 64 bytes each, zig-zag
    std::span<const std::uint8_t> frame;              ///< SOF0, behind marker and length
    std::vector<std::span<const std::uint8_t>> codes; ///< Huffman and scan header segments with their markers
    std::span<const std::uint8_t> scan;               ///< the entropy-coded segment, without the end of image

    int Width() const { return frame[3] << 8 | frame[4]; }
    int Height() const { return frame[1] << 8 | frame[2]; }
    bool IsHalfHeight() const { return (frame[7] & 0x0F) == 2; } ///< 4:2:0
    int RestartInterval() const
    {
        return restartSegment.empty() ? 0 : restartSegment[4] << 8 | restartSegment[5];
    }
};

/// Motion JPEG by libjpeg: baseline files with the Huffman tables of ITU-T T.81, annex K, and the
/// quantisation tables that its annex gives, scaled to a quality, as RFC 2435 takes them for granted. Null as
/// of VideoEncoder::Open.
std::unique_ptr<VideoEncoder> OpenJpegEncoder(const VideoSettings& settings);

/// The quality, 1 to 99, for the device's scale of 10 (best) to 200.
int JpegQualityOf(std::uint32_t quantizer);

/// Both quantisation tables, 128 bytes in zig-zag order, of a quality of 1 to 99.
Bytes JpegTables(int quality);

} // namespace larkmoor::camera
