#include "transport/rtcp_handler.h"

#include <algorithm>
#include <bit>
#include <random>
#include <utility>

#include "platform/clock.h"
#include "platform/held_locks.h"
#include "runtime/byte_order.h"
#include "runtime/guarded.h"
#include "transport/rtcp_packet.h"

namespace korvane
{

namespace
{

constexpr std::uint32_t kReadBytes = 1536;
constexpr std::uint32_t kSocketWaitMs = 1000;
constexpr std::uint32_t kHandlerStopMs = 5000;
constexpr double kDelayUnitsPerMs = 65.536; // of 1/65536 s
constexpr std::uint32_t kLeastDatagramBytes = 4;
constexpr std::size_t kSenderInfoBytes = 16; // header, SSRC, NTP time
constexpr std::uint8_t kVersionMask = 0xC0;
constexpr std::size_t kReceiverReportBytes = 32;
constexpr std::size_t kByeBytes = 8;

std::array<std::uint8_t, 4> NewSsrc()
{
    std::uint32_t id = 0;
    Guarded(false, [&] { return (id = std::random_device()()) != 0; });
    if (id == 0) // the system gives none
        id = static_cast<std::uint32_t>(
            std::minstd_rand(static_cast<unsigned>(platform::Clock::UtcTicks()))());
    return std::bit_cast<std::array<std::uint8_t, 4>>(id);
}

/// A packet of one block (RFC 3550, section 6.4.2) or one source (section 6.6), with 0 behind the source.
template <std::size_t Bytes>
std::array<std::uint8_t, Bytes> MakePacket(std::uint8_t versionBits, std::uint8_t type,
                                           const std::array<std::uint8_t, 4>& ssrc)
{
    std::array<std::uint8_t, Bytes> packet{};
    packet[0] = versionBits | 1;
    packet[1] = type;
    Utils::StoreBigEndian16(&packet[2], Bytes / 4 - 1);
    std::ranges::copy(ssrc, &packet[4]);
    return packet;
}

} // namespace

CRTCPHandler::CRTCPHandler(IDebugMessage* debug) : CBaseThread(debug), client_(debug)
{
    client_.SetReadSize(kReadBytes);
    client_.SetWaitTime(kSocketWaitMs);
}

CRTCPHandler::~CRTCPHandler()
{
    Stop();
}

bool CRTCPHandler::StartUnicast(std::uint32_t peer, std::uint16_t port)
{
    return Start(peer, [this, port] { return client_.StartUnicast(this, port); });
}

bool CRTCPHandler::StartMulticast(std::uint32_t peer, const std::string& address, std::uint16_t port)
{
    return Start(peer, [&] { return client_.StartMulticast(this, address, port); });
}

template <class StartClient>
bool CRTCPHandler::Start(std::uint32_t peer, StartClient startClient)
{
    const COneAtATime::Turn only(startOrStop_);
    if (client_.IsOpen() || peer == 0)
        return false;
    Initialise(peer);
    if (!startClient())
        return false;
    if (StartThread("RTCP Handler Thread"))
        return true;
    client_.Stop();
    return false;
}

void CRTCPHandler::Initialise(std::uint32_t peer)
{
    const std::array<std::uint8_t, 4> ssrc = NewSsrc();
    const CLockGuard guard(lock_);
    peer_ = peer;
    reportSeen_ = false;
    reportEvent_.Reset();
    restartEvent_.Reset();
    peerAddress_ = {};
    lastReportTick_ = 0;
    sender_ = {};
    ownSsrc_ = ssrc;
    sequence_.Restart();
}

void CRTCPHandler::Stop()
{
    stopEvent_.Set();
    const COneAtATime::Turn only(startOrStop_);
    SendBye();
    // The thread goes first: it sends on the client's socket.
    StopThread(kHandlerStopMs);
    client_.Stop();
}

void CRTCPHandler::OnDatagram(IRTPClient&, const platform::SocketAddress& sender, const std::uint8_t* data,
                              std::uint32_t length)
{
    {
        const CLockGuard guard(lock_);
        if (sender.address != peer_ || length < kLeastDatagramBytes)
            return;
    }
    for (RTCPWalker walker({data, length}); walker.Next();)
    {
        if (walker.Type() == kRTCPSenderReport)
            TakeSenderReport(sender, walker.Packet());
        else if (walker.Type() == kRTCPBye && TakeBye())
            if (IRTCPHandlerUser* const user = user_)
                user->OnRTCPBye();
    }
}

//  |V P  RC |   PT=200  |   length  |           SSRC            |
//  |        NTP seconds             |       NTP fraction        |  of which the middle 32 bits count
void CRTCPHandler::TakeSenderReport(const platform::SocketAddress& sender,
                                    std::span<const std::uint8_t> packet)
{
    if (packet.size() < kSenderInfoBytes)
        return;
    const CLockGuard guard(lock_);
    sender_.versionBits = packet[0] & kVersionMask;
    std::ranges::copy(packet.subspan(4, 4), sender_.ssrc.begin());
    std::ranges::copy(packet.subspan(10, 4), sender_.ntpMiddle.begin());
    if (!reportSeen_)
        peerAddress_ = sender;
    reportSeen_ = true;
    lastReportTick_ = platform::Clock::Milliseconds();
    reportEvent_.Set();
}

bool CRTCPHandler::TakeBye()
{
    const CLockGuard guard(lock_);
    return std::exchange(reportSeen_, false);
}

void CRTCPHandler::Run()
{
    platform::HeldLocks::ForbidHostCalls();
    CEvent* const events[] = {&stopEvent_, &reportEvent_, &restartEvent_};
    for (;;)
    {
        const int event = CEvent::WaitForAny(events, 3, reportIntervalMs_);
        if (event == 0 || event == 2)
        {
            SendBye();
            Initialise(peer_);
            if (event == 0)
                return;
        }
        else
            SendReport();
    }
}

void CRTCPHandler::SendReport()
{
    std::array<std::uint8_t, kReceiverReportBytes> report;
    platform::SocketAddress target;
    {
        const CLockGuard guard(lock_);
        if (!reportSeen_)
            return;
        const std::uint32_t sinceMs = platform::Clock::Milliseconds() - lastReportTick_;
        const auto delay = lastReportTick_ == 0 ? 0 : static_cast<std::uint64_t>(sinceMs * kDelayUnitsPerMs);
        report = MakePacket<kReceiverReportBytes>(sender_.versionBits, kRTCPReceiverReport, ownSsrc_);
        std::ranges::copy(sender_.ssrc, &report[8]);
        Utils::StoreBigEndian32(&report[16], sequence_.ExtendedHighest()); // loss and jitter stay 0
        std::ranges::copy(sender_.ntpMiddle, &report[24]);
        Utils::StoreBigEndian32(&report[28], static_cast<std::uint32_t>(delay));
        target = peerAddress_;
    }
    Send(target, report);
}

/// Once per run of reports: whoever comes first, the stopping thread or the handler's own, clears the flag.
void CRTCPHandler::SendBye()
{
    std::array<std::uint8_t, kByeBytes> bye;
    platform::SocketAddress target;
    {
        const CLockGuard guard(lock_);
        if (!std::exchange(reportSeen_, false))
            return;
        bye = MakePacket<kByeBytes>(sender_.versionBits, kRTCPBye, ownSsrc_);
        target = peerAddress_;
    }
    Send(target, bye);
}

void CRTCPHandler::Send(const platform::SocketAddress& target, std::span<const std::uint8_t> packet)
{
    if (client_.SendTo(target, packet.data(), static_cast<std::uint32_t>(packet.size())))
        return;
    const CLockGuard guard(lock_);
    reportSeen_ = false; // until the device reports again
}

} // namespace korvane
