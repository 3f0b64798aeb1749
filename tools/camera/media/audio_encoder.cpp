#include "camera/media/audio_encoder.h"

#include "base/libav.h"

#include <algorithm>

namespace larkmoor::camera
{
namespace
{

constexpr std::uint32_t kPiecesPerSecond = 50; // of codecs without a frame of their own

const AVCodec* FindEncoder(AudioCodec codec)
{
    switch (codec)
    {
    case AudioCodec::G711MuLaw:
        return avcodec_find_encoder(AV_CODEC_ID_PCM_MULAW);
    case AudioCodec::G711ALaw:
        return avcodec_find_encoder(AV_CODEC_ID_PCM_ALAW);
    case AudioCodec::G726:
        return avcodec_find_encoder(AV_CODEC_ID_ADPCM_G726LE);
    case AudioCodec::Aac:
        break;
    }
    return avcodec_find_encoder_by_name("aac");
}

class LibavAudioEncoder : public AudioEncoder
{
public:
    bool Open(const AudioSettings& settings);
    std::size_t PieceSamples() const override { return static_cast<std::size_t>(frame_->nb_samples); }
    Bytes Encode(std::span<const std::int16_t> samples) override;
    Bytes Config() const override
    {
        return Bytes(context_->extradata, context_->extradata + context_->extradata_size);
    }

private:
    bool MakeFrame();

    LibavCodecContext context_;
    LibavFrame frame_{av_frame_alloc()};
    LibavPacket packet_{av_packet_alloc()};
};

bool LibavAudioEncoder::Open(const AudioSettings& settings)
{
    const AVCodec* const codec = FindEncoder(settings.codec);
    context_.reset(codec == nullptr ? nullptr : avcodec_alloc_context3(codec));
    if (!context_ || !frame_ || !packet_)
        return false;
    context_->sample_rate = static_cast<int>(settings.SampleRate());
    context_->sample_fmt = settings.codec == AudioCodec::Aac ? AV_SAMPLE_FMT_FLTP : AV_SAMPLE_FMT_S16;
    context_->bit_rate = settings.bitRate;
    context_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    av_channel_layout_default(&context_->ch_layout, 1);
    if (avcodec_open2(context_.get(), codec, nullptr) < 0)
        return false;
    if (settings.codec != AudioCodec::Aac) // these take pieces of any size, though G.726 names a larger one
        context_->frame_size = static_cast<int>(settings.SampleRate() / kPiecesPerSecond);
    return MakeFrame();
}

bool LibavAudioEncoder::MakeFrame()
{
    frame_->nb_samples = context_->frame_size;
    frame_->format = context_->sample_fmt;
    frame_->sample_rate = context_->sample_rate;
    frame_->pts = 0;
    return av_channel_layout_copy(&frame_->ch_layout, &context_->ch_layout) == 0 &&
           av_frame_get_buffer(frame_.get(), 0) == 0;
}

Bytes LibavAudioEncoder::Encode(std::span<const std::int16_t> samples)
{
    if (samples.size() != PieceSamples() || av_frame_make_writable(frame_.get()) < 0)
        return {};
    if (context_->sample_fmt == AV_SAMPLE_FMT_S16)
        std::copy(samples.begin(), samples.end(), reinterpret_cast<std::int16_t*>(frame_->data[0]));
    else
        std::transform(samples.begin(), samples.end(), reinterpret_cast<float*>(frame_->data[0]),
                       [](std::int16_t sample) { return static_cast<float>(sample) / 32768.0F; });
    frame_->pts += frame_->nb_samples;
    if (avcodec_send_frame(context_.get(), frame_.get()) < 0)
        return {};
    Bytes bytes;
    while (avcodec_receive_packet(context_.get(), packet_.get()) == 0)
    {
        bytes.insert(bytes.end(), packet_->data, packet_->data + packet_->size);
        av_packet_unref(packet_.get());
    }
    return bytes;
}

} // namespace

std::unique_ptr<AudioEncoder> AudioEncoder::Open(const AudioSettings& settings)
{
    av_log_set_level(AV_LOG_ERROR); // of AAC each end is told otherwise
    auto encoder = std::make_unique<LibavAudioEncoder>();
    return encoder->Open(settings) ? std::move(encoder) : nullptr;
}

} // namespace larkmoor::camera
