// How many RTP packets a second does one core read: with a copy, as the UDP path does, and out of an
// interleaved stream, where they lie?

#include <vector>

#include <benchmark/benchmark.h>

#include "allocation_count.h"
#include "h264_packets.h"
#include "transport/rtp_packet.h"
#include "transport/rtsp_stream_parser.h"

namespace
{

using korvane::CRTPPacket;
using larkmoor::bench::FullHighDefinition;

void Report(benchmark::State& state, std::size_t allocationsBefore)
{
    const std::size_t allocations = larkmoor::bench::Allocations() - allocationsBefore;
    const auto passes = static_cast<double>(state.iterations());
    const auto packets = passes * static_cast<double>(FullHighDefinition().packets.size());
    state.SetBytesProcessed(
        static_cast<std::int64_t>(passes * static_cast<double>(FullHighDefinition().payloadBytes)));
    state.counters["packets/s"] = benchmark::Counter(packets, benchmark::Counter::kIsRate);
    state.counters["allocations/packet"] = static_cast<double>(allocations) / packets;
}

void ParseEach(benchmark::State& state)
{
    const auto& stream = FullHighDefinition();
    const std::size_t allocationsBefore = larkmoor::bench::Allocations();
    for (auto _ : state)
        for (const auto& bytes : stream.packets)
        {
            CRTPPacket packet;
            benchmark::DoNotOptimize(packet.Parse(bytes.data(), static_cast<std::uint32_t>(bytes.size())));
            benchmark::DoNotOptimize(packet.Payload().data());
        }
    Report(state, allocationsBefore);
}
BENCHMARK(ParseEach)->Name("CRTPPacket::Parse");

class Counter : public korvane::IRTSPStreamParserUser
{
public:
    void OnStreamPacket(CRTPPacket& packet) override { bytes += packet.Payload().size(); }
    void OnStreamBye() override {}
    std::size_t bytes = 0;
};

/// In blocks as a socket gives them: 8,192 bytes, cut anywhere.
void CutInterleavedStream(benchmark::State& state)
{
    constexpr std::size_t kBlockBytes = 8192;
    const auto& stream = FullHighDefinition();
    std::vector<std::uint8_t> bytes;
    for (const auto& packet : stream.packets)
    {
        bytes.insert(bytes.end(), {'$', 0, static_cast<std::uint8_t>(packet.size() >> 8),
                                   static_cast<std::uint8_t>(packet.size())});
        bytes.insert(bytes.end(), packet.begin(), packet.end());
    }

    Counter counter;
    korvane::CRTSPStreamParser parser(&counter, 0);
    const std::size_t allocationsBefore = larkmoor::bench::Allocations();
    for (auto _ : state)
        for (std::size_t at = 0; at < bytes.size(); at += kBlockBytes)
            parser.Feed({bytes.data() + at, std::min(kBlockBytes, bytes.size() - at)});
    if (counter.bytes + 1500 < static_cast<std::size_t>(state.iterations()) * stream.payloadBytes)
        state.SkipWithError("packets are missing");
    Report(state, allocationsBefore);
}
BENCHMARK(CutInterleavedStream)->Name("CRTSPStreamParser::Feed");

} // namespace

BENCHMARK_MAIN();
