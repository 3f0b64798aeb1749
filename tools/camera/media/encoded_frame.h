#pragma once

#include "camera/media/video_settings.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace larkmoor::camera
{

using Bytes = std::vector<std::uint8_t>;

/// What a receiver needs before the first picture. H.264: one NAL unit each, without start code. MPEG-4:
/// `config` holds the visual object sequence up to the first picture. Empty for Motion JPEG.
struct ParameterSets
{
    Bytes sps;
    Bytes pps;
    Bytes config;
};

/// A NAL unit's place in EncodedFrame::bytes, without its start code.
struct NalUnit
{
    std::size_t offset = 0;
    std::size_t size = 0;
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
