// How many packets a second go from a socket to the parser, and what does that cost beside a bare loop that
// reads the same packets from a socket and throws them away?

#include <atomic>
#include <netinet/in.h>
#include <span>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <benchmark/benchmark.h>

#include "h264_packets.h"
#include "platform/socket.h"
#include "runtime/event.h"
#include "transport/rtp_receiver.h"

namespace
{

using korvane::CEvent;
using korvane::CRTPPacket;
using korvane::CRTPReceiver;
namespace platform = korvane::platform;

constexpr std::size_t kWindow = 64; // packets under way: below what the socket holds

class Counter : public korvane::IRTPReceiverUser
{
public:
    void OnRTPReceived(const platform::SocketAddress&, CRTPPacket& packet) override
    {
        bytes += packet.Payload().size();
        if (++count >= awaited.load(std::memory_order_acquire))
            reached.Set();
    }
    void OnRTPTimeout() override {}
    void OnRTPClosed() override {}

    void Await(std::uint64_t packets)
    {
        awaited.store(packets, std::memory_order_release);
        while (count < packets)
            reached.Wait(100);
    }

    std::atomic<std::uint64_t> count{0};
    std::atomic<std::uint64_t> awaited{~0ULL};
    std::uint64_t bytes = 0;
    CEvent reached{false};
};

void Report(benchmark::State& state, std::uint64_t packets)
{
    state.counters["packets/s"] =
        benchmark::Counter(static_cast<double>(packets), benchmark::Counter::kIsRate);
}

// Sends the stream in bursts and lets `waitFor` wait until as many packets have arrived as were sent.
template <class Read>
void SendBursts(benchmark::State& state, std::uint16_t port, Read waitFor)
{
    const auto& stream = larkmoor::bench::FullHighDefinition();
    platform::Socket sender;
    sender.OpenDatagram();
    const auto to = platform::MakeSocketAddress(*platform::ParseIPv4("127.0.0.1"), port);
    const auto burst = static_cast<std::uint64_t>(state.range(0));
    std::uint64_t sent = 0;
    for (auto _ : state)
    {
        for (const auto& packet : stream.packets)
        {
            sender.SendTo(to, std::span(packet.data(), packet.size()));
            if (++sent % burst == 0)
                waitFor(sent);
        }
    }
    waitFor(sent);
    Report(state, sent);
}

void ReceiveUDP(benchmark::State& state)
{
    Counter user;
    CRTPReceiver receiver(nullptr);
    receiver.SetUser(&user);
    if (!receiver.StartUnicast(0))
        return state.SkipWithError("no socket");
    SendBursts(state, receiver.GetPort(), [&](std::uint64_t count) { user.Await(count); });
}
BENCHMARK(ReceiveUDP)
    ->Name("CRTPReceiver over UDP, burst of")
    ->Arg(1)
    ->Arg(4)
    ->Arg(kWindow)
    ->UseRealTime()
    ->MeasureProcessCPUTime();

void ReceiveBare(benchmark::State& state)
{
    const int handle = socket(AF_INET, SOCK_DGRAM, 0);
    const int room = 512 * 1024;
    setsockopt(handle, SOL_SOCKET, SO_RCVBUFFORCE, &room, sizeof room);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = *platform::ParseIPv4("127.0.0.1");
    socklen_t size = sizeof address;
    if (bind(handle, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
        getsockname(handle, reinterpret_cast<sockaddr*>(&address), &size) != 0)
        return state.SkipWithError("no socket");
    std::atomic<std::uint64_t> count{0};
    std::atomic<std::uint64_t> awaited{~0ULL};
    CEvent reached(false);
    std::thread reader(
        [&]
        {
            std::vector<std::uint8_t> buffer(1536);
            while (recv(handle, buffer.data(), buffer.size(), 0) > 0)
            {
                if (++count >= awaited)
                    reached.Set();
            }
        });
    SendBursts(state, ntohs(address.sin_port),
               [&](std::uint64_t packets)
               {
                   awaited = packets;
                   while (count < packets)
                       reached.Wait(100);
               });
    shutdown(handle, SHUT_RDWR);
    reader.join();
    close(handle);
}
BENCHMARK(ReceiveBare)
    ->Name("floor: bare receive loop, burst of")
    ->Arg(1)
    ->Arg(4)
    ->Arg(kWindow)
    ->UseRealTime()
    ->MeasureProcessCPUTime();

} // namespace

BENCHMARK_MAIN();
