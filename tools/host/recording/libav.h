#pragma once

/// The libraries of FFmpeg, which are C, and owners for what they hand out.

extern "C"
{
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/error.h>
#include <libavutil/frame.h>
#include <libavutil/log.h>
#include <libswscale/swscale.h>
}

#include <cstdint>
#include <memory>
#include <string>

namespace larkmoor::host
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

/// The codec of a format code of the host; AV_CODEC_ID_NONE for no code.
AVCodecID CodecOfFormat(std::uint32_t format);

/// What an error code of the libraries means.
std::string LibavError(int code);

} // namespace larkmoor::host
