#pragma once

#include "camera/media/encoded_frame.h"

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

} // namespace larkmoor::camera
