#include "transport/udp_client.h"

#include <algorithm>
#include <array>
#include <span>

namespace korvane
{

namespace
{

constexpr std::uint32_t kDefaultReceiveBuffer = 65535;
constexpr std::uint32_t kReceiveTimeoutMs = 5000;
constexpr std::uint32_t kSendTimeoutMs = 1000;
constexpr std::uint32_t kLeastJoinMs = 5000;
constexpr int kMostDrained = 100;
constexpr std::size_t kDrainBytes = 1500;

// A user is seen to be late after two looks. What arrives until then, and the burst of a key frame on top of
// it, has to fit into the socket: so the looks come faster when more arrives.
constexpr std::size_t kBytesPerLook = 48 * 1024;
constexpr std::uint32_t kFirstLookMs = 50;
constexpr std::uint32_t kShortestLookMs = 10;
constexpr std::uint32_t kLongestLookMs = 250;

} // namespace

CUDPClient::CUDPClient(IDebugMessage* debug) : CBaseThread(debug) {}

CUDPClient::~CUDPClient()
{
    CUDPClient::Stop();
}

bool CUDPClient::StartMulticast(IRTPClientUser* user, const std::string& address, std::uint16_t port)
{
    const std::optional<std::uint32_t> group = platform::ParseIPv4(address);
    if (!group)
    {
        Stop();
        return false;
    }
    return Start(user, {group, port, kDefaultReceiveBuffer, kReceiveTimeoutMs, kSendTimeoutMs});
}

bool CUDPClient::StartUnicast(IRTPClientUser* user, std::uint16_t port)
{
    return Start(user, {std::nullopt, port, kDefaultReceiveBuffer, kReceiveTimeoutMs, kSendTimeoutMs});
}

bool CUDPClient::Start(IRTPClientUser* user, const OpenParameters& parameters)
{
    bool isOpen = false;
    if (user != nullptr)
    {
        const CLockGuard guard(lock_);
        user_ = user;
        isOpen = Open(parameters);
        if (isOpen)
            turn_.Reset();
    }
    if (isOpen && StartThread("UDP client thread, port " + std::to_string(port_)))
        return true;
    Stop();
    return false;
}

bool CUDPClient::Open(const OpenParameters& parameters)
{
    if (isOpen_ || !socket_.OpenDatagram())
        return false;
    if (!Prepare(parameters))
    {
        socket_.Close();
        return false;
    }
    isOpen_ = true;
    port_ = socket_.LocalPort();
    socketTimeoutMs_ = std::max(parameters.receiveTimeoutMs, parameters.sendTimeoutMs);
    if (!parameters.group)
        return true;
    if (!socket_.JoinGroup(*parameters.group))
        return false;
    group_ = parameters.group;
    return true;
}

bool CUDPClient::Prepare(const OpenParameters& parameters)
{
    const std::uint32_t bufferBytes =
        parameters.receiveBufferBytes == 0 ? kDefaultReceiveBuffer : parameters.receiveBufferBytes;
    return (!parameters.group || socket_.SetReuseAddress(true)) && socket_.SetReceiveBuffer(bufferBytes) &&
           (parameters.receiveTimeoutMs == 0 || socket_.SetReceiveTimeout(parameters.receiveTimeoutMs)) &&
           (parameters.sendTimeoutMs == 0 || socket_.SetSendTimeout(parameters.sendTimeoutMs)) &&
           socket_.Bind(parameters.port);
}

bool CUDPClient::Stop()
{
    stopEvent_.Set();
    bool wasOpen = false;
    bool joined = false;
    {
        const CLockGuard guard(lock_);
        wasOpen = isOpen_;
        if (wasOpen)
        {
            if (group_)
                socket_.LeaveGroup(*group_);
            group_.reset();
            socket_.Shutdown();
            isOpen_ = false;
            port_ = 0;
        }
        joined = JoinThread(std::max(kLeastJoinMs, std::max(waitMs_.load(), socketTimeoutMs_) + 1000));
    }
    if (wasOpen)
    {
        {
            const std::lock_guard reading(readMutex_); // a user that reads has been woken by the shutdown
            Drain();
            socket_.Close();
        }
        TellUser([this](IRTPClientUser& user) { user.OnClosed(*this); });
    }
    return joined;
}

void CUDPClient::Drain()
{
    std::array<std::uint8_t, kDrainBytes> buffer;
    for (int i = 0; i < kMostDrained && socket_.Receive(buffer).length > 0; ++i)
    {
    }
}

template <class Callback>
void CUDPClient::TellUser(Callback callback)
{
    IRTPClientUser* const user = user_;
    if (user == nullptr)
        return;
    try
    {
        callback(*user);
    }
    catch (...)
    {
        // a user that fails on one datagram gets the next
    }
}

bool CUDPClient::SendTo(const platform::SocketAddress& address, const std::uint8_t* data,
                        std::uint32_t length)
{
    if (!isOpen_)
        return false;
    std::span<const std::uint8_t> left(data, length);
    while (!left.empty())
    {
        const std::ptrdiff_t sent = socket_.SendTo(address, left);
        if (sent < 1)
            return false;
        left = left.subspan(static_cast<std::size_t>(sent));
    }
    return true;
}

void CUDPClient::Run()
{
    CDatagramBatch batch(readSize_);
    std::uint32_t lookMs = kFirstLookMs;
    while (!IsStopping())
    {
        if (userReads_ && !turn_.IsHelpers())
        {
            StandBy(lookMs);
            continue;
        }
        if (!Receive(batch))
            return;
        Deliver(batch);
        if (userReads_)
            turn_.GiveBackIfWanted();
    }
}

void CUDPClient::StandBy(std::uint32_t& lookMs)
{
    if (stopEvent_.Wait(lookMs))
        return;
    turn_.Look();
    const std::size_t bytes = bytesRead_.exchange(0, std::memory_order_relaxed);
    const std::size_t wanted = bytes == 0 ? kLongestLookMs : kBytesPerLook * lookMs / bytes;
    lookMs = static_cast<std::uint32_t>(std::clamp<std::size_t>(wanted, kShortestLookMs, kLongestLookMs));
}

bool CUDPClient::Read(CDatagramBatch& batch)
{
    const bool canGoOn = Receive(batch);
    turn_.EndReading();
    if (canGoOn)
        bytesRead_.fetch_add(batch.ByteCount(), std::memory_order_relaxed);
    return canGoOn;
}

// False at a stop, and when the socket can be read no more.
bool CUDPClient::Receive(CDatagramBatch& batch)
{
    platform::WaitResult result = platform::WaitResult::kFailed;
    {
        const std::lock_guard reading(readMutex_);
        if (isOpen_)
            result = batch.Receive(socket_, waitMs_);
    }
    if (IsStopping())
        return false;
    if (result == platform::WaitResult::kTimeout)
        TellUser([this](IRTPClientUser& user) { user.OnTimeout(*this); });
    else if (result == platform::WaitResult::kFailed)
        TellUser([this](IRTPClientUser& user) { user.OnClosed(*this); });
    return result != platform::WaitResult::kFailed;
}

void CUDPClient::Deliver(CDatagramBatch& batch)
{
    batch.ForEach(
        [this](const platform::SocketAddress& sender, std::span<const std::uint8_t> bytes, bool hasMore)
        {
            if (IsStopping())
                return false;
            hasMore_ = hasMore;
            TellUser(
                [&](IRTPClientUser& user)
                { user.OnDatagram(*this, sender, bytes.data(), static_cast<std::uint32_t>(bytes.size())); });
            return true;
        });
}

} // namespace korvane
