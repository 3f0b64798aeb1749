// A sequence of packets with loss and markers (packet_script.h). Whatever comes, a key frame begins with a
// start code and gives its size, and behind a loss the first frame is one.

#include "packet_script.h"
#include "parsers/mpeg4_header_reader.h"
#include "parsers/mpeg4_rtp_media_parser.h"
#include "require.h"
#include "support/frame_sink.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    korvane::test::FrameSink sink;
    korvane::CMpeg4RTPMediaParser parser(&sink, "Larkmoor");
    parser.SetClient(&sink);
    bool mustBeKey = true;
    sink.onFrame = [&]
    {
        Require(sink.size != 0 && sink.size <= korvane::CRTPMediaParser::kMaxFrameBytes);
        const bool isKey = sink.format == korvane::ipcapture::kFormatMpeg4Key;
        Require(isKey || sink.format == korvane::ipcapture::kFormatMpeg4Delta);
        Require(isKey || !mustBeKey);
        if (isKey)
        {
            const auto picture = korvane::ReadMpeg4PictureSize({sink.room.data(), sink.size});
            Require(picture && picture->width == sink.width && picture->height == sink.height);
        }
        const bool takes = sink.size % 7 != 0;
        mustBeKey = !takes;
        return takes;
    };
    PacketScript{data, size}.Play(
        [&](korvane::CRTPPacket& packet, const PacketScript::Choices& choices)
        {
            mustBeKey = mustBeKey || choices.gap;
            const std::size_t before = sink.frames;
            parser.OnPacket(packet);
            Require(!sink.held);
            Require(sink.frames == before || choices.marker);
        });
    return 0;
}
