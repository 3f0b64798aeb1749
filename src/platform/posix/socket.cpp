#include "platform/socket.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <bit>
#include <cerrno>
#include <cstring>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/posix/futex.h"
#include "platform/reserve.h"
#include "platform/thread.h"

namespace korvane::platform
{

namespace
{

static_assert(sizeof(SocketAddress) == sizeof(sockaddr_in));

std::atomic<int> libraryUsers{0};

sockaddr_in ToSystem(const SocketAddress& address)
{
    return std::bit_cast<sockaddr_in>(address);
}

std::uint32_t OrForever(std::uint32_t timeoutMs)
{
    return timeoutMs == 0 ? kInfinite : timeoutMs;
}

// Waits for one of `events`, or for an end or an error of the socket. A handle that wakes (below 0: none)
// makes it a time-out.
WaitResult Poll(int handle, short events, const posix::Deadline& deadline, int wakeHandle)
{
    const AwayScope away;
    pollfd entries[] = {{handle, events, 0}, {wakeHandle, POLLIN, 0}}; // one below 0 is passed over
    for (;;)
    {
        const std::uint32_t leftMs = deadline.LeftMs();
        const int span = static_cast<int>(std::min<std::uint32_t>(leftMs, 0x7FFFFFFF));
        const int ready = poll(entries, wakeHandle < 0 ? 1 : 2, leftMs == kInfinite ? -1 : span);
        if (ready > 0 && entries[0].revents == 0)
            return WaitResult::kTimeout;
        if (ready > 0)
            return (entries[0].revents & POLLNVAL) == 0 ? WaitResult::kSignalled : WaitResult::kFailed;
        if (ready == 0 && deadline.LeftMs() == 0)
            return WaitResult::kTimeout;
        if (ready < 0 && errno != EINTR)
            return WaitResult::kFailed;
    }
}

// Makes a call that does not block, again and again until it gives something other than "not now".
// -1 with EAGAIN is a time-out, 0 may be a shutdown.
template <class Call>
ssize_t Await(int handle, short events, std::uint32_t timeoutMs, bool waitFirst,
              const std::atomic<bool>& shutDown, Call call, int wakeHandle = -1)
{
    const posix::Deadline deadline(timeoutMs);
    for (;;)
    {
        if (waitFirst)
        {
            const WaitResult wait = Poll(handle, events, deadline, wakeHandle);
            if (wait != WaitResult::kSignalled)
            {
                errno = wait == WaitResult::kTimeout ? EAGAIN : EBADF;
                return -1;
            }
        }
        const ssize_t done = call();
        if (done >= 0 || (errno != EAGAIN && errno != EINTR))
            return done;
        if (shutDown)
            return 0; // a datagram socket says "not now" for ever
        waitFirst = true;
    }
}

// What comes with a datagram: how many were dropped before it, if any ever were (socket(7), SO_RXQ_OVFL).
struct alignas(cmsghdr) DropNote
{
    std::array<std::uint8_t, CMSG_SPACE(sizeof(std::uint32_t))> bytes;
};

void ReadDrops(const msghdr& message, std::atomic<std::uint32_t>& drops)
{
    const cmsghdr* const note = CMSG_FIRSTHDR(&message);
    if (note == nullptr || note->cmsg_level != SOL_SOCKET || note->cmsg_type != SO_RXQ_OVFL)
        return;
    std::uint32_t count = 0;
    std::memcpy(&count, CMSG_DATA(note), sizeof(count));
    drops.store(count, std::memory_order_relaxed);
}

ReceiveResult Failure()
{
    return {errno == EAGAIN ? ReceiveResult::Status::kTimeout : ReceiveResult::Status::kError, 0};
}

} // namespace

std::optional<std::uint32_t> ParseIPv4(const std::string& dotted)
{
    in_addr address{};
    if (inet_pton(AF_INET, dotted.c_str(), &address) != 1)
        return std::nullopt;
    return address.s_addr;
}

std::uint32_t LookUpIPv4(const std::string& name)
{
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    {
        // A copy: the caller's name may be gone when a slow resolver comes back.
        const std::string ownName(name.begin(), name.end());
        const AwayScope away;
        // getaddrinfo and not gethostbyname: the latter answers all threads from one static buffer.
        if (getaddrinfo(ownName.c_str(), nullptr, &hints, &found) != 0 || found == nullptr)
            return 0;
    }
    const std::unique_ptr<addrinfo, void (*)(addrinfo*)> owner(found, freeaddrinfo);
    return reinterpret_cast<const sockaddr_in*>(found->ai_addr)->sin_addr.s_addr;
}

SocketAddress MakeSocketAddress(std::uint32_t address, std::uint16_t port)
{
    return {AF_INET, htons(port), address, {}};
}

bool SocketLibraryUse::Start()
{
    if (!held_)
        ++libraryUsers; // and nothing to load on this system
    held_ = true;
    return true;
}

void SocketLibraryUse::Stop()
{
    if (held_)
        --libraryUsers;
    held_ = false;
}

int SocketLibraryUse::Count()
{
    return libraryUsers;
}

bool Socket::Open(int type)
{
    if (IsOpen())
        return false;
    handle_ = Reserve::OpenDescriptors(1, [type] { return socket(AF_INET, type | SOCK_CLOEXEC, 0); });
    blockingTimeoutMs_ = 0;
    likelyEmpty_ = true;
    shutDown_ = false;
    receiveTimeoutMs_ = 0;
    sendTimeoutMs_ = 0;
    return IsOpen();
}

bool Socket::OpenStream()
{
    datagram_ = false;
    return Open(SOCK_STREAM | SOCK_NONBLOCK);
}

bool Socket::OpenDatagram()
{
    datagram_ = true;
    if (!Open(SOCK_DGRAM))
        return false;
    // Else a socket also gets the groups that others in this system joined on the same port.
    SetOption(IPPROTO_IP, IP_MULTICAST_ALL, 0);
    drops_ = 0;
    SetOption(SOL_SOCKET, SO_RXQ_OVFL, 1);
    return true;
}

void Socket::Close()
{
    for (int* const handle : {&handle_, &wakeHandle_})
    {
        if (*handle >= 0)
        {
            close(*handle);
            Reserve::DescriptorsClosed(1);
        }
        *handle = -1;
    }
}

bool Socket::EnableWake()
{
    wakeHandle_ = Reserve::OpenDescriptors(1, [] { return eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK); });
    return wakeHandle_ >= 0;
}

void Socket::Wake()
{
    const eventfd_t one = 1;
    if (wakeHandle_ >= 0)
        static_cast<void>(eventfd_write(wakeHandle_, one));
}

void Socket::ClearWake()
{
    eventfd_t count = 0;
    if (wakeHandle_ >= 0)
        static_cast<void>(eventfd_read(wakeHandle_, &count));
}

template <class Value>
bool Socket::SetOption(int level, int name, const Value& value) const
{
    return setsockopt(handle_, level, name, &value, sizeof(value)) == 0;
}

bool Socket::SetReceiveBuffer(std::uint32_t payloadBytes)
{
    // The kernel doubles the value for its overhead, which holds for full packets on loopback only. Network
    // cards hand over packets of 1.4 KB in blocks of up to 4 KB, so twice that is asked for.
    const std::uint32_t room = datagram_ ? std::max(payloadBytes, kLeastDatagramRoom) : payloadBytes;
    const int value = static_cast<int>(std::min<std::uint64_t>(std::uint64_t{room} * 2, 0x3FFFFFFF));
    return SetOption(SOL_SOCKET, SO_RCVBUFFORCE, value) || // past the cap, with the right to
           SetOption(SOL_SOCKET, SO_RCVBUF, value);
}

bool Socket::SetBlockingTimeout(std::uint32_t timeoutMs)
{
    // 0 would be for ever, and what is meant by that is `kInfinite`.
    timeval span{};
    if (timeoutMs != kInfinite)
        span = {static_cast<time_t>(timeoutMs / 1000), static_cast<suseconds_t>(timeoutMs % 1000) * 1000};
    if (timeoutMs == 0)
        span.tv_usec = 1;
    if (!SetOption(SOL_SOCKET, SO_RCVTIMEO, span))
        return false;
    blockingTimeoutMs_ = timeoutMs;
    return true;
}

bool Socket::SetReuseAddress()
{
    return SetOption(SOL_SOCKET, SO_REUSEADDR, 1);
}

bool Socket::JoinGroup(std::uint32_t group)
{
    return SetOption(IPPROTO_IP, IP_ADD_MEMBERSHIP, ip_mreq{{group}, {INADDR_ANY}});
}

bool Socket::LeaveGroup(std::uint32_t group)
{
    return SetOption(IPPROTO_IP, IP_DROP_MEMBERSHIP, ip_mreq{{group}, {INADDR_ANY}});
}

bool Socket::Bind(std::uint16_t port)
{
    const sockaddr_in address = ToSystem(MakeSocketAddress(INADDR_ANY, port));
    return bind(handle_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
}

std::uint16_t Socket::LocalPort() const
{
    sockaddr_in address{};
    socklen_t size = sizeof(address);
    if (getsockname(handle_, reinterpret_cast<sockaddr*>(&address), &size) != 0)
        return 0;
    return ntohs(address.sin_port);
}

bool Socket::BeginConnect(const SocketAddress& peer)
{
    const sockaddr_in address = ToSystem(peer);
    return connect(handle_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0 ||
           errno == EINPROGRESS || errno == EINTR;
}

WaitResult Socket::WaitConnected(std::uint32_t timeoutMs)
{
    const WaitResult wait = Poll(handle_, POLLOUT, posix::Deadline(timeoutMs), wakeHandle_);
    if (wait != WaitResult::kSignalled)
        return wait;
    int error = 0;
    socklen_t size = sizeof(error);
    const bool told = getsockopt(handle_, SOL_SOCKET, SO_ERROR, &error, &size) == 0;
    return told && error == 0 ? WaitResult::kSignalled : WaitResult::kFailed;
}

std::size_t Socket::Send(std::span<const std::uint8_t> data)
{
    std::size_t sent = 0;
    while (sent < data.size())
    {
        const ssize_t done =
            Await(handle_, POLLOUT, OrForever(sendTimeoutMs_), false, shutDown_,
                  [&] { return send(handle_, data.data() + sent, data.size() - sent, MSG_NOSIGNAL); });
        if (done <= 0)
            break;
        sent += static_cast<std::size_t>(done);
    }
    return sent;
}

ReceiveResult Socket::Receive(std::span<std::uint8_t> buffer)
{
    const ssize_t got = Await(
        handle_, POLLIN, OrForever(receiveTimeoutMs_), likelyEmpty_, shutDown_,
        [&] { return recv(handle_, buffer.data(), buffer.size(), MSG_DONTWAIT); }, wakeHandle_);
    likelyEmpty_ = got < static_cast<ssize_t>(buffer.size());
    if (got < 0)
        return Failure();
    if (got == 0 && !buffer.empty())
        return {ReceiveResult::Status::kClosed, 0};
    return {ReceiveResult::Status::kReceived, static_cast<std::size_t>(got)};
}

std::ptrdiff_t Socket::SendTo(const SocketAddress& peer, std::span<const std::uint8_t> data)
{
    const sockaddr_in address = ToSystem(peer);
    return Await(handle_, POLLOUT, OrForever(sendTimeoutMs_), false, shutDown_,
                 [&]
                 {
                     return sendto(handle_, data.data(), data.size(), MSG_NOSIGNAL | MSG_DONTWAIT,
                                   reinterpret_cast<const sockaddr*>(&address), sizeof(address));
                 });
}

Socket::ManyResult Socket::ReceiveMany(std::span<Datagram> datagrams, std::uint32_t timeoutMs)
{
    if (timeoutMs != blockingTimeoutMs_ && !SetBlockingTimeout(timeoutMs))
        return {};
    const std::size_t count = std::min(datagrams.size(), kMostDatagrams);
    std::array<mmsghdr, kMostDatagrams> messages;
    std::array<std::array<iovec, 2>, kMostDatagrams> parts;
    std::array<DropNote, kMostDatagrams> notes;
    for (std::size_t i = 0; i < count; ++i)
    {
        Datagram& datagram = datagrams[i];
        parts[i] = {iovec{datagram.buffer.data(), datagram.buffer.size()},
                    iovec{datagram.overflow.data(), datagram.overflow.size()}};
        messages[i] = {};
        messages[i].msg_hdr.msg_iov = parts[i].data();
        messages[i].msg_hdr.msg_iovlen = datagram.overflow.empty() ? 1 : 2;
        messages[i].msg_hdr.msg_name = &datagram.sender;
        messages[i].msg_hdr.msg_namelen = sizeof(datagram.sender);
        messages[i].msg_hdr.msg_control = notes[i].bytes.data();
        messages[i].msg_hdr.msg_controllen = notes[i].bytes.size();
    }
    int got = 0;
    int error = 0;
    {
        const int handle = handle_;
        const AwayScope away;
        // One blocking call where a wait and a read would be two, with a timer that is seldom programmed.
        got = recvmmsg(handle, messages.data(), static_cast<unsigned>(count), MSG_WAITFORONE, nullptr);
        error = errno;
    }
    if (shutDown_)
        return {WaitResult::kSignalled, 0};
    if (got < 0)
    {
        if (error == EBADF || error == EFAULT || error == EINVAL || error == ENOTSOCK || error == ENETDOWN)
            return {};
        return {error == EAGAIN ? WaitResult::kTimeout : WaitResult::kSignalled, 0};
    }
    for (std::size_t i = 0; i < static_cast<std::size_t>(got); ++i)
    {
        datagrams[i].length = messages[i].msg_len;
        datagrams[i].truncated = (messages[i].msg_hdr.msg_flags & MSG_TRUNC) != 0;
        ReadDrops(messages[i].msg_hdr, drops_);
    }
    return {WaitResult::kSignalled, static_cast<std::size_t>(got)};
}

void Socket::Shutdown()
{
    shutDown_ = true;
    if (IsOpen())
        shutdown(handle_,
                 SHUT_RDWR); // "not connected" for a datagram socket, and wakes its reader all the same
}

} // namespace korvane::platform
