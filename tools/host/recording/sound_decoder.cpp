#include "host/recording/sound_decoder.h"

#include "host/base/failure.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>

namespace larkmoor::host
{

SoundDecoder::SoundDecoder(const FrameInfo& info)
{
    const AVCodec* const codec = avcodec_find_decoder(CodecOfFormat(info.format));
    if (codec == nullptr)
        throw Failure(ExitStatus::Output, "no decoder for " + FormatName(info.format));
    context_.reset(avcodec_alloc_context3(codec));
    if (!context_ || !packet_ || !frame_)
        throw std::bad_alloc();
    context_->sample_rate = static_cast<int>(info.sampleRate);
    av_channel_layout_default(&context_->ch_layout, info.stereo ? 2 : 1);
    if (info.format == kFormatG726 && info.sampleRate != 0)
        context_->bits_per_coded_sample = static_cast<int>(info.audioBitRate / info.sampleRate);
    SetHeaders(*context_, info.codecConfig);
    if (const int code = avcodec_open2(context_.get(), codec, nullptr); code < 0)
        throw Failure(ExitStatus::Output,
                      "can't decode " + FormatName(info.format) + ": " + LibavError(code));
}

std::vector<std::int16_t> SoundDecoder::Decode(std::span<const std::uint8_t> bytes)
{
    std::vector<std::int16_t> samples;
    if (bytes.empty() || av_new_packet(packet_.get(), static_cast<int>(bytes.size())) < 0)
        return samples;
    std::copy(bytes.begin(), bytes.end(), packet_->data);
    const int sent = avcodec_send_packet(context_.get(), packet_.get());
    av_packet_unref(packet_.get());
    if (sent >= 0)
        Receive(samples);
    return samples;
}

void SoundDecoder::Receive(std::vector<std::int16_t>& samples)
{
    while (avcodec_receive_frame(context_.get(), frame_.get()) >= 0)
    {
        const int channels = frame_->ch_layout.nb_channels;
        for (int i = 0; i < frame_->nb_samples; ++i)
        {
            for (int channel = 0; channel < channels; ++channel)
            {
                if (frame_->format == AV_SAMPLE_FMT_S16)
                    samples.push_back(
                        reinterpret_cast<std::int16_t*>(frame_->data[0])[i * channels + channel]);
                else if (frame_->format == AV_SAMPLE_FMT_FLTP)
                    samples.push_back(static_cast<std::int16_t>(std::lround(
                        std::clamp(reinterpret_cast<float*>(frame_->extended_data[channel])[i], -1.0F, 1.0F) *
                        32767.0F)));
            }
        }
    }
}

} // namespace larkmoor::host
