#include "transport/rtcp_packet.h"

#include <algorithm>

#include "runtime/byte_order.h"

namespace korvane
{

namespace
{

constexpr std::size_t kHeaderBytes = 4;
constexpr std::size_t kSenderInfoBytes = 16; // header, SSRC, NTP time
constexpr std::uint8_t kVersionMask = 0xC0;
constexpr std::uint8_t kOneBlock = 1;
constexpr std::uint16_t kReceiverReportWords = 7;
constexpr std::uint16_t kByeWords = 1;

} // namespace

bool RTCPWalker::Next()
{
    if (rest_.size() < kHeaderBytes)
        return false;
    const std::size_t size = kHeaderBytes + 4u * Utils::LoadBigEndian16(&rest_[2]);
    if (size > rest_.size())
        return false;
    packet_ = rest_.first(size);
    rest_ = rest_.subspan(size);
    return true;
}

//  |V P  RC |   PT=200  |   length  |           SSRC            |
//  |        NTP seconds             |       NTP fraction        |  of which the middle 32 bits count
bool ReadSenderReport(std::span<const std::uint8_t> packet, RTCPSenderInfo& info)
{
    if (packet.size() < kSenderInfoBytes)
        return false;
    info.versionBits = packet[0] & kVersionMask;
    std::copy_n(&packet[4], 4, info.ssrc.begin());
    std::copy_n(&packet[10], 4, info.ntpMiddle.begin());
    return true;
}

std::array<std::uint8_t, kReceiverReportBytes> MakeReceiverReport(const RTCPSenderInfo& sender,
                                                                  const std::array<std::uint8_t, 4>& ownSsrc,
                                                                  std::uint32_t highestSequence,
                                                                  std::uint32_t delayUnits)
{
    std::array<std::uint8_t, kReceiverReportBytes> report{}; // loss and jitter stay 0
    report[0] = sender.versionBits | kOneBlock;
    report[1] = kRTCPReceiverReport;
    Utils::StoreBigEndian16(&report[2], kReceiverReportWords);
    std::copy(ownSsrc.begin(), ownSsrc.end(), &report[4]);
    std::copy(sender.ssrc.begin(), sender.ssrc.end(), &report[8]);
    Utils::StoreBigEndian32(&report[16], highestSequence);
    std::copy(sender.ntpMiddle.begin(), sender.ntpMiddle.end(), &report[24]);
    Utils::StoreBigEndian32(&report[28], delayUnits);
    return report;
}

std::array<std::uint8_t, kByeBytes> MakeBye(std::uint8_t versionBits,
                                            const std::array<std::uint8_t, 4>& ownSsrc)
{
    std::array<std::uint8_t, kByeBytes> bye{};
    bye[0] = versionBits | kOneBlock;
    bye[1] = kRTCPBye;
    Utils::StoreBigEndian16(&bye[2], kByeWords);
    std::copy(ownSsrc.begin(), ownSsrc.end(), &bye[4]);
    return bye;
}

} // namespace korvane
