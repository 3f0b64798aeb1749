#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "platform/event.h"

namespace korvane::platform
{

/// An IPv4 address and port as sockets hand them over: the layout of sockaddr_in.
struct SocketAddress
{
    std::uint16_t family = 0;  ///< the system's number for IPv4, or 0 when unset
    std::uint16_t port = 0;    ///< network byte order
    std::uint32_t address = 0; ///< network byte order
    std::uint8_t zero[8] = {};

    bool operator==(const SocketAddress&) const = default;
};
static_assert(sizeof(SocketAddress) == 16);

/// The address of a dotted text such as "239.1.2.3" in network byte order; nothing for any other text.
std::optional<std::uint32_t> ParseIPv4(const std::string& dotted);

/// The first IPv4 address of `name` (a host name or dotted decimal) in network byte order; 0 when there is
/// none. Asks the system's resolver, which may block for as long as its configuration says. Any thread.
std::uint32_t LookUpIPv4(const std::string& name);

/// The address for `address` (network byte order) and `port` (host byte order).
SocketAddress MakeSocketAddress(std::uint32_t address, std::uint16_t port);

/// A reference on the system's socket library, which some systems load for the first user and let go of with
/// the last. Not for two threads at a time.
class SocketLibraryUse
{
public:
    SocketLibraryUse() = default;
    SocketLibraryUse(const SocketLibraryUse&) = delete;
    SocketLibraryUse& operator=(const SocketLibraryUse&) = delete;
    ~SocketLibraryUse() { Stop(); }

    bool Start(); ///< false if the library can't be had; nothing more if the reference is held already
    void Stop();

    static int Count(); ///< references that are held in this process; any thread

private:
    bool held_ = false;
};

/// One datagram of `Socket::ReceiveMany`.
struct Datagram
{
    SocketAddress sender;
    std::span<std::uint8_t> buffer;   ///< in: where it goes, by the caller, who owns it
    std::span<std::uint8_t> overflow; ///< in: where what passes `buffer` goes; may be empty
    std::size_t length = 0;           ///< out: bytes that arrived in both
    bool truncated = false;           ///< out: it was larger than both; the rest is gone
};

/// What a receiving call found.
struct ReceiveResult
{
    enum class Status
    {
        kReceived,
        kTimeout,
        kClosed, ///< a stream's orderly end, or `Shutdown`
        kError,
    };
    Status status = Status::kError;
    std::size_t length = 0; ///< bytes in the buffer
};

/// An owned IPv4 socket, TCP or UDP.
///
/// `Shutdown` and `Wake` may be called while another thread uses the socket, and so may the option setters;
/// all else is up to one thread at a time, and `Close` waits for nobody: who closes has made sure that no
/// call is under way. Calls that wait do so with `poll`, so any descriptor number will do, and inside an
/// `AwayScope` (platform/thread.h). No call raises a signal.
class Socket
{
public:
    ~Socket() { Close(); }

    /// Open a new socket, not inherited by child processes; false if this one is open or none is to be had.
    bool OpenStream();
    bool OpenDatagram();
    bool IsOpen() const { return handle_ >= 0; }
    void Close();

    /// Asks for room for `payloadBytes` of what arrives. The system charges its own overhead for each packet;
    /// that is added here. A datagram socket gets room for at least `kLeastDatagramRoom`, which holds the
    /// burst of one large key frame in packets of network size; it is a limit and not memory taken. Systems
    /// cap it (net.core.rmem_max): a cap is no failure.
    bool SetReceiveBuffer(std::uint32_t payloadBytes);
    static constexpr std::uint32_t kLeastDatagramRoom = 256 * 1024;

    /// Of an open socket: for `Receive`, and for `Send` and `SendTo`. 0 waits for ever.
    void SetReceiveTimeout(std::uint32_t timeoutMs) { receiveTimeoutMs_ = timeoutMs; }
    void SetSendTimeout(std::uint32_t timeoutMs) { sendTimeoutMs_ = timeoutMs; }
    bool SetReuseAddress();
    bool JoinGroup(std::uint32_t group); ///< network byte order; on the interface that the system chooses
    bool LeaveGroup(std::uint32_t group);

    bool Bind(std::uint16_t port);   ///< on all interfaces; 0 takes a free port
    std::uint16_t LocalPort() const; ///< host byte order; 0 if not bound

    /// Begins to connect and does not wait; false if it was refused at once.
    bool BeginConnect(const SocketAddress& peer);
    /// Waits for the end of a connect that has begun: signalled is connected, failed is refused.
    WaitResult WaitConnected(std::uint32_t timeoutMs);

    /// Sends all of `data`; gives the bytes that went, fewer on a time-out or an error.
    std::size_t Send(std::span<const std::uint8_t> data);
    /// One read, or one datagram; what passes `buffer` of that is lost, and an empty one counts as closed.
    ReceiveResult Receive(std::span<std::uint8_t> buffer);

    /// Bytes sent (0 is a datagram too), or -1.
    std::ptrdiff_t SendTo(const SocketAddress& peer, std::span<const std::uint8_t> data);

    /// Waits until something has arrived, and takes up to `kMostDatagrams` datagrams that are there, in one
    /// call. `kSignalled` with a `count` of 0 after a shutdown. The memory has to be the calling thread's
    /// own, as for all that is used inside an `AwayScope`.
    struct ManyResult
    {
        WaitResult result = WaitResult::kFailed;
        std::size_t count = 0;
    };
    ManyResult ReceiveMany(std::span<Datagram> datagrams, std::uint32_t timeoutMs);
    static constexpr std::size_t kMostDatagrams = 32;

    /// Ends both directions and wakes whoever waits on the socket. Any thread.
    void Shutdown();

    /// Lets `Wake` end the waits of an open stream socket, at the price of one descriptor. False if there is
    /// none to be had.
    bool EnableWake();
    /// Ends a `Receive` or `WaitConnected` that waits, and each one that would, as if its
    /// time had run out, until `ClearWake`. The connection stays. Any thread; nothing without `EnableWake`.
    void Wake();
    void ClearWake();

    /// Datagrams that the system threw away because the receive buffer was full, since the socket was opened;
    /// wraps. Known from the next one that `ReceiveMany` takes. 0 if the system doesn't tell. Any thread.
    std::uint32_t DroppedDatagrams() const { return drops_.load(std::memory_order_relaxed); }

private:
    bool Open(int type);
    bool SetBlockingTimeout(std::uint32_t timeoutMs);
    template <class Value>
    bool SetOption(int level, int name, const Value& value) const;
    int handle_ = -1;
    int wakeHandle_ = -1;
    bool datagram_ = false;
    std::atomic<std::uint32_t> drops_{0};
    bool likelyEmpty_ = true; // a read would find nothing, so waiting first saves a call
    std::atomic<bool> shutDown_{false};
    std::atomic<std::uint32_t> receiveTimeoutMs_{0};
    std::atomic<std::uint32_t> sendTimeoutMs_{0};
    std::uint32_t blockingTimeoutMs_ = 0; // what the system knows as the receive time-out
};

} // namespace korvane::platform
