#include "transport/sdp_response_parser.h"

#include <cstring>
#include <string>

#include <gtest/gtest.h>

namespace
{

using korvane::CSDPResponseParser;
using korvane::SDPDescription;
using Bytes = std::vector<std::uint8_t>;

// "Z0IAHg==" is 67 42 00 1E and "aM48gA==" is 68 CE 3C 80.
const std::string kSets = "sprop-parameter-sets=Z0IAHg==,aM48gA==";
const Bytes kSps = {0x67, 0x42, 0x00, 0x1E};
const Bytes kPps = {0x68, 0xCE, 0x3C, 0x80};

std::string Code(std::uint32_t code)
{
    char text[4];
    std::memcpy(text, &code, sizeof(text));
    return std::string(text, sizeof(text));
}

TEST(SDPResponseParser, ReadsWhatACameraDescribes)
{
    const std::string text = "v=0\r\n"
                             "o=RTSP 1331623 1331623 IN IP4 192.0.2.7\r\n"
                             "s=RTSP server\r\n"
                             "c=IN IP4 0.0.0.0\r\n"
                             "a=control:*\r\n"
                             "m=video 5560 RTP/AVP 97\r\n"
                             "b=AS:1200\r\n"
                             "c=IN IP4 239.128.1.99/16\r\n"
                             "a=rtpmap:97 H264/90000\r\n"
                             "a=fmtp:97 packetization-mode=1; " +
                             kSets +
                             "\r\n"
                             "a=control:trackID=1\r\n"
                             "m=audio 5562 RTP/AVP 96\r\n"
                             "a=rtpmap:96 MPEG4-GENERIC/16000/2\r\n"
                             "a=fmtp:96 streamtype=5; profile-level-id=15; mode=AAC-hbr; config=1410; "
                             "SizeLength=13; indexlength=3; indexdeltalength=3; ctsdeltalength=0\r\n"
                             "a=control:trackID=2\r\n"
                             "m=application 0 RTP/AVP 98\r\n"
                             "a=control:trackID=3\r\n"
                             "a=recvonly\r\n";
    for (const char* lineEnd : {"\r\n", "\n", "\r", "\r\r\n\n"})
    {
        std::string lines;
        for (const char c : text)
            if (c == '\n')
                lines += lineEnd;
            else if (c != '\r')
                lines += c;
        CSDPResponseParser parser;
        ASSERT_TRUE(parser.Parse(lines));
        const SDPDescription& description = parser.Description();
        EXPECT_EQ(5560, description.video.port);
        EXPECT_EQ("RTP/AVP", description.video.protocol);
        EXPECT_EQ("239.128.1.99", description.video.address);
        EXPECT_EQ("trackID=1", description.video.control);
        EXPECT_EQ(97, description.video.payloadType);
        EXPECT_EQ("H264/90000", description.video.encoding);
        EXPECT_EQ("", description.video.formatParameters);
        EXPECT_EQ(kSps, description.SPS);
        EXPECT_EQ(kPps, description.PPS);
        EXPECT_EQ("trackID=2", description.audio.control);
        EXPECT_EQ("MPEG4-GENERIC/16000/2", description.audio.encoding);
        EXPECT_EQ(0u, description.audio.formatParameters.find("a=fmtp:96 streamtype=5"));
        EXPECT_EQ("", description.audio.address);
        EXPECT_EQ("AAC1", Code(description.audioFormat.codecCode));
        EXPECT_EQ(16000u, description.audioFormat.sampleRate);
        EXPECT_EQ(2, description.audioFormat.channels);
        EXPECT_EQ("5", description.audioParameters.streamtype);
        EXPECT_EQ("15", description.audioParameters.profileLevelId);
        EXPECT_EQ("AAC-hbr", description.audioParameters.mode);
        EXPECT_EQ((Bytes{0x14, 0x10}), description.audioParameters.config);
        EXPECT_EQ(13u, description.audioParameters.sizelength);
        EXPECT_EQ(3u, description.audioParameters.indexlength);
        EXPECT_EQ(3u, description.audioParameters.indexdeltalength);
        EXPECT_EQ(0u, description.audioParameters.dtsdeltalength);
        EXPECT_EQ("trackID=3", description.data.control);
    }
}

TEST(SDPResponseParser, TakesOrRefusesEachLine)
{
    const std::string video = "m=video 0 RTP/AVP 96\r\n";
    const std::string audio = "m=audio 0 RTP/AVP 97\r\n";
    const struct
    {
        const char* name;
        std::string text;
        bool passes;
    } cases[] = {
        {"an empty text", "", false},
        {"line ends alone", "\r\n\r\n", true},
        {"lines that do not matter", "v=0\r\nthis is no line\r\nb=AS:1\r\n", true},
        {"m= without a word", "m=\r\n", false},
        {"m= in a capital", "M=video 0 RTP/AVP 96\r\n", false},
        {"m= with a type alone", "m=video\r\n", true},
        {"negative port", "m=video -1 RTP/AVP 96\r\n", true},
        {"trailing blanks", "m=video 0 RTP/AVP 96  \r\nc=IN IP4 192.0.2.1 \r\n", true},
        {"empty control", video + "a=control:\r\n", false},
        {"control without a colon", video + "a=control\r\n", false},
        {"control in capitals", video + "A=CONTROL:track1\r\n", false},
        {"connection of two words", "c=IN IP4\r\n", false},
        {"connection in small letters", "c=in IP4 192.0.2.1\r\n", false},
        {"connection without an address", "c=IN IP4 /16\r\n", false},
        {"connection over IPv6", "c=IN IP6 ff15::101/3\r\n", true},
        {"connection over something else", "c=IN ATM 1\r\n", false},
        {"connection that is not of the internet", "c=ATM NSAP 1\r\n", true},
        {"rtpmap of one word", video + "a=rtpmap:96\r\n", false},
        {"rtpmap in capitals", video + "A=RTPMAP:96 H264/90000\r\n", false},
        {"fmtp before any section", "a=fmtp:96 " + kSets + "\r\n", false},
        {"fmtp in a text section", "m=text 0 RTP/AVP 96\r\na=fmtp:96 " + kSets + "\r\n", false},
        {"fmtp in a data section", "m=data 0 RTP/AVP 96\r\na=fmtp:96 x\r\n", true},
        {"fmtp behind sendonly", audio + "a=sendonly\r\na=fmtp:97 mode=AAC-hbr\r\n", false},
        {"video fmtp without parameter sets", video + "a=fmtp:96 packetization-mode=1\r\n", false},
        {"one parameter set", video + "a=fmtp:96 sprop-parameter-sets=Z0IAHg==\r\n", false},
        {"an empty second set", video + "a=fmtp:96 sprop-parameter-sets=Z0IAHg==,,\r\n", false},
        {"an empty set but known ones",
         video + "a=fmtp:96 " + kSets + "\r\na=fmtp:96 sprop-parameter-sets=,x\r\n", true},
        {"config that decodes to nothing", video + "a=fmtp:96 config==\r\n", false},
        {"audio fmtp of another encoding", audio + "a=rtpmap:97 PCMU/8000\r\na=fmtp:97 x\r\n", true},
        {"audio fmtp before its rtpmap", audio + "a=fmtp:97 x\r\n", true},
        {"generic audio that is not AAC",
         audio + "a=rtpmap:97 mpeg4-generic/8000\r\na=fmtp:97 mode=CELP-cbr\r\n", false},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        CSDPResponseParser parser;
        EXPECT_EQ(c.passes, parser.Parse(c.text));
    }
}

TEST(SDPResponseParser, KeepsTheFirstSectionThatCanBeSetUp)
{
    CSDPResponseParser parser;
    ASSERT_TRUE(parser.Parse("c=IN IP4 192.0.2.1\na=control:rtsp://192.0.2.1/all\n"
                             "m=video 1 RTP/AVP 26\n"
                             "m=video 2 RTP/AVP 96\na=control:second\na=rtpmap:96 H264/90000\n"
                             "m=video 3 RTP/AVP 96\na=control:third\n"
                             "m=audio 4 RTP/AVP 0\na=rtpmap:0 PCMU/8000\na=control:talk\na=sendonly\n"
                             "m=audio 5 RTP/AVP 97\na=rtpmap:97 G726-32/8000\na=control:listen\n"
                             "m=audio 6 RTP/AVP 8\na=rtpmap:8 PCMA/8000\na=control:late\n"));
    const SDPDescription& description = parser.Description();
    EXPECT_EQ(2, description.video.port);
    EXPECT_EQ("second", description.video.control);
    EXPECT_EQ("", description.video.address); // that of the session does not reach the sections
    EXPECT_EQ("listen", description.audio.control);
    EXPECT_EQ("7261", Code(description.audioFormat.codecCode));
    EXPECT_EQ(32000u, description.audioFormat.bitRate);
    EXPECT_EQ(1, description.audioFormat.channels);
    EXPECT_EQ("", description.data.control);
    EXPECT_EQ("listen", description.Section(2).control);

    ASSERT_TRUE(parser.Parse("m=video 7 RTP/AVP\n")); // and nothing of the text before
    EXPECT_EQ(7, parser.Description().video.port);
    EXPECT_EQ("", parser.Description().video.control);
    EXPECT_EQ("", parser.Description().audio.control);
    EXPECT_EQ(1u, parser.Description().audioFormat.codecCode);
}

TEST(SDPResponseParser, ReadsDecoderConfigurations)
{
    const std::string longest(256 / 3 * 4 + 2, 'A'); // 342 characters of Base64: 256 bytes
    const struct
    {
        const char* name;
        std::string line;
        Bytes sps;
        Bytes config;
    } cases[] = {
        {"three sets", "a=fmtp:96 " + kSets + ",aM48gA==", kSps, {}},
        {"no blank behind the payload type", "a=fmtp:96;" + kSets, kSps, {}},
        {"hexadecimal", "a=fmtp:96 profile-level-id=3; config=000001B0f3", {}, {0, 0, 1, 0xB0, 0xF3}},
        {"Base64 where there is padding", "a=fmtp:96 config=AAABsPM=", {}, {0, 0, 1, 0xB0, 0xF3}},
        {"Base64 of 256 bytes", "a=fmtp:96 config=" + longest + "==", {}, Bytes(256, 0)},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        CSDPResponseParser parser;
        EXPECT_TRUE(parser.Parse("m=video 0 RTP/AVP 96\r\n" + c.line));
        EXPECT_EQ(c.sps, parser.Description().SPS);
        EXPECT_EQ(c.config, parser.Description().config);
    }
    CSDPResponseParser parser;
    EXPECT_FALSE(parser.Parse("m=video 0 RTP/AVP 96\r\na=fmtp:96 config=" + longest + "AA=="));
}

} // namespace
