// How many bytes of H.264 a second go from packets into whole frames, beside a plain memcpy of the same
// bytes?

#include "build_frames.h"
#include "h264_packets.h"
#include "parsers/h264_rtp_media_parser.h"

namespace
{

using namespace larkmoor::bench;

void Floor(benchmark::State& state)
{
    CopyTheSameBytes(state, FullHighDefinition());
}
BENCHMARK(Floor)->Name("memcpy");

void Parse(benchmark::State& state)
{
    BuildFrames<korvane::CH264RTPMediaParser>(state, FullHighDefinition());
}
BENCHMARK(Parse)->Name("CH264RTPMediaParser");

} // namespace

BENCHMARK_MAIN();
