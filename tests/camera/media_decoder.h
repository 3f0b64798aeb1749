#pragma once

#include "camera/media/encoded_frame.h"
#include "camera/media/test_picture.h"

extern "C"
{
#include <libavcodec/avcodec.h>
}

#include <cstdint>
#include <optional>
#include <utility>

namespace larkmoor::camera
{

/// What the test picture shows after its journey, seen by a decoder that knows nothing of the camera.
class MediaDecoder
{
public:
    explicit MediaDecoder(VideoCodec codec)
    {
        const AVCodecID id = codec == VideoCodec::H264    ? AV_CODEC_ID_H264
                             : codec == VideoCodec::Mpeg4 ? AV_CODEC_ID_MPEG4
                                                          : AV_CODEC_ID_MJPEG;
        context_ = avcodec_alloc_context3(avcodec_find_decoder(id));
        context_->thread_count = 1;
        context_->flags |= AV_CODEC_FLAG_LOW_DELAY;
        context_->err_recognition = AV_EF_EXPLODE | AV_EF_CRCCHECK;
        context_->log_level_offset = 100;
        avcodec_open2(context_, nullptr, nullptr);
    }
    ~MediaDecoder()
    {
        av_frame_free(&frame_);
        av_packet_free(&packet_);
        avcodec_free_context(&context_);
    }
    MediaDecoder(const MediaDecoder&) = delete;
    MediaDecoder& operator=(const MediaDecoder&) = delete;

    /// The number that the picture shows; nothing if `bytes`, a picture in its codec's own stream format,
    /// does not decode without error.
    std::optional<std::uint32_t> Number(Bytes bytes)
    {
        const auto size = static_cast<int>(bytes.size());
        bytes.resize(bytes.size() + AV_INPUT_BUFFER_PADDING_SIZE);
        packet_->data = bytes.data();
        packet_->size = size;
        if (avcodec_send_packet(context_, packet_) < 0 || avcodec_receive_frame(context_, frame_) < 0)
            return std::nullopt;
        return TestPicture::ReadNumber(frame_->data[0], frame_->linesize[0], frame_->width, frame_->height);
    }

    /// Width and height of the last picture.
    std::pair<int, int> Size() const { return {frame_->width, frame_->height}; }

private:
    AVCodecContext* context_ = nullptr;
    AVFrame* frame_ = av_frame_alloc();
    AVPacket* packet_ = av_packet_alloc();
};

} // namespace larkmoor::camera
