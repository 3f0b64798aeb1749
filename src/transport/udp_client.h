#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

#include "platform/socket.h"
#include "runtime/base_thread.h"
#include "runtime/recursive_lock.h"
#include "transport/datagram_batch.h"
#include "transport/read_turn.h"
#include "transport/rtp_client.h"

namespace korvane
{

/// One bound UDP socket and the thread "UDP client thread, port %u" that reads it.
///
/// What has arrived is taken in one call, up to sixteen datagrams at a time. A datagram larger than the read
/// size is lost, and the following reads are 1,024 bytes larger. May be started again after a stop.
///
/// A user with a thread of its own may read there (`SetUserReads`); the client's thread then only looks now
/// and then whether the user keeps up, and reads in its place while it does not.
class CUDPClient : public CBaseThread, public IRTPClient
{
public:
    explicit CUDPClient(IDebugMessage* debug);
    ~CUDPClient() override; ///< stops

    bool StartMulticast(IRTPClientUser* user, const std::string& address, std::uint16_t port) override;
    bool StartUnicast(IRTPClientUser* user, std::uint16_t port) override;
    bool Stop() override;
    void SetReadSize(std::uint32_t bytes) override { readSize_ = bytes; } ///< 8,192 unless set
    void SetWaitTime(std::uint32_t waitMs) override { waitMs_ = waitMs; } ///< 2,000 unless set
    std::uint16_t GetPort() const override { return port_; }
    bool HasMore() const override { return hasMore_; }

    /// Before a start: the user calls `TryBeginReading` and `Read`. `OnDatagram` is called only for what the
    /// client's thread reads in the user's place.
    void SetUserReads(bool userReads) { userReads_ = userReads; }

    /// On the user's reading thread. False: the client's thread reads for now; `TurnEvent` is set when it no
    /// longer does.
    bool TryBeginReading() { return turn_.TryBeginReading(); }
    CEvent& TurnEvent() { return turn_.Event(); }
    /// After a true `TryBeginReading`: takes what has arrived, after waiting for it, and ends the turn. Tells
    /// the user's `OnTimeout` and `OnClosed`. False when the socket can be read no more.
    bool Read(CDatagramBatch& batch);
    void EndReading() { turn_.EndReading(); } ///< instead of `Read`

    bool IsOpen() const { return isOpen_; }

    /// Sends all of `data`, on the client's own socket; false if that isn't open or refuses. `address` is as
    /// a socket gives it. Any thread, but not while the client starts or stops.
    bool SendTo(const platform::SocketAddress& address, const std::uint8_t* data, std::uint32_t length);

    /// Datagrams that the system dropped because they were not read in time; for tests and measurements.
    std::optional<std::uint32_t> DroppedDatagrams() const { return socket_.DroppedDatagrams(); }

    void Run() override;

private:
    struct OpenParameters
    {
        std::optional<std::uint32_t> group; // network byte order; none is unicast
        std::uint16_t port = 0;
        std::uint32_t receiveBufferBytes = 0; // 0 means 65,535
        std::uint32_t receiveTimeoutMs = 0;   // 0 leaves it unset
        std::uint32_t sendTimeoutMs = 0;      // 0 leaves it unset
    };
    bool Start(IRTPClientUser* user, const OpenParameters& parameters);
    bool Open(const OpenParameters& parameters);
    bool Prepare(const OpenParameters& parameters);
    bool Receive(CDatagramBatch& batch);
    void Deliver(CDatagramBatch& batch);
    void StandBy(std::uint32_t& lookMs);
    void Drain();
    template <class Callback>
    void TellUser(Callback callback);

    CRecursiveLock lock_; // guards start and stop
    std::atomic<IRTPClientUser*> user_{nullptr};
    platform::Socket socket_;
    std::atomic<bool> isOpen_{false};
    std::atomic<std::uint16_t> port_{0};
    std::atomic<std::uint32_t> readSize_{8192};
    std::atomic<std::uint32_t> waitMs_{2000};
    std::optional<std::uint32_t> group_; // joined, network byte order
    std::uint32_t socketTimeoutMs_ = 0;  // the larger of the two
    bool hasMore_ = false;               // the thread's own
    bool userReads_ = false;
    std::mutex readMutex_; // held by who waits in the socket: it is closed after that
    CReadTurn turn_;
    std::atomic<std::size_t> bytesRead_{0}; // by the user, since the last look
};

} // namespace korvane
