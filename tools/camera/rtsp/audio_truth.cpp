#include "camera/rtsp/audio_truth.h"

#include "camera/rtsp/audio_packets.h"

#include <algorithm>

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
            truth_.Record(stream_, AudioKind(piece.settings), true, *piece.bytes, rtp);
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
    truth_.Record(stream_, AudioKind(settings), true, gathered_, rtp);
    gathered_.clear();
}

} // namespace larkmoor::camera
