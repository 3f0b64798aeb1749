// How many bytes of Motion JPEG a second go from an HTTP body into whole frames, beside the least that could
// do it: a search for 0xFF through the same bytes, and two copies of them?

#include <algorithm>
#include <cstring>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "allocation_count.h"
#include "camera/media/canned_loop.h"
#include "parsers/jpeg_media_parser.h"
#include "support/frame_sink.h"

namespace
{

using Bytes = std::vector<std::uint8_t>;

/// Some seconds of the test picture as a multipart body, with the sizes of the blocks in which it is read.
struct Body
{
    Body(std::uint32_t width, std::uint32_t height)
    {
        larkmoor::camera::VideoSettings settings;
        settings.codec = larkmoor::camera::VideoCodec::MotionJpeg;
        settings.width = width;
        settings.height = height;
        settings.quantizer = 60;
        larkmoor::camera::CannedLoops loops;
        const auto loop = loops.Get(settings);
        if (loop == nullptr)
            throw std::runtime_error("no encoder takes these settings");
        for (const auto& frame : loop->frames)
        {
            const std::string head = "\r\n--boundary\r\nContent-Type: image/jpeg\r\nContent-Length: " +
                                     std::to_string(frame->bytes.size()) + "\r\n\r\n";
            bytes.insert(bytes.end(), head.begin(), head.end());
            bytes.insert(bytes.end(), frame->bytes.begin(), frame->bytes.end());
            largest = std::max(largest, frame->bytes.size());
            ++pictures;
        }
    }

    /// Blocks of up to 64 KiB, as the HTTP client holds them ready.
    template <class Take>
    void ForEachBlock(Take&& take) const
    {
        constexpr std::size_t kBlockBytes = 64 * 1024;
        for (std::size_t at = 0; at < bytes.size(); at += kBlockBytes)
            take(std::span(bytes).subspan(at, std::min(kBlockBytes, bytes.size() - at)));
    }

    Bytes bytes;
    std::size_t pictures = 0;
    std::size_t largest = 0;
};

const Body& Pictures(std::int64_t width)
{
    static const Body small(640, 480);
    static const Body large(1920, 1080);
    return width == 640 ? small : large;
}

void Report(benchmark::State& state, const Body& body)
{
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(body.bytes.size()));
    state.counters["frames/s"] =
        benchmark::Counter(static_cast<double>(state.iterations()) * static_cast<double>(body.pictures),
                           benchmark::Counter::kIsRate);
}

/// The floor: each block searched from one 0xFF to the next and copied, and copied once more from there, into
/// memory of a picture's size.
void WalkAndCopyTwice(benchmark::State& state)
{
    const Body& body = Pictures(state.range(0));
    Bytes first(body.largest + 64 * 1024);
    Bytes second(first.size());
    for (auto _ : state)
    {
        std::size_t filled = 0;
        std::size_t hits = 0;
        body.ForEachBlock(
            [&](std::span<const std::uint8_t> block)
            {
                const std::uint8_t* at = block.data();
                const std::uint8_t* const end = at + block.size();
                while ((at = static_cast<const std::uint8_t*>(
                            std::memchr(at, 0xFF, static_cast<std::size_t>(end - at)))) != nullptr)
                {
                    ++at;
                    ++hits;
                }
                std::memcpy(&first[filled], block.data(), block.size());
                filled += block.size();
                if (filled >= body.largest)
                {
                    std::memcpy(second.data(), first.data(), filled);
                    filled = 0;
                }
            });
        benchmark::DoNotOptimize(hits);
        benchmark::DoNotOptimize(second.data());
        benchmark::ClobberMemory();
    }
    Report(state, body);
}
BENCHMARK(WalkAndCopyTwice)->Name("memchr walk and two memcpy")->Arg(640)->Arg(1920);

class Counter final : public korvane::IMediaReceiver
{
public:
    bool WantsFrames() override { return true; }
    bool OnMediaFrame(korvane::ipcapture::IHostFrame*) override
    {
        ++frames;
        return true;
    }

    std::size_t frames = 0;
};

void CutFrames(benchmark::State& state)
{
    const Body& body = Pictures(state.range(0));
    korvane::test::FrameSink sink;
    Counter counter;
    korvane::CJpegMediaParser parser(&sink);
    parser.SetReceiver(&counter);
    const auto play = [&]
    { body.ForEachBlock([&](std::span<const std::uint8_t> block) { parser.ParseData(block); }); };
    play(); // the buffers grow to their size
    const std::size_t framesBefore = counter.frames;
    const std::size_t allocationsBefore = larkmoor::bench::Allocations();
    for (auto _ : state)
        play();

    const std::size_t frames = counter.frames - framesBefore;
    const std::size_t allocations = larkmoor::bench::Allocations() - allocationsBefore;
    if (frames != static_cast<std::size_t>(state.iterations()) * body.pictures)
        state.SkipWithError("frames are missing");
    Report(state, body);
    state.counters["allocations/frame"] = static_cast<double>(allocations) / static_cast<double>(frames);
}
BENCHMARK(CutFrames)->Name("CJpegMediaParser")->Arg(640)->Arg(1920);

} // namespace

BENCHMARK_MAIN();
