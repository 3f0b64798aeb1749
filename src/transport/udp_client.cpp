#include "transport/udp_client.h"

#include <algorithm>
#include <array>
#include <span>

#include "platform/held_locks.h"
#include "runtime/guarded.h"

namespace korvane
{

namespace
{

constexpr std::uint32_t kDatagramBufferBytes = 65535;
constexpr std::uint32_t kReceiveTimeoutMs = 5000;
constexpr std::uint32_t kSendTimeoutMs = 1000;
constexpr int kMostDrained = 100;
constexpr std::size_t kDrainBytes = 1500;

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
    return Start(user, group, port);
}

bool CUDPClient::StartUnicast(IRTPClientUser* user, std::uint16_t port)
{
    return Start(user, std::nullopt, port);
}

bool CUDPClient::Start(IRTPClientUser* user, std::optional<std::uint32_t> group, std::uint16_t port)
{
    const COneAtATime::Turn only(startOrStop_);
    if (user != nullptr)
    {
        user_ = user;
        if (Open(group, port) && StartThread("UDP client thread, port " + std::to_string(port_)))
            return true;
    }
    Stop();
    return false;
}

bool CUDPClient::Open(std::optional<std::uint32_t> group, std::uint16_t port)
{
    if (!socket_.OpenDatagram())
        return false;
    socket_.SetReceiveTimeout(kReceiveTimeoutMs);
    socket_.SetSendTimeout(kSendTimeoutMs);
    if ((group && !socket_.SetReuseAddress()) || !socket_.SetReceiveBuffer(kDatagramBufferBytes) ||
        !socket_.Bind(port))
    {
        socket_.Close();
        return false;
    }
    port_ = socket_.LocalPort();
    if (group && !socket_.JoinGroup(*group))
        return false;
    group_ = group;
    if (!isLent_)
        return true;
    turn_.Reset();
    watch_ = CReadWatch::Get();
    if (watch_ == nullptr)
        return false;
    watch_->Add(turn_);
    return true;
}

void CUDPClient::Interrupt()
{
    stopEvent_.Set();
    socket_.Shutdown();
}

// Each step may be done a second time: the thread that did it first may have been given up in it.
bool CUDPClient::Stop()
{
    stopEvent_.Set();
    const COneAtATime::Turn only(startOrStop_);
    if (group_)
        socket_.LeaveGroup(*group_);
    group_.reset();
    Interrupt();
    const bool joined = JoinThread(std::max(waitMs_.load(), kReceiveTimeoutMs) + 1000);
    if (watch_ != nullptr)
        watch_->Remove(turn_);
    watch_.reset();
    if (socket_.IsOpen())
    {
        Drain();
        socket_.Close();
        port_ = 0;
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
    if (user != nullptr)
        Guarded([&] { callback(*user); }); // a user that fails on one datagram gets the next
}

bool CUDPClient::SendTo(const platform::SocketAddress& address, const std::uint8_t* data,
                        std::uint32_t length)
{
    if (!IsOpen())
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
    platform::HeldLocks::ForbidHostCalls();
    CDatagramBatch batch(readSize_);
    CEvent* const events[] = {&stopEvent_, &turn_.Taken()};
    while (!IsStopping())
    {
        if (isLent_ && !turn_.IsTaken())
        {
            CEvent::WaitForAny(events, 2, kWaitForever);
            continue;
        }
        if (!Receive(batch))
            return;
        Deliver(batch);
        if (isLent_)
            turn_.GiveBackIfWanted();
    }
}

bool CUDPClient::Read(CDatagramBatch& batch)
{
    if (!Receive(batch))
        return false;
    turn_.EndReading();
    return true;
}

// False at a stop, and when the socket can be read no more.
bool CUDPClient::Receive(CDatagramBatch& batch)
{
    const platform::WaitResult result = batch.Receive(socket_, waitMs_);
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
    for (CDatagramBatch::Arrived next; batch.Next(next) && !IsStopping();)
    {
        hasMore_ = next.hasMore;
        TellUser(
            [&](IRTPClientUser& user) {
                user.OnDatagram(*this, next.sender, next.bytes.data(),
                                static_cast<std::uint32_t>(next.bytes.size()));
            });
    }
}

} // namespace korvane
