// An interleaved stream behind two bytes that choose the channel and how it is cut. However it is cut, the
// same frames come out, and what is kept back stays below the largest frame.

#include <algorithm>
#include <cstdint>
#include <vector>

#include "require.h"
#include "transport/rtsp_stream_parser.h"

namespace
{

class Recorder : public korvane::IRTSPStreamParserUser
{
public:
    void OnStreamPacket(korvane::CRTPPacket& packet) override
    {
        const auto payload = packet.Payload();
        seen.push_back(packet.SequenceNumber());
        seen.push_back(packet.Timestamp());
        seen.push_back(static_cast<std::uint32_t>(payload.size()));
        seen.insert(seen.end(), payload.begin(), payload.end());
    }
    void OnStreamBye() override { seen.push_back(0xB1EB1E); }

    std::vector<std::uint32_t> seen;
};

std::vector<std::uint32_t> Cut(std::span<const std::uint8_t> stream, std::uint8_t channel, std::size_t step)
{
    Recorder recorder;
    korvane::CRTSPStreamParser parser(&recorder, channel);
    while (!stream.empty())
    {
        const std::size_t size = std::min(step, stream.size());
        const std::vector<std::uint8_t> block(stream.begin(),
                                              stream.begin() + static_cast<std::ptrdiff_t>(size));
        parser.Feed(block);
        stream = stream.subspan(size);
        Require(parser.PendingBytes() <= korvane::CRTSPStreamParser::kMaxPendingBytes);
    }
    return recorder.seen;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 2)
        return 0;
    const std::span<const std::uint8_t> stream(data + 2, size - 2);
    const auto whole = Cut(stream, data[0], std::max<std::size_t>(stream.size(), 1));
    Require(whole == Cut(stream, data[0], 1));
    Require(whole == Cut(stream, data[0], data[1] + 1u));
    return 0;
}
