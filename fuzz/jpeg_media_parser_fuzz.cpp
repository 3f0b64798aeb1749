// A body, and where it is cut into blocks: the first byte says how many cuts there are, two bytes each say
// where, and the body follows. Whatever comes, a frame is a stretch of the body from a start of image to an
// end; and cuts that split no marker change nothing.

#include <algorithm>
#include <vector>

#include "parsers/jpeg_media_parser.h"
#include "require.h"
#include "support/frame_sink.h"

namespace
{

using Bytes = std::vector<std::uint8_t>;

class Collector final : public korvane::IMediaReceiver
{
public:
    bool WantsFrames() override { return true; }
    Collector() { parser_.SetReceiver(this); }

    bool OnMediaFrame(korvane::ipcapture::IHostFrame*) override
    {
        frames.emplace_back(sink_.room.begin(), sink_.room.begin() + sink_.size);
        Require(sink_.format == korvane::ipcapture::kFormatJpeg && sink_.width != 0 && sink_.height != 0);
        return frames.size() % 2 == 0;
    }

    void Take(std::span<const std::uint8_t> block)
    {
        const Bytes exact(block.begin(), block.end()); // the sanitizer then sees a read beyond the block
        parser_.ParseData(exact);
        Require(!sink_.held);
    }

    std::vector<Bytes> frames;

private:
    korvane::test::FrameSink sink_;
    korvane::CJpegMediaParser parser_{&sink_};
};

/// Whether a cut before `cut` splits a marker, or the ten bytes of a frame header that hold the picture's
/// size.
bool SplitsMarker(std::span<const std::uint8_t> body, std::size_t cut)
{
    for (std::size_t at = cut < 9 ? 0 : cut - 9; at < cut; ++at)
    {
        if (body[at] != 0xFF)
            continue;
        const std::uint8_t code = body[at + 1];
        if (code == 0xC0 || (at + 1 == cut && (code == 0xD8 || code == 0xD9)))
            return true;
    }
    return false;
}

void CheckFrames(std::span<const std::uint8_t> body, const std::vector<Bytes>& frames)
{
    auto from = body.begin();
    for (const Bytes& frame : frames)
    {
        Require(frame.size() >= 4);
        Require(frame[0] == 0xFF && frame[1] == 0xD8);
        Require(frame[frame.size() - 2] == 0xFF && frame.back() == 0xD9);
        const auto found = std::search(from, body.end(), frame.begin(), frame.end());
        Require(found != body.end());
        from = found + static_cast<std::ptrdiff_t>(frame.size()); // in order, and no byte twice
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::size_t cutCount = size == 0 ? 0 : data[0] % 8;
    if (size < 1 + 2 * cutCount)
        return 0;
    const std::span<const std::uint8_t> body(data + 1 + 2 * cutCount, size - 1 - 2 * cutCount);
    std::vector<std::size_t> cuts;
    for (std::size_t i = 0; i < cutCount; ++i)
        cuts.push_back((data[1 + 2 * i] * 256u + data[2 + 2 * i]) % (body.size() + 1));
    std::sort(cuts.begin(), cuts.end());

    Collector whole;
    whole.Take(body);
    CheckFrames(body, whole.frames);

    Collector cut;
    Collector harmless;
    std::size_t cutFrom = 0;
    std::size_t harmlessFrom = 0;
    for (const std::size_t at : cuts)
    {
        cut.Take(body.subspan(cutFrom, at - cutFrom));
        cutFrom = at;
        if (at == body.size() || SplitsMarker(body, at))
            continue;
        harmless.Take(body.subspan(harmlessFrom, at - harmlessFrom));
        harmlessFrom = at;
    }
    cut.Take(body.subspan(cutFrom));
    harmless.Take(body.subspan(harmlessFrom));
    CheckFrames(body, cut.frames);
    Require(harmless.frames == whole.frames);
    return 0;
}
