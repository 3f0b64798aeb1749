#pragma once

#include "camera/rtsp/rtp_packet_batch.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

namespace larkmoor::camera
{

/// One RTP stream on its way to one client or group, as the RTSP session that it belongs to sees it. On the
/// io_context's thread.
class RtpSession
{
public:
    virtual ~RtpSession() = default;

    /// Starts; `onFirstFrame`, if any, is called when the first media are sent. Once more has no effect.
    virtual void Play(std::function<void()> onFirstFrame = nullptr) = 0;

    /// Says goodbye, if it ever played, and sends nothing more.
    virtual void Stop() = 0;

    /// Sends nothing more, without a word.
    virtual void Vanish() = 0;

    /// For reports and faults that come with time; some times a second.
    virtual void Tick() = 0;

    /// The output has room again: a stream without a clock goes on.
    virtual void OnHungry() {}

    virtual std::uint16_t FirstSequence() const = 0;  ///< before Play
    virtual std::uint32_t FirstTimestamp() const = 0; ///< before Play
    virtual std::uint32_t Ssrc() const = 0;

protected:
    /// One RTCP packet, ready to be sent.
    static PacketBatch ControlBatch(Bytes packet)
    {
        auto kept = std::make_shared<const Bytes>(std::move(packet));
        OutPacket out;
        out.control = true;
        out.shared = *kept;
        PacketBatch batch;
        batch.packets.push_back(out);
        batch.owners.push_back(std::move(kept));
        return batch;
    }
};

} // namespace larkmoor::camera
