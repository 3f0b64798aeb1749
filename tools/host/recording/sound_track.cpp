#include "host/recording/sound_track.h"

#include "host/base/failure.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>

namespace larkmoor::host
{

namespace
{

constexpr std::int64_t kAacSamples = 1024; // of an access unit (ISO/IEC 14496-3, 4.5.1.1)
constexpr std::int64_t kSecond = 1'000'000;

bool StaysAsItIs(AVCodecID codec, SoundTrack::File file)
{
    const bool isG711 = codec == AV_CODEC_ID_PCM_MULAW || codec == AV_CODEC_ID_PCM_ALAW;
    return codec == AV_CODEC_ID_AAC ? file != SoundTrack::File::Wav : isG711;
}

} // namespace

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

SoundTrack::SoundTrack(const FrameInfo& info, File file) : info_(info), codec_(CodecOfFormat(info.format))
{
    if (info.sampleRate == 0 || (file == File::Adts && codec_ != AV_CODEC_ID_AAC))
        throw Failure(ExitStatus::Output, "such a file does not hold " + FormatName(info.format));
    const int channels = info.stereo ? 2 : 1;
    if (!StaysAsItIs(codec_, file))
    {
        decoder_ = std::make_unique<SoundDecoder>(info);
        codec_ = AV_CODEC_ID_PCM_S16LE;
    }
    if (codec_ != AV_CODEC_ID_AAC)
        sampleBytes_ = channels * (decoder_ ? 2 : 1);
}

bool SoundTrack::Fits(const FrameInfo& info) const
{
    return info.format == info_.format && info.sampleRate == info_.sampleRate &&
           info.stereo == info_.stereo && info.audioBitRate == info_.audioBitRate &&
           info.codecConfig == info_.codecConfig;
}

void SoundTrack::Describe(AVCodecParameters& parameters) const
{
    parameters.codec_type = AVMEDIA_TYPE_AUDIO;
    parameters.codec_id = codec_;
    parameters.sample_rate = static_cast<int>(info_.sampleRate);
    av_channel_layout_default(&parameters.ch_layout, info_.stereo ? 2 : 1);
    if (codec_ == AV_CODEC_ID_AAC)
    {
        parameters.frame_size = kAacSamples;
        SetHeaders(parameters, info_.codecConfig);
        return;
    }
    parameters.bits_per_coded_sample = decoder_ ? 16 : 8;
    parameters.block_align = static_cast<int>(sampleBytes_);
}

std::int64_t SoundTrack::TimeOf(std::int64_t samples) const
{
    const auto rate = static_cast<std::int64_t>(info_.sampleRate);
    return samples / rate * kSecond + samples % rate * kSecond / rate;
}

SoundTrack::Piece SoundTrack::Make(const FrameInfo& info, std::span<const std::uint8_t> bytes)
{
    Piece piece;
    if (decoder_)
    {
        for (const std::int16_t sample : decoder_->Decode(bytes))
        {
            piece.bytes.push_back(static_cast<std::uint8_t>(sample));
            piece.bytes.push_back(static_cast<std::uint8_t>(sample >> 8));
        }
    }
    else
        piece.bytes.assign(bytes.begin(), bytes.end());
    piece.samples =
        sampleBytes_ == 0 ? kAacSamples : static_cast<std::int64_t>(piece.bytes.size()) / sampleBytes_;

    const std::int64_t begin = info.time - TimeOf(piece.samples);
    if (!origin_ || std::llabs(*origin_ + TimeOf(run_) - begin) > kSlip)
    {
        slips_ += origin_ ? 1 : 0;
        origin_ = begin;
        run_ = 0;
    }
    piece.begin = *origin_ + TimeOf(run_);
    run_ += piece.samples;
    return piece;
}

void SoundTrack::Trim(Piece& piece, std::int64_t begin) const
{
    if (piece.begin >= begin)
        return;
    std::int64_t cut = piece.samples;
    if (sampleBytes_ != 0)
        cut = std::min(cut, (begin - piece.begin) * static_cast<std::int64_t>(info_.sampleRate) / kSecond);
    piece.bytes.erase(piece.bytes.begin(),
                      sampleBytes_ == 0 ? piece.bytes.end() : piece.bytes.begin() + cut * sampleBytes_);
    piece.samples -= cut;
    piece.begin += TimeOf(cut);
}

} // namespace larkmoor::host
