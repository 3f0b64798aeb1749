#include "host/recording/sound_track.h"

#include "host/base/failure.h"

#include <algorithm>
#include <cstdlib>
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
