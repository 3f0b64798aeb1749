#pragma once

#include "camera/fault/fault_plan.h"
#include "camera/media/encoded_frame.h"
#include "camera/rtsp/rtsp_options.h"

#include <string>

namespace larkmoor::camera
{

/// What a description (RFC 4566) tells of a stream.
struct DescribedVideo
{
    RtspTarget target;
    std::string serverAddress; ///< IPv4, dotted
    std::string control;       ///< of the media section: relative to the base, or absolute
    const ParameterSets& parameterSets;
    std::uint32_t frameRate = 25;
    std::uint8_t payloadType = 96;
    VideoCodec codec = VideoCodec::H264;
};

/// The body of the answer to DESCRIBE for a stream of H.264 (RFC 6184, 8.2.1), MPEG-4 (RFC 6416, 7.1) or
/// JPEG (RFC 2435), told with the faults sprop-missing and sdp-broken.
std::string DescribeVideo(const DescribedVideo& video, const FaultPlan& faults);

/// RFC 4648, section 4.
std::string Base64(std::span<const std::uint8_t> bytes);

} // namespace larkmoor::camera
