// A sequence of packets with loss and markers (packet_script.h). Whatever comes, a key frame begins with a
// start code and gives its size, and behind a loss no frame comes before an intra picture has begun. That
// picture's own frame may be missing: without its marker the next picture takes its place.

#include "packet_script.h"
#include "parsers/mpeg4_rtp_media_parser.h"
#include "parsers/picture_size.h"
#include "require.h"
#include "support/frame_sink.h"

#include <algorithm>
#include <iterator>
#include <span>

namespace
{

/// Whether an intra picture may begin in the payload (ISO/IEC 14496-2, 6.2.5).
bool HoldsIntra(std::span<const std::uint8_t> payload)
{
    constexpr std::uint8_t kPicture[] = {0, 0, 1, 0xB6};
    for (auto at = payload.begin();; ++at)
    {
        at = std::search(at, payload.end(), std::begin(kPicture), std::end(kPicture));
        if (payload.end() - at <= 4)
            return false;
        if (at[4] < 0x40)
            return true;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    korvane::test::FrameSink sink;
    korvane::CMpeg4RTPMediaParser parser(&sink, "Larkmoor");
    parser.SetClient(&sink);
    bool mustBeKey = true;
    bool intraBegan = false;
    sink.onFrame = [&]
    {
        Require(sink.size != 0 && sink.size <= korvane::CRTPMediaParser::kMaxFrameBytes);
        const bool isKey = sink.format == korvane::ipcapture::kFormatMpeg4Key;
        Require(isKey || sink.format == korvane::ipcapture::kFormatMpeg4Delta);
        Require(isKey || !mustBeKey || intraBegan);
        if (isKey)
        {
            const auto picture = korvane::ReadMpeg4PictureSize({sink.room.data(), sink.size});
            Require(picture && picture->width == sink.width && picture->height == sink.height);
        }
        const bool takes = sink.size % 7 != 0;
        mustBeKey = !takes;
        intraBegan = intraBegan && takes;
        return takes;
    };
    PacketScript{data, size}.Play(
        [&](korvane::CRTPPacket& packet, const PacketScript::Choices& choices)
        {
            mustBeKey = mustBeKey || choices.gap;
            intraBegan = (intraBegan && !choices.gap) || HoldsIntra(packet.Payload());
            const std::size_t before = sink.frames;
            parser.OnPacket(packet);
            Require(!sink.held);
            Require(sink.frames == before || choices.marker);
        });
    return 0;
}
