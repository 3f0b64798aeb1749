#include "camera/rtsp/rtsp_message.h"

#include <gtest/gtest.h>

namespace larkmoor::camera
{
namespace
{

using Item = RtspRequestReader::Item;

std::span<const std::uint8_t> BytesOf(std::string_view text)
{
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// What a reader makes of `input` in pieces of `piece` bytes: a line for each request, "$" for each frame.
std::string Read(std::string_view input, std::size_t piece)
{
    RtspRequestReader reader;
    std::string story;
    for (std::size_t at = 0; at < input.size(); at += piece)
    {
        reader.Append(BytesOf(input.substr(at, piece)));
        for (Item item = reader.Next(); item != Item::None; item = reader.Next())
        {
            if (item == Item::Broken)
                return story + "broken";
            if (item == Item::Interleaved)
            {
                story += "$\n";
                continue;
            }
            const RtspRequest& request = reader.Last();
            story += request.method + " <" + request.target + "> " + std::string(request.Header("cseq")) +
                     " [" + request.body + "]\n";
        }
    }
    return story;
}

TEST(CameraRtspRequest, IsReadHoweverItIsCut)
{
    const std::string frame("$\x01\x00\x04\r\n\r\n", 8);
    const struct
    {
        const char* name;
        std::string input;
        std::string story;
    } cases[] = {
        {"plain", "OPTIONS rtsp://h/live.sdp RTSP/1.0\r\nCSeq: 1\r\n\r\n",
         "OPTIONS <rtsp://h/live.sdp> 1 []\n"},
        {"header names in any case, blanks around values", "PLAY * RTSP/1.0\r\ncSEQ:  7 \r\n\r\n",
         "PLAY <*> 7 []\n"},
        {"blanks in and behind the target", "SETUP rtsp://h/a b/trackID=1   RTSP/1.0\r\nCSeq: 2\r\n\r\n",
         "SETUP <rtsp://h/a b/trackID=1> 2 []\n"},
        {"a body, then another request",
         "SET_PARAMETER * RTSP/1.0\r\nCSeq: 3\r\nContent-Length: 4\r\n\r\na: b"
         "TEARDOWN * RTSP/1.0\r\nCSeq: 4\r\n\r\n",
         "SET_PARAMETER <*> 3 [a: b]\nTEARDOWN <*> 4 []\n"},
        {"frames between requests",
         frame + "PLAY * RTSP/1.0\r\nCSeq: 1\r\n\r\n" + frame + frame +
             "\r\nPLAY * RTSP/1.0\r\nCSeq: 2\r\n\r\n",
         "$\nPLAY <*> 1 []\n$\n$\nPLAY <*> 2 []\n"},
        {"unfinished", "PLAY * RTSP/1.0\r\nCSeq: 1\r\n", ""},
        {"another protocol", "GET / HTTP/1.1\r\nHost: h\r\n\r\n", "broken"},
        {"no target", "PLAY\r\n\r\n", "broken"},
        {"a length that is none", "PLAY * RTSP/1.0\r\nContent-Length: -1\r\n\r\n", "broken"},
        {"a length beyond all measure", "PLAY * RTSP/1.0\r\nContent-Length: 99999999\r\n\r\n", "broken"},
        {"headers without end", std::string(20'000, 'x'), "broken"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        for (const std::size_t piece : {c.input.size(), std::size_t{1}, std::size_t{7}})
            EXPECT_EQ(Read(c.input, piece), c.story) << "in pieces of " << piece;
    }
}

TEST(CameraRtspRequest, TransportIsReadByItsAlternatives)
{
    const auto tell = [](std::string_view header)
    {
        std::string story;
        for (const TransportRequest& each : ParseTransport(header))
        {
            story += each.overTcp ? "tcp" : each.multicast ? "multicast" : "udp";
            if (each.hasPorts)
                story += " " + std::to_string(each.rtpPort) + "-" + std::to_string(each.rtcpPort);
            if (each.hasChannels)
                story += " ch" + std::to_string(each.rtpChannel) + "-" + std::to_string(each.rtcpChannel);
            story += ";";
        }
        return story;
    };
    EXPECT_EQ(tell("RTP/AVP;unicast;client_port=3556-3557"), "udp 3556-3557;");
    EXPECT_EQ(tell("RTP/AVP/UDP;unicast;client_port=3556"), "udp 3556-3557;");
    EXPECT_EQ(tell("RTP/AVP/TCP;unicast;interleaved=2-3"), "tcp ch2-3;");
    EXPECT_EQ(tell("rtp/avp/tcp ; interleaved=0-1 , RTP/AVP;multicast"), "tcp ch0-1;multicast;");
    EXPECT_EQ(tell("RAW/RAW/UDP;unicast,RTP/AVP;client_port=99999-1"), "udp;"); // a port of 16 bits
    EXPECT_EQ(tell(""), "");
}

TEST(CameraRtspReply, HasItsLinesInOrder)
{
    EXPECT_EQ(RtspReply(200).Header("Session", "12;timeout=60").Body("application/sdp", "v=0\r\n").Text("5"),
              "RTSP/1.0 200 OK\r\nCSeq: 5\r\nSession: 12;timeout=60\r\nContent-Type: application/sdp\r\n"
              "Content-Length: 5\r\n\r\nv=0\r\n");
    EXPECT_EQ(RtspReply(454).Text("9"), "RTSP/1.0 454 Session Not Found\r\nCSeq: 9\r\n\r\n");
}

} // namespace
} // namespace larkmoor::camera
