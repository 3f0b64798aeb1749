#pragma once

#include "base/annexb.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace larkmoor::camera
{

enum class VideoCodec
{
    MotionJpeg,
    Mpeg4,
    H264,
};

/// As parameters and pictures call it.
constexpr const char* NameOf(VideoCodec codec)
{
    constexpr const char* kNames[] = {"mjpeg", "mpeg4", "h264"};
    return kNames[static_cast<std::size_t>(codec)];
}

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

using Bytes = std::vector<std::uint8_t>;

inline void Append(Bytes& bytes, std::span<const std::uint8_t> more)
{
    bytes.insert(bytes.end(), more.begin(), more.end());
}
/// The low `size` bytes of `value`, the highest of them first.
inline void AppendNumber(Bytes& bytes, std::size_t value, int size)
{
    for (int shift = 8 * (size - 1); shift >= 0; shift -= 8)
        bytes.push_back(static_cast<std::uint8_t>(value >> shift));
}

/// What a receiver needs before the first picture. H.264: one NAL unit each, without start code. MPEG-4:
/// `config` holds the visual object sequence up to the first picture. Empty for Motion JPEG.
struct ParameterSets
{
    Bytes sps;
    Bytes pps;
    Bytes config;
};

/// One encoded picture, made once, never changed and shared by all who send it.
struct EncodedFrame
{
    VideoCodec codec = VideoCodec::H264;
    bool key = false;
    int width = 0;
    int height = 0;
    int jpegQuality = 0;        ///< Motion JPEG only: 1 to 99, of its quantisation tables
    Bytes bytes;                ///< Motion JPEG: the file. MPEG-4: the stream. H.264: an Annex B byte stream
    std::vector<NalUnit> units; ///< H.264 only: the units of `bytes`, without parameter sets, in order
    std::shared_ptr<const ParameterSets> parameterSets; ///< never null

    std::span<const std::uint8_t> Unit(const NalUnit& unit) const
    {
        return std::span(bytes).subspan(unit.offset, unit.size);
    }
};

/// A picture of a running stream: the bytes with their place in time.
struct MediaFrame
{
    std::shared_ptr<const EncodedFrame> encoded;
    std::uint64_t number = 0;             ///< of the pictures that the stream was to give, from 0
    std::chrono::nanoseconds mediaTime{}; ///< since the stream's start, evenly spaced
    std::chrono::system_clock::time_point captured;
};

} // namespace larkmoor::camera
