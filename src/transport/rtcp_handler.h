#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <span>
#include <string>

#include "platform/socket.h"
#include "runtime/base_thread.h"
#include "runtime/one_at_a_time.h"
#include "runtime/recursive_lock.h"
#include "transport/sequence_counter.h"
#include "transport/udp_client.h"

namespace korvane
{

/// Hears of the end of a stream.
class IRTCPHandlerUser
{
public:
    virtual ~IRTCPHandlerUser() = default;

    /// The device has said BYE. On the thread that read it, with no lock held.
    virtual void OnRTCPBye() = 0;
};

/// The receiver's side of RTCP for one RTP stream over UDP, on the thread "RTCP Handler Thread" and that of
/// its socket. Answers each sender report with a receiver report, sends one every 10 s when none comes, says
/// BYE at the end, and tells its user when the device does. Nothing leaves before the first sender report,
/// since that tells where to.
///
/// The starts and `SetUser` are serialised by the caller; a stop may come while another one is under way, and
/// goes on in the place of one whose thread was given up. `Restart` may come from any thread meanwhile,
/// `OnRTPSequence` from one. Neither thread ever calls the host.
class CRTCPHandler : public CBaseThread, public IRTPClientUser
{
public:
    explicit CRTCPHandler(IDebugMessage* debug);
    ~CRTCPHandler() override; ///< stops

    void SetUser(IRTCPHandlerUser* user) { user_ = user; } ///< not owned; null is allowed

    /// Listens on `port` (host byte order; 0 takes a free one) for `peer`, the only sender that is heeded, an
    /// address in network byte order. False if it is 0, if the handler runs, or if the port is not to be had.
    bool StartUnicast(std::uint32_t peer, std::uint16_t port);
    /// Same, from the group `address` (dotted text).
    bool StartMulticast(std::uint32_t peer, const std::string& address, std::uint16_t port);

    /// Says BYE if reports have gone out, and stops within 5,000 ms and what the socket takes. Not from a
    /// callback.
    void Stop();

    /// Says BYE and begins afresh, with a new SSRC, on the handler's thread.
    void Restart() { restartEvent_.Set(); }

    /// Counts a packet of the stream; the first one after a start begins the count. Takes no lock.
    void OnRTPSequence(std::uint16_t sequenceNumber) { sequence_.Update(sequenceNumber); }

    std::uint16_t GetPort() const { return client_.GetPort(); } ///< 0 when stopped

    /// How long the handler waits for a sender report before it reports by itself; before a start.
    void SetReportInterval(std::uint32_t ms) { reportIntervalMs_ = ms; }

    void Run() override;

    void OnDatagram(IRTPClient& client, const platform::SocketAddress& sender, const std::uint8_t* data,
                    std::uint32_t length) override;
    void OnTimeout(IRTPClient&) override {}
    void OnClosed(IRTPClient&) override {}

private:
    /// What the device's sender report says that a receiver report repeats.
    struct SenderInfo
    {
        std::uint8_t versionBits = 0;            // the first byte's upper two
        std::array<std::uint8_t, 4> ssrc{};      // as sent
        std::array<std::uint8_t, 4> ntpMiddle{}; // the middle of its NTP time, as sent
    };

    template <class StartClient>
    bool Start(std::uint32_t peer, StartClient startClient);
    void Initialise(std::uint32_t peer);
    void TakeSenderReport(const platform::SocketAddress& sender, std::span<const std::uint8_t> packet);
    bool TakeBye();
    void SendReport();
    void SendBye();
    void Send(const platform::SocketAddress& target, std::span<const std::uint8_t> packet);

    COneAtATime startOrStop_;
    CUDPClient client_;
    std::atomic<IRTCPHandlerUser*> user_{nullptr};
    CEvent reportEvent_{false};
    CEvent restartEvent_{false};
    std::uint32_t reportIntervalMs_ = 10'000;

    SequenceCounter sequence_;

    mutable CRecursiveLock lock_; // guards all below; never held across a send or a callback
    std::uint32_t peer_ = 0;      // network byte order
    bool reportSeen_ = false;     // and so reports may be sent
    platform::SocketAddress peerAddress_;
    std::uint32_t lastReportTick_ = 0; // ms; 0 when there was none
    SenderInfo sender_;
    std::array<std::uint8_t, 4> ownSsrc_{};
};

} // namespace korvane
