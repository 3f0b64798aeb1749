// What does a host cost that stalls just as a key frame comes? A camera of 25 frames a second sends a key
// frame of 500 KB each second at 100 Mbit/s; the receive buffer is what a process gets that may not force a
// larger one and has Debian's net.core.rmem_max (212,992). Thirty seconds for each stall; with nothing else
// running "lost" has to be 0.

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>

#include "platform/socket.h"
#include "transport/rtp_receiver.h"

namespace
{

using korvane::CRTPPacket;
using korvane::CRTPReceiver;
namespace platform = korvane::platform;
using Clock = std::chrono::steady_clock;
using std::chrono::duration, std::chrono::milliseconds;

constexpr int kBufferCap = 212'992;
constexpr int kFrames = 30 * 25;
constexpr int kFramesPerKeyFrame = 25;
constexpr milliseconds kFrameTime(40);
constexpr std::size_t kPayload = 1400;
constexpr std::size_t kKeyFramePackets = 500'000 / kPayload + 1;
constexpr std::size_t kFramePackets = 16'000 / kPayload + 1;
constexpr auto kPacketTime = std::chrono::nanoseconds(kPayload * 8 * 10); // at 100 Mbit/s
constexpr std::uint8_t kStall = 1; // the payload's first byte: the host stalls when it gets this packet

class StallingHost : public korvane::IRTPReceiverUser
{
public:
    explicit StallingHost(milliseconds stall) : stall_(stall) {}
    void OnRTPReceived(const platform::SocketAddress&, CRTPPacket& packet) override
    {
        ++count;
        if (packet.Payload()[0] == kStall)
            std::this_thread::sleep_for(stall_);
    }
    void OnRTPTimeout() override {}
    void OnRTPClosed() override {}

    std::atomic<std::uint64_t> count{0};

private:
    const milliseconds stall_;
};

/// The receiver's socket, seen from outside: the one of this process that is bound to its port.
class ReceiveBuffer
{
public:
    explicit ReceiveBuffer(std::uint16_t port)
    {
        for (int handle = 0; handle < 1024 && handle_ < 0; ++handle)
        {
            sockaddr_in address{};
            socklen_t size = sizeof address;
            if (getsockname(handle, reinterpret_cast<sockaddr*>(&address), &size) == 0 &&
                address.sin_family == AF_INET && address.sin_port == htons(port))
                handle_ = handle;
        }
    }
    bool Cap() const
    {
        return setsockopt(handle_, SOL_SOCKET, SO_RCVBUF, &kBufferCap, sizeof kBufferCap) == 0;
    }

    /// After each packet sent: as long as what is unread only grows, nobody reads.
    void Look()
    {
        std::array<std::uint32_t, SK_MEMINFO_VARS> info{};
        socklen_t size = sizeof info;
        getsockopt(handle_, SOL_SOCKET, SO_MEMINFO, info.data(), &size);
        const std::uint32_t unread = info[SK_MEMINFO_RMEM_ALLOC];
        const auto now = Clock::now();
        if (unread <= unread_)
            sinceRead_ = now;
        unread_ = unread;
        mostUnread = std::max(mostUnread, unread);
        longestPause = std::max<Clock::duration>(longestPause, now - sinceRead_);
    }
    void BeginFrame()
    {
        unread_ = 0;
        sinceRead_ = Clock::now();
    }

    Clock::duration longestPause{};
    std::uint32_t mostUnread = 0; // as the system counts, against twice the cap

private:
    int handle_ = -1;
    std::uint32_t unread_ = 0;
    Clock::time_point sinceRead_;
};

std::uint64_t SendStream(std::uint16_t port, ReceiveBuffer& buffer)
{
    platform::Socket sender;
    sender.OpenDatagram();
    const auto to = platform::MakeSocketAddress(*platform::ParseIPv4("127.0.0.1"), port);
    std::vector<std::uint8_t> packet(12 + kPayload);
    packet[0] = 0x80;
    std::uint64_t sent = 0;
    const auto start = Clock::now();
    for (int frame = 0; frame < kFrames; ++frame)
    {
        std::this_thread::sleep_until(start + frame * kFrameTime);
        const bool isKey = frame % kFramesPerKeyFrame == kFramesPerKeyFrame - 1;
        const std::size_t packets = isKey ? kKeyFramePackets : kFramePackets;
        auto due = Clock::now();
        buffer.BeginFrame();
        for (std::size_t i = 0; i < packets; ++i, ++sent, due += kPacketTime)
        {
            while (Clock::now() < due)
            {
            }
            packet[2] = static_cast<std::uint8_t>(sent >> 8);
            packet[3] = static_cast<std::uint8_t>(sent);
            packet[12] = isKey && i == 0 ? kStall : 0;
            sender.SendTo(to, packet);
            buffer.Look();
        }
    }
    return sent;
}

void StallBeforeKeyFrames(benchmark::State& state)
{
    const milliseconds stall(state.range(0));
    StallingHost host(stall);
    CRTPReceiver receiver(nullptr);
    receiver.SetUser(&host);
    if (!receiver.StartUnicast(0))
        return state.SkipWithError("no socket");
    ReceiveBuffer buffer(receiver.GetPort());
    if (!buffer.Cap())
        return state.SkipWithError("the receive buffer can't be capped");
    for (auto _ : state)
    {
        const std::uint64_t sent = SendStream(receiver.GetPort(), buffer);
        for (int i = 0; i < 100 && host.count < sent; ++i)
            std::this_thread::sleep_for(milliseconds(10));
        receiver.Stop();
        state.counters["packets"] = static_cast<double>(sent);
        state.counters["lost"] = static_cast<double>(sent - host.count);
    }
    state.counters["pause ms"] = duration<double, std::milli>(buffer.longestPause).count();
    state.counters["unread KB"] = buffer.mostUnread / 1e3;
}
BENCHMARK(StallBeforeKeyFrames)
    ->Name("30 s, stalls before key frames in ms")
    ->Arg(4)
    ->Arg(20)
    ->Arg(100)
    ->Arg(250)
    ->Iterations(1)
    ->Unit(benchmark::kSecond)
    ->UseRealTime();

} // namespace

BENCHMARK_MAIN();
