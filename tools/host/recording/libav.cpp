#include "host/recording/libav.h"

#include "host/base/failure.h"

#include <larkmoor/host_frame.h>

#include <algorithm>
#include <array>
#include <new>
#include <utility>

namespace larkmoor::host
{

using namespace korvane::ipcapture;

AVCodecID CodecOfFormat(std::uint32_t format)
{
    switch (format)
    {
    case kFormatH264Key:
    case kFormatH264Delta:
        return AV_CODEC_ID_H264;
    case kFormatMpeg4Key:
    case kFormatMpeg4Delta:
        return AV_CODEC_ID_MPEG4;
    case kFormatJpeg:
        return AV_CODEC_ID_MJPEG;
    case kFormatG711MuLaw:
        return AV_CODEC_ID_PCM_MULAW;
    case kFormatG711ALaw:
        return AV_CODEC_ID_PCM_ALAW;
    case kFormatG726:
        return AV_CODEC_ID_ADPCM_G726LE; // packed from the least significant bit on, as RFC 3551 has it
    case kFormatAac:
        return AV_CODEC_ID_AAC;
    default:
        return AV_CODEC_ID_NONE;
    }
}

std::string LibavError(int code)
{
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(code, text.data(), text.size());
    return text.data();
}

OutputContainer::OutputContainer(std::filesystem::path file, const char* muxer) : path_(std::move(file))
{
    if (const int code = avformat_alloc_output_context2(&format_, nullptr, muxer, nullptr); code < 0)
        Fail(code);
    if (!packet_)
        throw std::bad_alloc();
}

OutputContainer::~OutputContainer()
{
    if (format_ != nullptr)
        avio_closep(&format_->pb);
    avformat_free_context(format_);
}

void OutputContainer::Fail(int code) const
{
    throw Failure(ExitStatus::Output, "can't write " + path_.string() + ": " + LibavError(code));
}

AVStream& OutputContainer::AddStream(AVRational timeBase)
{
    AVStream* const stream = avformat_new_stream(format_, nullptr);
    if (stream == nullptr)
        throw std::bad_alloc();
    stream->time_base = timeBase;
    return *stream;
}

void OutputContainer::Begin()
{
    if (const int code = avio_open(&format_->pb, ("file:" + path_.string()).c_str(), AVIO_FLAG_WRITE);
        code < 0)
        Fail(code);
    if (const int code = avformat_write_header(format_, nullptr); code < 0)
        Fail(code);
    hasHead_ = true;
}

void OutputContainer::Write(int index, std::span<const std::uint8_t> bytes, AVRational timeBase,
                            std::int64_t place, bool isKey, std::int64_t duration)
{
    // The bytes stay the caller's: a single stream has nothing to be interleaved with, so nothing is kept,
    // and of several the library copies what it keeps.
    const AVRational unit = format_->streams[index]->time_base;
    packet_->data = const_cast<std::uint8_t*>(bytes.data());
    packet_->size = static_cast<int>(bytes.size());
    packet_->stream_index = index;
    packet_->flags = isKey ? AV_PKT_FLAG_KEY : 0;
    packet_->pts = packet_->dts = av_rescale_q(place, timeBase, unit);
    packet_->duration = av_rescale_q(duration, timeBase, unit);
    const int code = format_->nb_streams > 1 ? av_interleaved_write_frame(format_, packet_.get())
                                             : av_write_frame(format_, packet_.get());
    packet_->data = nullptr;
    packet_->size = 0;
    if (code < 0 || format_->pb->error < 0)
        Fail(code < 0 ? code : format_->pb->error);
}

void OutputContainer::Close()
{
    int code = std::exchange(hasHead_, false) ? av_write_trailer(format_) : 0;
    if (code >= 0)
        code = format_->pb->error;
    if (const int closed = avio_closep(&format_->pb); code >= 0)
        code = closed;
    if (code < 0)
        Fail(code);
}

} // namespace larkmoor::host
