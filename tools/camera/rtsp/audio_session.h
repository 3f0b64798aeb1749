#pragma once

#include "camera/rtsp/audio_packets.h"
#include "camera/rtsp/audio_truth.h"
#include "camera/rtsp/media_faults.h"
#include "camera/rtsp/packet_output.h"
#include "camera/rtsp/rtp_session.h"
#include "camera/rtsp/rtp_stream.h"
#include "camera/rtsp/rtsp_services.h"

#include <chrono>
#include <functional>
#include <memory>

namespace larkmoor::camera
{

/// One audio stream on its way to one client: takes the hub's sound, makes packets of it, plays the faults
/// and tells the truth. On the io_context's thread.
class AudioSession : public AudioSubscriber, public RtpSession
{
public:
    struct Setup
    {
        std::shared_ptr<AudioStream> stream;
        std::unique_ptr<PacketOutput> output;
        std::uint64_t seed = 0;
    };

    /// The references outlive the session. The settings that the stream has now are those that the client was
    /// told.
    AudioSession(const RtspOptions& options, const RtspServices& services, SendCounters& counters,
                 Setup setup);
    ~AudioSession() override;

    void Play(std::function<void()> onFirstFrame) override;
    void Stop() override;
    void Vanish() override;
    void Tick() override;
    std::uint16_t FirstSequence() const override { return rtp_.NextSequence(); }
    std::uint32_t FirstTimestamp() const override { return rtp_.FirstTimestamp(); }
    std::uint32_t Ssrc() const override { return rtp_.Ssrc(); }

    void OnAudio(const AudioPiece& piece) override;

private:
    using Clock = std::chrono::steady_clock;

    bool Admits(const AudioPiece& piece);
    void SendBye();
    std::uint32_t TimestampNow() const;

    const RtspOptions& options_;
    const RtspServices& services_;
    SendCounters& counters_;
    const std::shared_ptr<AudioStream> stream_;
    const std::unique_ptr<PacketOutput> output_;
    const AudioSettings described_;
    RtpStream rtp_;
    MediaFaults faults_;
    AudioPackets packets_;
    AudioTruth truth_;
    std::function<void()> onFirstFrame_;
    bool playing_ = false;
    bool gone_ = false;
    bool muted_ = false; // by a change that the client was not told of
    std::uint64_t pieces_ = 0;
    std::uint32_t lastTimestamp_ = 0;
    std::chrono::system_clock::time_point lastCaptured_;
    Clock::time_point nextReport_;
};

} // namespace larkmoor::camera
