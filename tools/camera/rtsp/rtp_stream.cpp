#include "camera/rtsp/rtp_stream.h"

#include "base/text.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace larkmoor::camera
{
namespace
{

constexpr std::uint8_t kVersionBits = 0x80;
constexpr std::uint8_t kSenderReport = 200;
constexpr std::uint8_t kSourceDescription = 202;
constexpr std::uint8_t kBye = 203;
constexpr std::uint8_t kCanonicalName = 1;
constexpr std::string_view kName = "camera@larkmoor";
constexpr std::uint64_t kNtpToUnixSeconds = 2'208'988'800; // from 1900 to 1970

void Put16(std::uint8_t* at, std::uint32_t value)
{
    at[0] = static_cast<std::uint8_t>(value >> 8);
    at[1] = static_cast<std::uint8_t>(value);
}

void Put32(std::uint8_t* at, std::uint32_t value)
{
    Put16(at, value >> 16);
    Put16(at + 2, value);
}

/// The first four bytes of an RTCP packet; its length in 32-bit words does not count these.
void AppendControlHead(Bytes& bytes, std::uint8_t count, std::uint8_t type, std::size_t words)
{
    AppendNumber(bytes,
                 static_cast<std::uint32_t>(kVersionBits | count) << 24 |
                     static_cast<std::uint32_t>(type) << 16 | static_cast<std::uint32_t>(words),
                 4);
}

void AppendName(Bytes& bytes, std::uint32_t ssrc)
{
    // An item of type, length and text, then zero bytes up to the next word, one at least.
    const std::size_t itemWords = (2 + kName.size() + 4) / 4;
    AppendControlHead(bytes, 1, kSourceDescription, 1 + itemWords);
    AppendNumber(bytes, ssrc, 4);
    const std::size_t end = bytes.size() + 4 * itemWords;
    bytes.push_back(kCanonicalName);
    bytes.push_back(static_cast<std::uint8_t>(kName.size()));
    Append(bytes, AsBytes(kName));
    bytes.resize(end);
}

} // namespace

std::uint32_t TicksOf(std::chrono::nanoseconds time)
{
    return static_cast<std::uint32_t>((time.count() * 9 + 50'000) / 100'000);
}

RtpStream::RtpStream(Dice dice, std::uint8_t payloadType)
    : payloadType_(payloadType),
      ssrc_(dice.Below(0xFFFFFFFF) + 1),
      sequence_(static_cast<std::uint16_t>(dice.Below(0x10000))),
      firstTimestamp_(dice.Below(0xFFFFFFFF))
{
}

OutPacket RtpStream::Make(const RtpPayload& payload, std::uint32_t timestamp)
{
    OutPacket packet;
    std::uint8_t* const head = packet.head.data() + OutPacket::kFramingBytes;
    head[0] = kVersionBits;
    head[1] = static_cast<std::uint8_t>((payload.marker ? kMarkerBit : 0) | payloadType_);
    Put16(head + 2, sequence_++);
    Put32(head + 4, timestamp);
    Put32(head + 8, ssrc_);
    std::copy_n(payload.own.begin(), payload.ownBytes, head + OutPacket::kRtpHeaderBytes);
    packet.headBytes = static_cast<std::uint8_t>(OutPacket::kRtpHeaderBytes + payload.ownBytes);
    packet.shared = payload.shared;
    ++packets_;
    payloadBytes_ += static_cast<std::uint32_t>(payload.Size());
    return packet;
}

std::uint32_t RtpStream::TimestampOf(std::chrono::nanoseconds mediaTime)
{
    if (!started_)
    {
        started_ = true;
        firstMediaTime_ = mediaTime;
    }
    return firstTimestamp_ + jumped_ + TicksOf(mediaTime - firstMediaTime_);
}

std::uint32_t RtpStream::TimestampAt(std::uint64_t ticks)
{
    if (!std::exchange(started_, true))
        firstTicks_ = ticks;
    return firstTimestamp_ + jumped_ + static_cast<std::uint32_t>(ticks - firstTicks_);
}

Bytes RtpStream::SenderReport(std::chrono::system_clock::time_point now, std::uint32_t timestamp) const
{
    const auto since = std::chrono::duration_cast<std::chrono::nanoseconds>(now.time_since_epoch());
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(since);
    const auto fraction = static_cast<std::uint64_t>((since - seconds).count());
    Bytes bytes;
    AppendControlHead(bytes, 0, kSenderReport, 6);
    AppendNumber(bytes, ssrc_, 4);
    AppendNumber(bytes, static_cast<std::uint64_t>(seconds.count()) + kNtpToUnixSeconds, 4);
    AppendNumber(bytes, (fraction << 32) / 1'000'000'000, 4);
    AppendNumber(bytes, timestamp, 4);
    AppendNumber(bytes, packets_, 4);
    AppendNumber(bytes, payloadBytes_, 4);
    AppendName(bytes, ssrc_);
    return bytes;
}

Bytes RtpStream::Bye(std::chrono::system_clock::time_point now, std::uint32_t timestamp) const
{
    Bytes bytes = SenderReport(now, timestamp);
    AppendControlHead(bytes, 1, kBye, 1);
    AppendNumber(bytes, ssrc_, 4);
    return bytes;
}

} // namespace larkmoor::camera
