#pragma once

#include <array>
#include <cstdint>
#include <span>

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
    bool Next();

    unsigned Version() const { return packet_[0] >> 6; }
    std::uint8_t Type() const { return packet_[1]; }
    std::span<const std::uint8_t> Packet() const { return packet_; } ///< with its header, at least 4 bytes

private:
    std::span<const std::uint8_t> rest_;
    std::span<const std::uint8_t> packet_;
};

/// What the other side's sender report says that a receiver report repeats.
struct RTCPSenderInfo
{
    std::uint8_t versionBits = 0;            ///< the first byte's upper two
    std::array<std::uint8_t, 4> ssrc{};      ///< as sent
    std::array<std::uint8_t, 4> ntpMiddle{}; ///< the middle of its NTP time, as sent
};

/// Reads a sender report; false when the packet is too short for one.
[[nodiscard]] bool ReadSenderReport(std::span<const std::uint8_t> packet, RTCPSenderInfo& info);

inline constexpr std::size_t kReceiverReportBytes = 32;
inline constexpr std::size_t kByeBytes = 8;

/// A receiver report of one block (RFC 3550, section 6.4.2) that claims no loss and no jitter.
std::array<std::uint8_t, kReceiverReportBytes> MakeReceiverReport(const RTCPSenderInfo& sender,
                                                                  const std::array<std::uint8_t, 4>& ownSsrc,
                                                                  std::uint32_t highestSequence,
                                                                  std::uint32_t delayUnits);

/// A BYE of one source (RFC 3550, section 6.6).
std::array<std::uint8_t, kByeBytes> MakeBye(std::uint8_t versionBits,
                                            const std::array<std::uint8_t, 4>& ownSsrc);

} // namespace korvane
