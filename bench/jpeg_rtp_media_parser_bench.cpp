// How many bytes of JPEG a second go from packets into whole files, beside a plain memcpy of the same bytes?

#include <algorithm>
#include <stdexcept>

#include "build_frames.h"
#include "camera/media/canned_loop.h"
#include "parsers/jpeg_rtp_media_parser.h"

namespace
{

using namespace larkmoor::bench;

/// Some seconds of the test picture, cut into packets of network size (RFC 2435), tables in band.
class JpegPackets : public RtpPackets
{
public:
    JpegPackets()
    {
        larkmoor::camera::VideoSettings settings;
        settings.codec = larkmoor::camera::VideoCodec::MotionJpeg;
        settings.width = 1920;
        settings.height = 1080;
        settings.quantizer = 60;
        larkmoor::camera::CannedLoops loops;
        const auto loop = loops.Get(settings);
        if (loop == nullptr)
            throw std::runtime_error("no encoder takes these settings");
        for (const auto& frame : loop->frames)
        {
            AddScan(ScanOf(frame->bytes));
            EndPicture(settings.frameRate);
        }
    }

private:
    /// All behind the scan's header (SOS of ITU-T T.81, B.2.3), the end of the image too.
    static std::span<const std::uint8_t> ScanOf(std::span<const std::uint8_t> file)
    {
        constexpr std::uint8_t kScan = 0xDA;
        std::size_t at = 2; // behind the start of image
        while (at + 4 <= file.size())
        {
            const bool isScan = file[at + 1] == kScan;
            at += 2u + (static_cast<std::size_t>(file[at + 2]) << 8 | file[at + 3]);
            if (isScan && at < file.size())
                return file.subspan(at);
        }
        throw std::runtime_error("a picture without a scan");
    }

    /// The tables' values do not matter here, only that they travel: they are all 1.
    void AddScan(std::span<const std::uint8_t> scan)
    {
        constexpr std::size_t kTableBytes = 128;
        for (std::size_t at = 0; at < scan.size(); at += kFragmentBytes)
        {
            const std::size_t size = std::min(kFragmentBytes, scan.size() - at);
            Packet head = {0,
                           static_cast<std::uint8_t>(at >> 16),
                           static_cast<std::uint8_t>(at >> 8),
                           static_cast<std::uint8_t>(at),
                           1,
                           255,
                           1920 / 8,
                           1080 / 8};
            if (at == 0)
            {
                head.insert(head.end(), {0, 0, 0, kTableBytes});
                head.insert(head.end(), kTableBytes, 1);
            }
            Add(head, scan.subspan(at, size), at + size == scan.size());
        }
    }
};

/// 1920x1080, 25 pictures a second.
const JpegPackets& Stream()
{
    static const JpegPackets stream;
    return stream;
}

void Floor(benchmark::State& state)
{
    CopyTheSameBytes(state, Stream());
}
BENCHMARK(Floor)->Name("memcpy");

void Parse(benchmark::State& state)
{
    BuildFrames<korvane::CJpegRTPMediaParser>(state, Stream());
}
BENCHMARK(Parse)->Name("CJpegRTPMediaParser");

} // namespace

BENCHMARK_MAIN();
