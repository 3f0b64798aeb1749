#pragma once

/// The libraries of FFmpeg, which are C, and owners for what they hand out.

extern "C"
{
#include <libavcodec/avcodec.h>
#include <libavutil/channel_layout.h>
#include <libavutil/error.h>
#include <libavutil/frame.h>
#include <libavutil/log.h>
}

#include <memory>

namespace larkmoor
{

template <auto Free>
struct LibavFree
{
    template <typename Object>
    void operator()(Object* object) const
    {
        Free(&object);
    }
};

using LibavPacket = std::unique_ptr<AVPacket, LibavFree<av_packet_free>>;
using LibavFrame = std::unique_ptr<AVFrame, LibavFree<av_frame_free>>;
using LibavCodecContext = std::unique_ptr<AVCodecContext, LibavFree<avcodec_free_context>>;

} // namespace larkmoor
