// A sequence of packets with loss and markers (packet_script.h). Whatever comes, a frame goes out whole: it
// ends with its delimiter, holds no more than came in for it, and behind a loss the first one is a key frame.

#include <cstring>

#include "packet_script.h"
#include "parsers/h264_rtp_media_parser.h"
#include "require.h"
#include "support/frame_sink.h"

namespace
{

constexpr std::uint8_t kDelimiter[] = {0, 0, 1, 9, 0x30};

/// Checks each frame against what was sent since the last one.
class Watch
{
public:
    Watch()
    {
        sink_.onFrame = [this] { return OnFrame(); };
        parser_.SetClient(&sink_);
        parser_.SetParameterSets({{0x67, 0x42, 0xC0, 0x0B, 0xD9, 0x02, 0xC4, 0xEC}, {0x68, 0xCE}, {}});
    }

    void Take(korvane::CRTPPacket& packet, const PacketScript::Choices& choices)
    {
        if (choices.gap)
        {
            mustBeKey_ = true;
            sentBytes_ = 0;
        }
        sentBytes_ += choices.payloadBytes;
        payloads_ += 1 + choices.payloadBytes / 2; // no more units than that can stand in it
        const std::size_t before = sink_.frames;
        parser_.OnPacket(packet);
        Require(!sink_.held);
        Require(sink_.frames == before || choices.marker);
        if (sink_.frames != before)
            sentBytes_ = payloads_ = 0;
    }

private:
    bool OnFrame()
    {
        Require(sink_.size >= sizeof(kDelimiter) && sink_.size <= sink_.room.size());
        Require(sink_.size <= korvane::CRTPMediaParser::kMaxFrameBytes + sizeof(kDelimiter));
        Require(std::memcmp(&sink_.room[sink_.size - sizeof(kDelimiter)], kDelimiter, sizeof(kDelimiter)) ==
                0);
        const std::size_t sets = 2 * 3 + 10;
        Require(sink_.size <= sentBytes_ + 3 * payloads_ + sets + sizeof(kDelimiter));

        const bool isKey = sink_.format == korvane::ipcapture::kFormatH264Key;
        Require(isKey || sink_.format == korvane::ipcapture::kFormatH264Delta);
        Require(isKey || !mustBeKey_);
        Require(sink_.width != 0 && sink_.height != 0);
        const bool takes = sink_.size % 7 != 0;
        mustBeKey_ = !takes;
        return takes;
    }

    korvane::test::FrameSink sink_;
    korvane::CH264RTPMediaParser parser_{&sink_, "Larkmoor"};
    bool mustBeKey_ = true;
    std::size_t sentBytes_ = 0;
    std::size_t payloads_ = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Watch watch;
    PacketScript{data, size}.Play([&watch](korvane::CRTPPacket& packet, const PacketScript::Choices& choices)
                                  { watch.Take(packet, choices); });
    return 0;
}
