#include "camera/rtsp/audio_session.h"

#include <utility>

namespace larkmoor::camera
{

AudioSession::AudioSession(const RtspOptions& options, const RtspServices& services, SendCounters& counters,
                           Setup setup)
    : options_(options),
      services_(services),
      counters_(counters),
      stream_(std::move(setup.stream)),
      output_(std::move(setup.output)),
      described_(stream_->Settings()),
      rtp_(Dice(setup.seed, "rtp"), AudioPayloadType(described_)),
      faults_(services.faults, setup.seed),
      packets_(services.faults, options.packetBytes - OutPacket::kRtpHeaderBytes),
      truth_(services.truth, stream_->Id().Text())
{
}

AudioSession::~AudioSession()
{
    AudioSession::Vanish();
}

void AudioSession::Play(std::function<void()> onFirstFrame)
{
    if (playing_ || gone_)
        return;
    playing_ = true;
    onFirstFrame_ = std::move(onFirstFrame);
    stream_->Subscribe(*this);
}

void AudioSession::Stop()
{
    if (pieces_ > 0 && !gone_ && !muted_ && !faults_.Frozen())
        SendBye();
    Vanish();
}

void AudioSession::Vanish()
{
    gone_ = true;
    if (std::exchange(playing_, false))
        stream_->Unsubscribe(*this);
}

/// False for sound that is left out.
bool AudioSession::Admits(const AudioPiece& piece)
{
    if (!piece.settings.IsDescribedAs(described_))
    {
        // The description does not hold any more: the client has to ask anew.
        if (!std::exchange(muted_, true) && pieces_ > 0)
            SendBye();
        return false;
    }
    if (muted_ || faults_.Frozen())
        return false;
    if (!output_->IsFull())
        return true;
    ++counters_.dropped;
    return false;
}

void AudioSession::OnAudio(const AudioPiece& piece)
{
    if (!Admits(piece))
        return;
    faults_.BeforeFrame(rtp_);
    const std::uint32_t timestamp = rtp_.TimestampAt(piece.firstSample);
    PacketBatch batch;
    std::shared_ptr<const void> owner;
    for (const RtpPayload& payload : packets_.Make(piece, owner))
        batch.packets.push_back(rtp_.Make(payload, timestamp));
    batch.owners.push_back(std::move(owner));
    counters_.packets += batch.packets.size();
    ++counters_.frames;
    const PacketFates fates = faults_.Play(batch);
    truth_.Tell(piece, batch, fates, timestamp);
    lastTimestamp_ = timestamp;
    lastCaptured_ = piece.captured;
    output_->Send(std::move(batch));
    if (++pieces_ == 1)
        Tick();
    if (auto tell = std::exchange(onFirstFrame_, nullptr))
        tell();
}

std::uint32_t AudioSession::TimestampNow() const
{
    const auto since = std::chrono::duration_cast<std::chrono::microseconds>(
        std::chrono::system_clock::now() - lastCaptured_);
    return lastTimestamp_ + static_cast<std::uint32_t>(since.count() * described_.SampleRate() / 1'000'000);
}

void AudioSession::SendBye()
{
    output_->Send(ControlBatch(rtp_.Bye(std::chrono::system_clock::now(), TimestampNow())));
}

void AudioSession::Tick()
{
    const auto now = Clock::now();
    if (!playing_ || pieces_ == 0 || muted_ || faults_.Frozen() || now < nextReport_)
        return;
    nextReport_ = now + options_.reportInterval;
    output_->Send(ControlBatch(rtp_.SenderReport(std::chrono::system_clock::now(), TimestampNow())));
}

} // namespace larkmoor::camera
