// How many bytes of H.264 a second go from packets into whole frames, beside a plain memcpy of the same
// bytes?

#include <cstring>
#include <vector>

#include <benchmark/benchmark.h>

#include "allocation_count.h"
#include "h264_packets.h"
#include "parsers/h264_rtp_media_parser.h"
#include "support/frame_sink.h"

namespace
{

using korvane::CRTPPacket;
using larkmoor::bench::FullHighDefinition;
using larkmoor::bench::H264Packets;

void Report(benchmark::State& state)
{
    const auto bytes = static_cast<std::int64_t>(FullHighDefinition().payloadBytes);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * bytes);
}

/// The floor: each payload copied once, picture by picture into the same memory, as a host's frames are.
void CopyTheSameBytes(benchmark::State& state)
{
    const H264Packets& stream = FullHighDefinition();
    std::vector<std::uint8_t> target(stream.payloadBytes);
    for (auto _ : state)
    {
        std::size_t at = 0;
        for (const auto& packet : stream.packets)
        {
            const std::size_t size = packet.size() - H264Packets::kHeaderBytes;
            std::memcpy(&target[at], &packet[H264Packets::kHeaderBytes], size);
            at = (packet[1] & 0x80) != 0 ? 0 : at + size;
        }
        benchmark::DoNotOptimize(target.data());
        benchmark::ClobberMemory();
    }
    Report(state);
}
BENCHMARK(CopyTheSameBytes)->Name("memcpy");

void BuildFrames(benchmark::State& state)
{
    const H264Packets& stream = FullHighDefinition();
    std::vector<CRTPPacket> packets(stream.packets.size());
    for (std::size_t i = 0; i < packets.size(); ++i)
        if (!packets[i].ParseInPlace(stream.packets[i].data(),
                                     static_cast<std::uint32_t>(stream.packets[i].size())))
            state.SkipWithError("a packet does not parse");

    korvane::test::FrameSink sink;
    korvane::CH264RTPMediaParser parser(&sink, "Larkmoor");
    parser.SetClient(&sink);
    const auto play = [&]
    {
        for (CRTPPacket& packet : packets)
            parser.OnPacket(packet);
    };
    play(); // the buffers grow to their size
    const std::size_t framesBefore = sink.frames;
    const std::size_t allocationsBefore = larkmoor::bench::Allocations();
    for (auto _ : state)
        play();

    const std::size_t frames = sink.frames - framesBefore;
    const std::size_t allocations = larkmoor::bench::Allocations() - allocationsBefore;
    if (frames != static_cast<std::size_t>(state.iterations()) * stream.pictures)
        state.SkipWithError("frames are missing");
    Report(state);
    state.counters["frames/s"] = benchmark::Counter(static_cast<double>(frames), benchmark::Counter::kIsRate);
    state.counters["allocations/frame"] = static_cast<double>(allocations) / static_cast<double>(frames);
}
BENCHMARK(BuildFrames)->Name("CH264RTPMediaParser");

} // namespace

BENCHMARK_MAIN();
