#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "runtime/byte_order.h"

namespace korvane
{

// Packet types of RFC 3550, section 12.1.
inline constexpr std::uint8_t kRTCPSenderReport = 200;
inline constexpr std::uint8_t kRTCPReceiverReport = 201;
inline constexpr std::uint8_t kRTCPBye = 203;

/// Walks the packets of a compound RTCP packet (RFC 3550, section 6.1) by their lengths. Any bytes are
/// acceptable input; a packet that does not lie inside them ends the walk. Nothing is copied.
class RTCPWalker
{
public:
    explicit RTCPWalker(std::span<const std::uint8_t> compound) : rest_(compound) {}

    /// Moves to the next packet; false when there is none.
    bool Next()
    {
        constexpr std::size_t kHeaderBytes = 4;
        if (rest_.size() < kHeaderBytes)
            return false;
        const std::size_t size = kHeaderBytes + 4u * Utils::LoadBigEndian16(&rest_[2]);
        if (size > rest_.size())
            return false;
        packet_ = rest_.first(size);
        rest_ = rest_.subspan(size);
        return true;
    }

    unsigned Version() const { return packet_[0] >> 6; }
    std::uint8_t Type() const { return packet_[1]; }
    std::span<const std::uint8_t> Packet() const { return packet_; } ///< with its header, at least 4 bytes

private:
    std::span<const std::uint8_t> rest_;
    std::span<const std::uint8_t> packet_;
};

} // namespace korvane
