#pragma once

#include "camera/fault/dice.h"
#include "camera/rtsp/rtp_packet_batch.h"

#include <chrono>
#include <cstdint>

namespace larkmoor::camera
{

/// The sender's side of one RTP stream (RFC 3550): its identity, counters and clock, and the packets that
/// carry them. The clock of video runs at 90 kHz; each starts at random.
class RtpStream
{
public:
    static constexpr std::uint8_t kMarkerBit = 0x80; ///< in a packet's second byte

    RtpStream(Dice dice, std::uint8_t payloadType);

    /// A packet with the next sequence number.
    OutPacket Make(const RtpPayload& payload, std::uint32_t timestamp);

    /// The timestamp of a frame; that of the first frame asked for is FirstTimestamp().
    std::uint32_t TimestampOf(std::chrono::nanoseconds mediaTime);

    /// The same for a clock of any rate, which stands at `ticks` since the media's start. A stream uses the
    /// one or the other.
    std::uint32_t TimestampAt(std::uint64_t ticks);

    std::uint32_t FirstTimestamp() const { return firstTimestamp_; }
    std::uint16_t NextSequence() const { return sequence_; }
    std::uint32_t Ssrc() const { return ssrc_; }

    void JumpSequence(std::uint16_t by) { sequence_ = static_cast<std::uint16_t>(sequence_ + by); }
    void JumpTimestamp(std::uint32_t by) { jumped_ += by; } ///< of all later frames; wraps

    /// A compound packet of a sender report and a source description with the canonical name (RFC 3550, 6.4.1
    /// and 6.5). `timestamp` is the RTP clock at the moment `now`.
    Bytes SenderReport(std::chrono::system_clock::time_point now, std::uint32_t timestamp) const;

    /// The same with a goodbye behind it (RFC 3550, 6.6).
    Bytes Bye(std::chrono::system_clock::time_point now, std::uint32_t timestamp) const;

private:
    std::uint8_t payloadType_;
    std::uint32_t ssrc_;
    std::uint16_t sequence_;
    std::uint32_t firstTimestamp_;
    bool started_ = false;
    std::chrono::nanoseconds firstMediaTime_{};
    std::uint64_t firstTicks_ = 0;
    std::uint32_t jumped_ = 0;
    std::uint32_t packets_ = 0;
    std::uint32_t payloadBytes_ = 0;
};

/// Ticks of the 90 kHz clock in `time`; wraps.
std::uint32_t TicksOf(std::chrono::nanoseconds time);

} // namespace larkmoor::camera
