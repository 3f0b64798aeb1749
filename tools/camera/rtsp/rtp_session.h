#pragma once

#include "camera/rtsp/media_faults.h"
#include "camera/rtsp/rtp_packet_batch.h"
#include "camera/rtsp/rtp_stream.h"
#include "camera/rtsp/rtsp_services.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

namespace larkmoor::camera
{

/// One RTP stream on its way to one client or group: what pictures and sound have in common. On the
/// io_context's thread.
class RtpSession
{
public:
    virtual ~RtpSession() = default;

    /// Starts; `onFirstFrame`, if any, is called when the first media are sent. Once more has no effect.
    void Play(std::function<void()> onFirstFrame = nullptr);

    void Stop();   ///< says goodbye, if it ever played, and sends nothing more
    void Vanish(); ///< sends nothing more, without a word

    /// For reports and faults that come with time; some times a second.
    void Tick();

    /// The output has room again: a stream without a clock goes on.
    virtual void OnHungry() {}

    std::uint16_t FirstSequence() const { return rtp_.NextSequence(); }    ///< before Play
    std::uint32_t FirstTimestamp() const { return rtp_.FirstTimestamp(); } ///< before Play
    std::uint32_t Ssrc() const { return rtp_.Ssrc(); }

protected:
    /// The references outlive the session. `clockRate` is that of the timestamps, in ticks a second.
    RtpSession(const RtspOptions& options, const RtspServices& services, std::unique_ptr<PacketOutput> output,
               std::uint64_t seed, std::uint8_t payloadType, std::uint32_t clockRate);

    virtual void Subscribe() = 0; ///< to the hub's media
    virtual void Unsubscribe() = 0;
    virtual void PlayTimedFaults() {} ///< with each Tick while media flow

    /// False for media that are left out. Those of another description than the client was told end the
    /// session's media: the client has to ask anew.
    bool Admits(bool isAsDescribed);

    PacketBatch Packets(const std::vector<RtpPayload>& payloads,
                        std::vector<std::shared_ptr<const void>> owners, std::uint32_t timestamp);

    /// Sends a frame's packets, which were captured at that moment.
    void Send(PacketBatch batch, std::uint32_t timestamp, std::chrono::system_clock::time_point captured);

    PacketBatch Report() const; ///< a sender report of now
    void SendBye();

    const RtspOptions& options_;
    const RtspServices& services_;
    const std::unique_ptr<PacketOutput> output_;
    RtpStream rtp_;
    MediaFaults faults_;
    bool playing_ = false;
    bool muted_ = false;       // by a goodbye, or by a change that the client was not told of
    std::uint64_t frames_ = 0; // sent

private:
    std::uint32_t TimestampNow() const;

    const std::uint32_t clockRate_;
    bool gone_ = false;
    std::function<void()> onFirstFrame_;
    std::uint32_t lastTimestamp_ = 0;
    std::chrono::system_clock::time_point lastCaptured_;
    std::chrono::steady_clock::time_point nextReport_;
};

} // namespace larkmoor::camera
