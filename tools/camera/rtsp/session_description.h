#pragma once

#include "camera/fault/fault_plan.h"
#include "camera/media/audio_encoder.h"
#include "camera/media/encoded_frame.h"
#include "camera/rtsp/rtsp_target.h"

#include <string>

namespace larkmoor::camera
{

/// The media section of sound behind that of video: G.711 and G.726 by RFC 3551, AAC by RFC 3640, 4.1, in the
/// high bit-rate mode. `config` is AAC's, `control` relative to the base, or absolute.
std::string DescribeAudio(const AudioSettings& settings, const Bytes& config, const std::string& control);

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

} // namespace larkmoor::camera
