#include "camera/rtsp/audio_session.h"

#include "camera/rtsp/audio_packets.h"

#include <algorithm>
#include <utility>

namespace larkmoor::camera
{

void AudioTruth::Tell(const AudioPiece& piece, const PacketBatch& batch, const PacketFates& fates,
                      std::uint32_t rtp)
{
    if (!truth_.Wanted())
        return;
    if (piece.settings.codec == AudioCodec::Aac)
    {
        if (std::find(fates.lost.begin(), fates.lost.end(), true) == fates.lost.end())
            truth_.Record(stream_, FormatOf(piece.settings.codec).kind, true, *piece.bytes, rtp);
        return;
    }
    for (const OutPacket& packet : batch.packets)
        Gather(packet, piece.settings, rtp);
}

void AudioTruth::Gather(const OutPacket& packet, const AudioSettings& settings, std::uint32_t rtp)
{
    const auto head = packet.Head();
    const auto number = static_cast<std::uint16_t>(head[2] << 8 | head[3]);
    const bool follows = anyNumber_ || number == expected_;
    if (!follows)
        gathered_.clear();
    anyNumber_ = !follows;
    expected_ = static_cast<std::uint16_t>(number + 1);
    gathered_.insert(gathered_.end(), packet.shared.begin(), packet.shared.end());
    if (gathered_.size() < settings.SampleRate())
        return;
    truth_.Record(stream_, FormatOf(settings.codec).kind, true, gathered_, rtp);
    gathered_.clear();
}

AudioSession::AudioSession(const RtspOptions& options, const RtspServices& services,
                           std::shared_ptr<AudioStream> stream, std::unique_ptr<PacketOutput> output,
                           std::uint64_t seed)
    : RtpSession(options, services, std::move(output), seed, FormatOf(stream->Settings().codec).payloadType,
                 stream->Settings().SampleRate()),
      stream_(std::move(stream)),
      described_(stream_->Settings()),
      packets_(services.faults, options.packetBytes - OutPacket::kRtpHeaderBytes),
      truth_(services.truth, stream_->Id().Text())
{
}

void AudioSession::OnAudio(const AudioPiece& piece)
{
    if (!Admits(piece.settings.IsDescribedAs(described_)))
        return;
    faults_.BeforeFrame(rtp_);
    const std::uint32_t timestamp = rtp_.TimestampAt(piece.firstSample);
    std::shared_ptr<const void> owner;
    const std::vector<RtpPayload> payloads = packets_.Make(piece, owner);
    PacketBatch batch = Packets(payloads, {std::move(owner)}, timestamp);
    const PacketFates fates = faults_.Play(batch);
    truth_.Tell(piece, batch, fates, timestamp);
    Send(std::move(batch), timestamp, piece.captured);
}

} // namespace larkmoor::camera
