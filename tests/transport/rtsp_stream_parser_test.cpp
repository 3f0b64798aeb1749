#include "transport/rtsp_stream_parser.h"

#include "support/table.h"
#include "support/watched.h"

#include <algorithm>
#include <stdexcept>

#include <gtest/gtest.h>

#include "transport/wire.h"

namespace
{

using korvane::CRTPPacket, korvane::CRTSPStreamParser;
using namespace korvane::test;

/// What was delivered, as words: "7:4142" for a packet of sequence number 7, "bye" for a BYE.
class Recorder : public korvane::IRTSPStreamParserUser
{
public:
    void OnStreamPacket(CRTPPacket& packet) override
    {
        seen.Add(std::to_string(packet.SequenceNumber()) + ":" + ToHex(packet.Payload()));
        if (refuses)
            throw std::runtime_error("not now");
    }
    void OnStreamBye() override { seen.Add("bye"); }

    WatchedWords seen;
    bool refuses = false;
};

Bytes Text(const std::string& text)
{
    return {text.begin(), text.end()};
}

const Bytes kReport = {0x80, 201, 0, 1, 0, 0, 0, 1};
const Bytes kByeAlone = {0x80, 203, 0, 1, 0, 0, 0, 1};

/// What is delivered of a stream whose first piece ends at `at`, and the others after `step` bytes each.
std::string Cut(const Bytes& stream, std::size_t at, std::size_t step, std::uint8_t channel)
{
    Recorder recorder;
    CRTSPStreamParser parser(&recorder, channel);
    for (auto from = stream.begin(); from != stream.end(); at = step)
    {
        const auto to = from + std::min(static_cast<std::ptrdiff_t>(at), stream.end() - from);
        parser.Feed(Bytes(from, to));
        EXPECT_LE(parser.PendingBytes(), CRTSPStreamParser::kMaxPendingBytes);
        from = to;
    }
    return recorder.seen.Get();
}

TEST(RTSPStreamParser, CutsTheStreamIntoFrames)
{
    const Bytes one = Framed(0, RTPBytes(1, {0x41, 0x24}));
    const Bytes two = Framed(0, RTPBytes(2, {0x42}));
    for (const auto& [name, channel, expected, frames] : Table<const char*, std::uint8_t, const char*, Bytes>{
             {"frames one behind the other", 0, "1:4124, 2:42", one + two},
             {"the answer to PLAY between them", 0, "1:4124, 2:42",
              Text("RTSP/1.0 200 OK\r\nCSeq: 3\r\n\r\n") + one + Text("\r\n\r\n") + two},
             {"stray marks before a frame", 0, "1:4124", Text("$$ costs $5") + one},
             {"a mark right before a frame", 0, "1:4124", Text("$") + one},
             {"other channels", 0, "1:4124, 2:42", Framed(4, RTPBytes(9, {1})) + one + Framed(7, {}) + two},
             {"an empty frame and one that is no RTP", 0, "1:4124",
              Framed(0, {}) + Framed(0, {1, 2, 3}) + one},
             {"channels 2 and 3", 2, "5:aa, bye",
              one + Framed(2, RTPBytes(5, {0xAA})) + Framed(3, kByeAlone)},
             {"no channel behind 255", 255, "5:aa",
              Framed(0, kByeAlone) + Framed(255, RTPBytes(5, {0xAA})) + one},
             {"BYE behind a report", 0, "bye, 1:4124", Framed(1, kReport + kByeAlone) + one},
             {"BYE that is longer than its frame", 0, "1:4124",
              Framed(1, kReport + Bytes{0x80, 203, 0, 2, 0, 0, 0, 1}) + one},
             {"BYE behind another version", 0, "1:4124", Framed(1, Bytes{0x40, 201, 0, 0} + kByeAlone) + one},
             {"control frame below a header", 0, "1:4124", Framed(1, {0x80, 203, 0}) + one},
         })
    {
        SCOPED_TRACE(name);
        const Bytes stream = frames + Text(".");
        EXPECT_EQ(expected, Cut(stream, 1, 1, channel)) << "one byte at a time";
        for (std::size_t at = 1; at <= stream.size(); ++at)
            EXPECT_EQ(expected, Cut(stream, at, stream.size(), channel)) << "cut at " << at;
    }
}

TEST(RTSPStreamParser, HoldsBackAHeaderUntilMoreComes)
{
    Recorder recorder;
    CRTSPStreamParser parser(&recorder, 0);
    parser.Feed(Text("abc$") + Bytes{0, 0, 0});
    EXPECT_EQ(4u, parser.PendingBytes());
    parser.Feed(Text("x"));
    EXPECT_EQ(0u, parser.PendingBytes());

    // The longest frame waits whole, and what follows it is not lost.
    const Bytes longest = Framed(0, RTPBytes(3, Bytes(65535 - 12, 0x24)));
    parser.Feed({longest.data(), longest.size() - 1});
    EXPECT_EQ(CRTSPStreamParser::kMaxPendingBytes, parser.PendingBytes());
    EXPECT_EQ("", recorder.seen.Get());
    parser.Feed(Bytes{0x24} + Framed(0, RTPBytes(4, {1})));
    EXPECT_EQ(", 4:01", recorder.seen.Get().substr(2 + 2 * (65535 - 12)));
}

TEST(RTSPStreamParser, GoesOnBehindARefusedPacket)
{
    Recorder recorder;
    recorder.refuses = true;
    CRTSPStreamParser parser(&recorder, 0);
    EXPECT_NO_THROW(parser.Feed(Framed(0, RTPBytes(1, {1})) + Framed(0, RTPBytes(2, {2}))));
    EXPECT_EQ("1:01, 2:02", recorder.seen.Get());
}

} // namespace
