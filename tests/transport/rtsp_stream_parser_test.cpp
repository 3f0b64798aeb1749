#include "transport/rtsp_stream_parser.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace
{

using korvane::CRTPPacket;
using korvane::CRTSPStreamParser;
using Bytes = std::vector<std::uint8_t>;

/// What was delivered, as text: "7:4142" for a packet of sequence number 7, "bye" for a BYE.
class Recorder : public korvane::IRTSPStreamParserUser
{
public:
    void OnStreamPacket(CRTPPacket& packet) override
    {
        std::string text = std::to_string(packet.SequenceNumber()) + ":";
        for (const std::uint8_t byte : packet.Payload())
            text += {"0123456789ABCDEF"[byte >> 4], "0123456789ABCDEF"[byte & 15]};
        seen.push_back(text);
        if (refuses)
            throw std::runtime_error("not now");
    }
    void OnStreamBye() override { seen.push_back("bye"); }

    std::vector<std::string> seen;
    bool refuses = false;
};

Bytes operator+(Bytes one, const Bytes& other)
{
    one.insert(one.end(), other.begin(), other.end());
    return one;
}

Bytes Text(const std::string& text)
{
    return {text.begin(), text.end()};
}

Bytes Frame(std::uint8_t channel, const Bytes& content)
{
    return Bytes{'$', channel, static_cast<std::uint8_t>(content.size() >> 8),
                 static_cast<std::uint8_t>(content.size())} +
           content;
}

Bytes Packet(std::uint8_t sequence, const Bytes& payload)
{
    return Bytes{0x80, 0x60, 0x00, sequence, 0, 0, 0, 0, 0, 0, 0, 1} + payload;
}

const Bytes kReport = {0x80, 201, 0, 1, 0, 0, 0, 1};
const Bytes kBye = {0x80, 203, 0, 1, 0, 0, 0, 1};

std::vector<std::string> Cut(const Bytes& stream, std::size_t at, std::size_t step, std::uint8_t channel = 0)
{
    Recorder recorder;
    CRTSPStreamParser parser(&recorder, channel);
    for (std::size_t from = 0, to = at; from < stream.size();
         from = to, to = std::min(to + step, stream.size()))
    {
        const Bytes block(stream.begin() + static_cast<std::ptrdiff_t>(from),
                          stream.begin() + static_cast<std::ptrdiff_t>(to));
        parser.Feed(block);
        EXPECT_LE(parser.PendingBytes(), CRTSPStreamParser::kMaxPendingBytes);
    }
    return recorder.seen;
}

void ExpectHoweverCut(const std::vector<std::string>& expected, const Bytes& stream, std::uint8_t channel = 0)
{
    EXPECT_EQ(expected, Cut(stream, stream.size(), 1, channel)) << "whole";
    EXPECT_EQ(expected, Cut(stream, 1, 1, channel)) << "one byte at a time";
    for (std::size_t at = 1; at < stream.size(); ++at)
        EXPECT_EQ(expected, Cut(stream, at, stream.size(), channel)) << "cut at " << at;
}

TEST(RTSPStreamParser, CutsTheStreamIntoFrames)
{
    const Bytes one = Frame(0, Packet(1, {0x41, 0x24}));
    const Bytes two = Frame(0, Packet(2, {0x42}));
    const struct
    {
        const char* name;
        Bytes stream;
        std::uint8_t channel;
        std::vector<std::string> expected;
    } cases[] = {
        {"frames one behind the other", one + two, 0, {"1:4124", "2:42"}},
        {"the answer to PLAY between them",
         Text("RTSP/1.0 200 OK\r\nCSeq: 3\r\n\r\n") + one + Text("\r\n\r\n") + two,
         0,
         {"1:4124", "2:42"}},
        {"stray marks before a frame", Text("$$ costs $5") + one, 0, {"1:4124"}},
        {"a mark right before a frame", Text("$") + one, 0, {"1:4124"}},
        {"other channels", Frame(4, Packet(9, {1})) + one + Frame(7, {}) + two, 0, {"1:4124", "2:42"}},
        {"an empty frame and one that is no RTP", Frame(0, {}) + Frame(0, {1, 2, 3}) + one, 0, {"1:4124"}},
        {"channels 2 and 3", one + Frame(2, Packet(5, {0xAA})) + Frame(3, kBye), 2, {"5:AA", "bye"}},
        {"no channel behind 255", Frame(0, kBye) + Frame(255, Packet(5, {0xAA})) + one, 255, {"5:AA"}},
        {"BYE behind a report", Frame(1, kReport + kBye) + one, 0, {"bye", "1:4124"}},
        {"BYE that is longer than its frame",
         Frame(1, kReport + Bytes{0x80, 203, 0, 2, 0, 0, 0, 1}) + one,
         0,
         {"1:4124"}},
        {"BYE behind another version", Frame(1, Bytes{0x40, 201, 0, 0} + kBye) + one, 0, {"1:4124"}},
        {"control frame below a header", Frame(1, {0x80, 203, 0}) + one, 0, {"1:4124"}},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        ExpectHoweverCut(c.expected, c.stream + Text("."), c.channel);
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
    const Bytes longest = Frame(0, Packet(3, Bytes(65535 - 12, 0x24)));
    parser.Feed({longest.data(), longest.size() - 1});
    EXPECT_EQ(CRTSPStreamParser::kMaxPendingBytes, parser.PendingBytes());
    EXPECT_TRUE(recorder.seen.empty());
    parser.Feed(Bytes{0x24} + Frame(0, Packet(4, {1})));
    ASSERT_EQ(2u, recorder.seen.size());
    EXPECT_EQ(2 + 2 * (65535u - 12), recorder.seen[0].size());
    EXPECT_EQ("4:01", recorder.seen[1]);
}

TEST(RTSPStreamParser, GoesOnBehindARefusedPacket)
{
    Recorder recorder;
    recorder.refuses = true;
    CRTSPStreamParser parser(&recorder, 0);
    EXPECT_NO_THROW(parser.Feed(Frame(0, Packet(1, {1})) + Frame(0, Packet(2, {2}))));
    EXPECT_EQ((std::vector<std::string>{"1:01", "2:02"}), recorder.seen);
}

} // namespace
