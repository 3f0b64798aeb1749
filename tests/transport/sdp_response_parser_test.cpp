#include "transport/sdp_response_parser.h"

#include "support/table.h"

#include <cstring>
#include <regex>
#include <string>

#include <gmock/gmock.h>

namespace
{

using korvane::CSDPResponseParser, korvane::SDPDescription;
using korvane::test::Table;
using testing::FieldsAre, testing::StartsWith;
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
    const std::string text =
        "v=0\no=RTSP 1331623 1331623 IN IP4 192.0.2.7\ns=RTSP server\nc=IN IP4 0.0.0.0\na=control:*\n"
        "m=video 5560 RTP/AVP 97\nb=AS:1200\nc=IN IP4 239.128.1.99/16\na=rtpmap:97 H264/90000\n"
        "a=fmtp:97 packetization-mode=1; " +
        kSets +
        "\na=control:trackID=1\nm=audio 5562 RTP/AVP 96\na=rtpmap:96 MPEG4-GENERIC/16000/2\n"
        "a=fmtp:96 streamtype=5; profile-level-id=15; mode=AAC-hbr; config=1410; "
        "SizeLength=13; indexlength=3; indexdeltalength=3; ctsdeltalength=0\na=control:trackID=2\n"
        "m=application 0 RTP/AVP 98\na=control:trackID=3\na=recvonly\n";
    for (const char* lineEnd : {"\r\n", "\n", "\r", "\r\r\n\n"})
    {
        const std::string lines = std::regex_replace(text, std::regex("\n"), lineEnd);
        CSDPResponseParser parser;
        ASSERT_TRUE(parser.Parse(lines));
        const SDPDescription& description = parser.Description();
        EXPECT_THAT(description.video,
                    FieldsAre(5560, "RTP/AVP", "239.128.1.99", "trackID=1", 97, "H264/90000", ""));
        EXPECT_EQ(kSps, description.SPS);
        EXPECT_EQ(kPps, description.PPS);
        EXPECT_THAT(description.audio,
                    FieldsAre(5562, "RTP/AVP", "", "trackID=2", 96, "MPEG4-GENERIC/16000/2",
                              StartsWith("a=fmtp:96 streamtype=5")));
        EXPECT_EQ("AAC1", Code(description.audioFormat.codecCode));
        EXPECT_EQ(16000u, description.audioFormat.sampleRate);
        EXPECT_EQ(2, description.audioFormat.channels);
        EXPECT_THAT(description.audioParameters,
                    FieldsAre("5", "15", "AAC-hbr", Bytes{0x14, 0x10}, 13, 3, 3, 0, 0));
        EXPECT_EQ("trackID=3", description.data.control);
    }
}

TEST(SDPResponseParser, TakesOrRefusesEachLine)
{
    const std::string video = "m=video 0 RTP/AVP 96\r\n";
    const std::string audio = "m=audio 0 RTP/AVP 97\r\n";
    for (const auto& [name, text, passes] : Table<const char*, std::string, bool>{
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
         })
    {
        SCOPED_TRACE(name);
        CSDPResponseParser parser;
        EXPECT_EQ(passes, parser.Parse(text));
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
    for (const auto& [name, line, sps, config] : Table<const char*, std::string, Bytes, Bytes>{
             {"three sets", "a=fmtp:96 " + kSets + ",aM48gA==", kSps, {}},
             {"no blank behind the payload type", "a=fmtp:96;" + kSets, kSps, {}},
             {"hexadecimal", "a=fmtp:96 profile-level-id=3; config=000001B0f3", {}, {0, 0, 1, 0xB0, 0xF3}},
             {"Base64 where there is padding", "a=fmtp:96 config=AAABsPM=", {}, {0, 0, 1, 0xB0, 0xF3}},
             {"Base64 of 256 bytes", "a=fmtp:96 config=" + longest + "==", {}, Bytes(256, 0)},
         })
    {
        SCOPED_TRACE(name);
        CSDPResponseParser parser;
        EXPECT_TRUE(parser.Parse("m=video 0 RTP/AVP 96\r\n" + line));
        EXPECT_EQ(sps, parser.Description().SPS);
        EXPECT_EQ(config, parser.Description().config);
    }
    CSDPResponseParser parser;
    EXPECT_FALSE(parser.Parse("m=video 0 RTP/AVP 96\r\na=fmtp:96 config=" + longest + "AA=="));
}

} // namespace
