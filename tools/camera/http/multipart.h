#pragma once

#include "camera/fault/dice.h"
#include "camera/fault/fault_plan.h"
#include "camera/media/encoded_frame.h"

#include <memory>
#include <span>
#include <string>
#include <vector>

namespace larkmoor::camera
{

/// One picture of a multipart stream, ready to be sent.
struct MultipartPart
{
    std::string before;                    ///< boundary and headers
    std::span<const std::uint8_t> picture; ///< as a receiver gets it
    std::string after;
    std::string chunks; ///< all of it in chunks, if the transfer is chunked

    bool isWhole = true; ///< false if a fault has cut the picture short
    Bytes thumbnail;     ///< a picture within the picture, empty if there is none

    std::shared_ptr<const EncodedFrame> frame; ///< keeps `picture` alive, unless `altered` does
    Bytes altered;                             ///< holds `picture` if it is not that of the frame

    /// What to send, in a row: views of the above.
    std::vector<std::span<const std::uint8_t>> Pieces() const;
};

/// Makes the parts of one client's Motion JPEG stream: multipart/x-mixed-replace, a body part (RFC 2046,
/// section 5.1) for each picture. The fault mjpeg-odd is played here. One thread at a time.
class MultipartWriter
{
public:
    /// With `stamps` each picture carries the time of its sending, see docs/frame-stamp.md.
    MultipartWriter(FaultPlan& faults, std::uint64_t seed, bool stamps)
        : faults_(faults), dice_(seed, "mjpeg-odd"), stamps_(stamps)
    {
    }

    /// The response's status line and headers. Whether the transfer is chunked (RFC 7230, section 4.1) is
    /// settled here for all parts to come.
    std::string Head();

    MultipartPart Next(const MediaFrame& frame);

private:
    std::string Chunk(const MultipartPart& part);

    FaultPlan& faults_;
    Dice dice_;
    const bool stamps_;
    bool chunked_ = false;
    std::uint32_t count_ = 0;
};

/// `picture`, a JPEG file, with `segment` right behind its start of image.
Bytes WithSegment(std::span<const std::uint8_t> picture, std::span<const std::uint8_t> segment);

/// `picture`, a JPEG file, with `thumbnail`, another one of at most 60,000 bytes, in an Exif segment of its
/// own.
Bytes WithThumbnail(std::span<const std::uint8_t> picture, std::span<const std::uint8_t> thumbnail);

} // namespace larkmoor::camera
