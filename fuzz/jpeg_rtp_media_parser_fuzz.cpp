// A sequence of packets with loss and markers (packet_script.h). Whatever comes, a frame is a file from its
// first marker to its last, and holds no more than came in for it and the header of a file.

#include "packet_script.h"
#include "parsers/jpeg_rtp_media_parser.h"
#include "require.h"
#include "support/frame_sink.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    korvane::test::FrameSink sink;
    korvane::CJpegRTPMediaParser parser(&sink, "Larkmoor");
    parser.SetClient(&sink);
    std::size_t sentBytes = 0;
    sink.onFrame = [&]
    {
        Require(sink.format == korvane::ipcapture::kFormatJpeg);
        Require(sink.size >= 4 && sink.size <= sink.room.size() && sink.size <= sentBytes + 1024 + 2);
        Require(sink.room[0] == 0xFF && sink.room[1] == 0xD8);
        Require(sink.width != 0 && sink.height != 0);
        return sink.size % 7 != 0;
    };
    PacketScript{data, size}.Play(
        [&](korvane::CRTPPacket& packet, const PacketScript::Choices& choices)
        {
            sentBytes = choices.gap ? 0 : sentBytes;
            sentBytes += choices.payloadBytes;
            const std::size_t before = sink.frames;
            parser.OnPacket(packet);
            Require(!sink.held);
            Require(sink.frames == before || choices.marker);
            if (sink.frames != before)
                sentBytes = 0;
        });
    return 0;
}
