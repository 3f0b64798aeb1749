#pragma once

#include <cstdint>

namespace larkmoor::camera
{

enum class VideoCodec
{
    MotionJpeg,
    Mpeg4,
    H264,
};

enum class RateControl
{
    ConstantQuality, ///< "vbr": by `quantizer`
    ConstantBitrate, ///< "cbr": by `bitrate`
};

enum class H264Profile
{
    Baseline, ///< CAVLC, 4x4 transform
    Main,     ///< CABAC
    High,     ///< CABAC, 8x8 transform
};

/// How a stream is to be encoded. A change of any member opens a new encoder, in mid-stream too. Numbers out
/// of their range are brought into it by the encoder.
struct VideoSettings
{
    VideoCodec codec = VideoCodec::H264;
    std::uint32_t width = 640;    ///< in pixels, even, 16 to 4096
    std::uint32_t height = 480;   ///< in pixels, even, 16 to 4096
    std::uint32_t frameRate = 25; ///< pictures a second, 1 to 120
    RateControl rateControl = RateControl::ConstantQuality;
    std::uint32_t quantizer = 26; ///< less is better: Motion JPEG 10 to 200, MPEG-4 1 to 31, H.264 0 to 51
    std::uint32_t bitrate = 1'000'000; ///< bits a second, for ConstantBitrate
    std::uint32_t keyInterval = 1000;  ///< in ms, between key pictures

    // The shapes of H.264 that encoders of real cameras have.
    H264Profile profile = H264Profile::Baseline;
    std::uint32_t slices = 1;  ///< NAL units that a picture is cut into, 1 to 32
    bool interlaced = false;   ///< field pairs: frame_mbs_only_flag 0
    bool scalingLists = false; ///< scaling matrices in the sequence parameter set; with the high profile

    // Those of Motion JPEG.
    bool jpeg422 = false;          ///< chroma of full height
    std::uint32_t jpegRestart = 0; ///< MCUs between restart markers; 0 for none
    bool jpegTables = false;       ///< over RTP the quantisation tables travel in band

    bool operator==(const VideoSettings&) const = default;
};

} // namespace larkmoor::camera
