#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "platform/socket.h"
#include "runtime/base_thread.h"
#include "runtime/one_at_a_time.h"
#include "transport/datagram_batch.h"
#include "transport/read_turn.h"
#include "transport/read_watch.h"

namespace korvane
{

class IRTPClient;

/// What a user of `IRTPClient` hears, on the client's thread. It must not start or stop the client from here.
/// Exceptions are dropped.
class IRTPClientUser
{
public:
    virtual ~IRTPClientUser() = default;

    /// One datagram; `data` is the client's and valid during the call only.
    virtual void OnDatagram(IRTPClient& client, const platform::SocketAddress& sender,
                            const std::uint8_t* data, std::uint32_t length) = 0;

    virtual void OnTimeout(IRTPClient& client) = 0; ///< nothing arrived during one wait time

    /// No more will come: by a stop (then on the thread that stops), or because the socket has failed.
    virtual void OnClosed(IRTPClient& client) = 0;
};

/// A source of datagrams on one port, on a thread of its own. Callers serialise the calls.
class IRTPClient
{
public:
    virtual ~IRTPClient() = default;

    /// Starts on the group `address` (dotted text) and `port`; on false the client is stopped.
    virtual bool StartMulticast(IRTPClientUser* user, const std::string& address, std::uint16_t port) = 0;
    virtual bool StartUnicast(IRTPClientUser* user, std::uint16_t port) = 0;

    /// Stops and waits for the thread; gives the result of joining it. Not on the client's own thread.
    virtual bool Stop() = 0;

    /// First size of a read in bytes, at most 65,535; looked at when the thread starts.
    virtual void SetReadSize(std::uint32_t bytes) = 0;
    /// How long one wait for data may last; may change while the client runs.
    virtual void SetWaitTime(std::uint32_t waitMs) = 0;

    virtual std::uint16_t GetPort() const = 0; ///< 0 when stopped

    /// Within `OnDatagram`: another one follows at once, so that a user may put off what it does once for
    /// several. A client that does not know says no.
    virtual bool HasMore() const { return false; }
};

/// One bound UDP socket and the thread "UDP client thread, port %u" that reads it.
///
/// What has arrived is taken in one call, up to sixteen datagrams at a time. A datagram larger than the read
/// size is lost, and the following reads are 1,024 bytes larger. May be started again after a stop.
///
/// The socket may be lent to a user with a thread of its own (`Lend`), which then reads there (`Turn`,
/// `Read`); the client's thread sleeps until the watch finds that the user stays with one packet, and reads
/// in its place until the user wants the socket back. Neither thread ever calls the host from here.
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

    /// Before a start. `OnDatagram` is then called only for what the client's thread reads in the user's
    /// place; the user's thread has to end, and `Interrupt` makes it, before the client is stopped.
    void Lend() { isLent_ = true; }

    CReadTurn& Turn() { return turn_; }
    /// On the user's thread, after a true `TryBeginReading`: takes what has arrived, after waiting for it,
    /// and ends the turn. Tells the user's `OnTimeout` and `OnClosed`. False when the socket can be read no
    /// more: then the turn stays with the user.
    bool Read(CDatagramBatch& batch);

    /// Ends a read that waits, and makes all later ones fail: the first step of a stop.
    void Interrupt();

    bool IsOpen() const { return socket_.IsOpen(); } ///< not while the client starts or stops

    /// Sends all of `data`, on the client's own socket; false if that isn't open or refuses. `address` is as
    /// a socket gives it. Any thread, but not while the client starts or stops.
    bool SendTo(const platform::SocketAddress& address, const std::uint8_t* data, std::uint32_t length);

    /// Datagrams since the start that the system dropped because they were not read in time, as far as it has
    /// told: with each one that arrives behind them. Any thread.
    std::uint32_t DroppedDatagrams() const { return socket_.DroppedDatagrams(); }

    void Run() override;

private:
    bool Start(IRTPClientUser* user, std::optional<std::uint32_t> group, std::uint16_t port);
    bool Open(std::optional<std::uint32_t> group, std::uint16_t port);
    bool Receive(CDatagramBatch& batch);
    void Deliver(CDatagramBatch& batch);
    void Drain();
    template <class Callback>
    void TellUser(Callback callback);

    COneAtATime startOrStop_;
    std::atomic<IRTPClientUser*> user_{nullptr};
    platform::Socket socket_;
    std::atomic<std::uint16_t> port_{0};
    std::atomic<std::uint32_t> readSize_{8192};
    std::atomic<std::uint32_t> waitMs_{2000};
    std::optional<std::uint32_t> group_; // joined, network byte order
    bool hasMore_ = false;               // the thread's own
    bool isLent_ = false;
    CReadTurn turn_;
    std::shared_ptr<CReadWatch> watch_; // while a lent socket is open
};

} // namespace korvane
