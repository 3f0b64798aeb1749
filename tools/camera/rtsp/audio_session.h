#pragma once

#include "camera/log/camera_log.h"
#include "camera/media/audio_stream.h"
#include "camera/rtsp/audio_packets.h"
#include "camera/rtsp/media_faults.h"
#include "camera/rtsp/rtp_session.h"

#include <cstdint>
#include <memory>
#include <string>

namespace larkmoor::camera
{

/// Tells the truth of one audio stream. AAC: each access unit of which all packets are sent. G.711 and G.726:
/// what a right receiver gathers of the packets, whole ones up to at least as many bytes as a second has
/// samples, begun anew at each gap in the sequence numbers; the packet right behind that gap's first one is
/// taken whatever its number.
class AudioTruth
{
public:
    AudioTruth(TruthLog& truth, std::string stream) : truth_(truth), stream_(std::move(stream)) {}

    /// `batch` as it is sent, `rtp` the timestamp of the piece.
    void Tell(const AudioPiece& piece, const PacketBatch& batch, const PacketFates& fates, std::uint32_t rtp);

private:
    void Gather(const OutPacket& packet, const AudioSettings& settings, std::uint32_t rtp);

    TruthLog& truth_;
    const std::string stream_;
    Bytes gathered_;
    std::uint16_t expected_ = 0;
    bool anyNumber_ = true;
};

/// One audio stream on its way to one client. On the io_context's thread.
class AudioSession : public AudioSubscriber, public RtpSession
{
public:
    /// The references outlive the session. The settings that the stream has now are those that the client was
    /// told.
    AudioSession(const RtspOptions& options, const RtspServices& services,
                 std::shared_ptr<AudioStream> stream, std::unique_ptr<PacketOutput> output,
                 std::uint64_t seed);
    ~AudioSession() override { Vanish(); }

    void OnAudio(const AudioPiece& piece) override;

private:
    void Subscribe() override { stream_->Subscribe(*this); }
    void Unsubscribe() override { stream_->Unsubscribe(*this); }

    const std::shared_ptr<AudioStream> stream_;
    const AudioSettings described_;
    AudioPackets packets_;
    AudioTruth truth_;
};

} // namespace larkmoor::camera
