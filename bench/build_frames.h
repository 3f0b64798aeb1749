#pragma once

#include <cstring>
#include <vector>

#include <benchmark/benchmark.h>

#include "allocation_count.h"
#include "rtp_packets.h"
#include "support/frame_sink.h"
#include "transport/rtp_packet.h"

namespace larkmoor::bench
{

inline void Report(benchmark::State& state, const RtpPackets& stream)
{
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(stream.payloadBytes));
}

/// The floor: each payload copied once, picture by picture into the same memory, as a host's frames are.
inline void CopyTheSameBytes(benchmark::State& state, const RtpPackets& stream)
{
    std::vector<std::uint8_t> target(stream.payloadBytes);
    for (auto _ : state)
    {
        std::size_t at = 0;
        for (const auto& packet : stream.packets)
        {
            const std::size_t size = packet.size() - RtpPackets::kHeaderBytes;
            std::memcpy(&target[at], &packet[RtpPackets::kHeaderBytes], size);
            at = (packet[1] & 0x80) != 0 ? 0 : at + size;
        }
        benchmark::DoNotOptimize(target.data());
        benchmark::ClobberMemory();
    }
    Report(state, stream);
}

/// All packets of the stream through a parser, again and again.
template <typename Parser>
void BuildFrames(benchmark::State& state, const RtpPackets& stream)
{
    std::vector<korvane::CRTPPacket> packets(stream.packets.size());
    for (std::size_t i = 0; i < packets.size(); ++i)
        if (!packets[i].ParseInPlace(stream.packets[i].data(),
                                     static_cast<std::uint32_t>(stream.packets[i].size())))
            state.SkipWithError("a packet does not parse");

    korvane::test::FrameSink sink;
    Parser parser(&sink, "Larkmoor");
    parser.SetClient(&sink);
    const auto play = [&]
    {
        for (korvane::CRTPPacket& packet : packets)
            parser.OnPacket(packet);
    };
    play(); // the buffers grow to their size
    const std::size_t framesBefore = sink.frames;
    const std::size_t allocationsBefore = Allocations();
    for (auto _ : state)
        play();

    const std::size_t frames = sink.frames - framesBefore;
    const std::size_t taken = Allocations() - allocationsBefore;
    if (frames != static_cast<std::size_t>(state.iterations()) * stream.pictures)
        state.SkipWithError("frames are missing");
    Report(state, stream);
    state.counters["frames/s"] = benchmark::Counter(static_cast<double>(frames), benchmark::Counter::kIsRate);
    state.counters["allocations/frame"] = static_cast<double>(taken) / static_cast<double>(frames);
}

} // namespace larkmoor::bench
