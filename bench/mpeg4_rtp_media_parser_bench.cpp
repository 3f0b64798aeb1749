// How many bytes of MPEG-4 a second go from packets into whole frames, beside a plain memcpy of the same
// bytes?

#include <algorithm>
#include <stdexcept>

#include "build_frames.h"
#include "camera/media/canned_loop.h"
#include "parsers/mpeg4_rtp_media_parser.h"

namespace
{

using namespace larkmoor::bench;

/// Some seconds of the test picture, cut into packets of network size (RFC 6416, section 5).
class Mpeg4Packets : public RtpPackets
{
public:
    Mpeg4Packets()
    {
        larkmoor::camera::VideoSettings settings;
        settings.codec = larkmoor::camera::VideoCodec::Mpeg4;
        settings.width = 1920;
        settings.height = 1080;
        settings.rateControl = larkmoor::camera::RateControl::ConstantBitrate;
        settings.bitrate = 4'000'000;
        larkmoor::camera::CannedLoops loops;
        const auto loop = loops.Get(settings);
        if (loop == nullptr)
            throw std::runtime_error("no encoder takes these settings");
        for (const auto& frame : loop->frames)
        {
            const std::span<const std::uint8_t> bytes(frame->bytes);
            for (std::size_t at = 0; at < bytes.size(); at += kFragmentBytes)
            {
                const std::size_t size = std::min(kFragmentBytes, bytes.size() - at);
                Add({}, bytes.subspan(at, size), at + size == bytes.size());
            }
            EndPicture(settings.frameRate);
        }
    }
};

/// 1920x1080, 25 pictures a second.
const Mpeg4Packets& Stream()
{
    static const Mpeg4Packets stream;
    return stream;
}

void Floor(benchmark::State& state)
{
    CopyTheSameBytes(state, Stream());
}
BENCHMARK(Floor)->Name("memcpy");

void Parse(benchmark::State& state)
{
    BuildFrames<korvane::CMpeg4RTPMediaParser>(state, Stream());
}
BENCHMARK(Parse)->Name("CMpeg4RTPMediaParser");

} // namespace

BENCHMARK_MAIN();
