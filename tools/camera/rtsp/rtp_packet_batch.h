#pragma once

#include "camera/media/encoded_frame.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace larkmoor::camera
{

/// A piece of an access unit as one packet carries it: some bytes of a packet's own, then bytes that all who
/// send the frame share.
struct RtpPayload
{
    static constexpr std::size_t kMostOwnBytes = 12; ///< the headers of RFC 2435

    std::array<std::uint8_t, kMostOwnBytes> own{};
    std::uint8_t ownBytes = 0;
    bool marker = false;
    std::span<const std::uint8_t> shared;

    std::size_t Size() const { return ownBytes + shared.size(); }
};

/// One packet on its way: room for the interleaved framing, the RTP header and a payload's own bytes, then
/// the shared ones. RTCP packets stand wholly in `shared`.
struct OutPacket
{
    static constexpr std::size_t kFramingBytes = 4; ///< RFC 2326, 10.12: "$", channel, 16-bit length
    static constexpr std::size_t kRtpHeaderBytes = 12;

    std::array<std::uint8_t, kFramingBytes + kRtpHeaderBytes + RtpPayload::kMostOwnBytes> head{};
    std::uint8_t headBytes = 0; ///< used behind the room for the framing
    bool control = false;       ///< goes to the RTCP port or channel
    std::span<const std::uint8_t> shared;

    std::span<const std::uint8_t> Head() const { return std::span(head).subspan(kFramingBytes, headBytes); }
    std::size_t Size() const { return headBytes + shared.size(); }
};

/// The packets of one frame, in the order of sending, with whatever holds their shared bytes.
struct PacketBatch
{
    std::vector<OutPacket> packets;
    std::vector<std::shared_ptr<const void>> owners;

    std::size_t Size() const
    {
        std::size_t sum = 0;
        for (const OutPacket& packet : packets)
            sum += OutPacket::kFramingBytes + packet.Size();
        return sum;
    }
};

/// Where the packets of one RTP stream go: two UDP ports, or two channels of a connection.
class PacketOutput
{
public:
    virtual ~PacketOutput() = default;

    /// Takes the packets of one frame, or some control packets, whole. They leave in order.
    virtual void Send(PacketBatch batch) = 0;

    /// Takes control packets that are to come from an address which is not the camera's, where there is one.
    virtual void SendStray(const PacketBatch&) {}

    /// True while so much waits that the next frames are better left out.
    virtual bool IsFull() const = 0;

    /// True while little waits: a stream without a clock may go on.
    virtual bool IsHungry() const = 0;
};

} // namespace larkmoor::camera
