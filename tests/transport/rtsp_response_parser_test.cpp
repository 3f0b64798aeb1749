#include "transport/rtsp_response_parser.h"

#include "support/table.h"

#include <string>

#include <gmock/gmock.h>

namespace
{

using korvane::CRTSPResponseParser, korvane::RTSPResponse;
using korvane::test::Table;
using testing::_, testing::AllOf, testing::Field, testing::Matcher;

std::string ReplyWith(const std::string& headers, const std::string& body = "")
{
    return "RTSP/1.0 200 OK\r\n" + headers + "\r\n" + body;
}

TEST(RTSPResponseParser, JudgesTheStatusLine)
{
    const std::string longWord(129, 'x');
    for (const auto& [name, text, passes, status] : Table<const char*, std::string, bool, std::uint32_t>{
             {"nothing", "", false, 0},
             {"no line end", "RTSP/1.0 200 OK", false, 0},
             {"good", "RTSP/1.0 200 OK\r\n\r\n", true, 200},
             {"no reason and no end of the headers", "RTSP/1.0  200\r\n", true, 200},
             {"an unknown session", "RTSP/1.0 454 Session Not Found\r\nCSeq: 9\r\n\r\n", false, 454},
             {"a busy camera", "RTSP/1.0 503 Service Unavailable\r\nCSeq: 9\r\n\r\n", false, 503},
             {"keep-alive that is not understood", "RTSP/1.0 400 Bad Request\r\nCSeq: 0\r\n\r\n", false, 400},
             {"no status", "RTSP/1.0 OK\r\n\r\n", false, 0},
             {"a status that wraps to 200", "RTSP/1.0 4294967496 OK\r\n\r\n", false, 4294967295u},
             {"a protocol word without end", longWord + " 200 OK\r\n\r\n", false, 0},
         })
    {
        SCOPED_TRACE(name);
        CRTSPResponseParser parser;
        EXPECT_EQ(passes, parser.Parse("OPTIONS", text));
        EXPECT_EQ(status, parser.Response().status);
        EXPECT_EQ(0u, parser.Response().cseq);
    }
}

TEST(RTSPResponseParser, ReadsOrRefusesEachHeader)
{
    using Told = RTSPResponse;
    const auto session = [](const char* text) { return Field(&Told::session, text); };
    const auto timeout = [](std::uint32_t seconds) { return Field(&Told::sessionTimeout, seconds); };
    for (const auto& [name, headers, passes, told] : Table<const char*, std::string, bool, Matcher<Told>>{
             {"names in any case", "cseq:7\r\nCONTENT-TYPE: a/b\r\n", true,
              AllOf(Field(&Told::cseq, 7u), Field(&Told::contentType, "a/b"))},
             {"blanks around a name", "CSeq : 7\r\n", false, _},
             {"no name", ": x\r\nx: y\r\n:\r\nno colon\r\n", true, _},
             {"CSeq without a number", "CSeq: x\r\n", false, _},
             {"length without a number", "Content-Length:\r\n", false, _},
             {"type of nothing", "Content-Type: \r\n", false, _},
             {"base without a scheme", "Content-Base: 192.0.2.7/live\r\n", false, _},
             {"base without a slash", "Content-Base: rtsp://192.0.2.7\r\n", true,
              Field(&Told::contentBase, "rtsp://192.0.2.7")},
             {"base behind something", "Content-Base: <rtsp://x/>\r\n", true,
              Field(&Told::contentBase, "rtsp://x/>")},
             {"interleaved channels", "Transport: RTP/AVP/TCP;unicast;interleaved=2-3;ssrc=1\r\n", true,
              AllOf(Field(&Told::interleavedChannel, 2), Field(&Told::serverRTPPort, 0))},
             {"one server port", "Transport: RTP/AVP;server_port=5000\r\n", false, _},
             {"server ports that are none", "Transport: RTP/AVP;server_port=a-b\r\n", false, _},
             {"session alone", "Session: AbC-1\r\n", true, session("AbC-1")},
             {"short time-out", "Session: 1;timeout=8\r\n", true, timeout(8)},
             {"blank before the time-out", "Session: 1; timeout=8\r\n", true,
              AllOf(timeout(8), session("1"))},
             {"time-out 0", "Session: 1;timeout=0\r\n", true, timeout(30)},
             {"time-out of words", "Session: 1;timeout=8s\r\n", true, timeout(30)},
             {"parameters without a time-out", "Session: 1;foo=bar\r\n", false, session("")},
             {"session in capitals", "SESSION: 1\r\n", false, _},
             {"session without a blank", "Session:1\r\n", false, _},
         })
    {
        SCOPED_TRACE(name);
        CRTSPResponseParser parser;
        EXPECT_EQ(passes, parser.Parse("SETUP", ReplyWith(headers)));
        EXPECT_THAT(parser.Response(), told);
    }
}

TEST(RTSPResponseParser, ReadsChallenges)
{
    const std::string digest =
        "WWW-Authenticate: Digest realm=\"Cam 1\", nonce=\"8b84a3b7\", stale=FALSE\r\n";
    const std::string basic = "WWW-Authenticate: Basic realm=\"Cam\"\r\n";
    for (const auto& [name, headers, passes, scheme, realm, nonce] :
         Table<const char*, std::string, bool, std::uint32_t, const char*, const char*>{
             {"Digest", digest, true, RTSPResponse::kDigest, "Cam 1", "8b84a3b7"},
             {"Basic", basic, true, RTSPResponse::kBasic, "Cam", ""},
             {"Digest first", digest + basic, true, RTSPResponse::kBasic, "Cam", ""},
             {"Digest last", basic + digest, true, RTSPResponse::kDigest, "Cam 1", "8b84a3b7"},
             {"a new nonce", digest + "WWW-Authenticate: Digest nonce=n2,realm=r2\r\n", true,
              RTSPResponse::kDigest, "r2", "n2"},
             {"no nonce", "WWW-Authenticate: Digest realm=\"x\"\r\n", false, RTSPResponse::kDigest, "x", ""},
             {"a scheme of its own", "WWW-Authenticate: Negotiate abc\r\n", true, RTSPResponse::kNoScheme, "",
              ""},
             {"a scheme in small letters", "WWW-Authenticate: basic realm=\"x\"\r\n", true,
              RTSPResponse::kNoScheme, "", ""},
             {"a scheme alone", "WWW-Authenticate: Basic\r\n", false, RTSPResponse::kNoScheme, "", ""},
             {"the name in small letters", "www-authenticate: Basic realm=\"x\"\r\n", false,
              RTSPResponse::kNoScheme, "", ""},
         })
    {
        SCOPED_TRACE(name);
        CRTSPResponseParser parser;
        EXPECT_EQ(passes,
                  parser.Parse("DESCRIBE", "RTSP/1.0 401 Unauthorized\r\nCSeq: 1\r\n" + headers + "\r\n"));
        EXPECT_EQ(401u, parser.Response().status);
        EXPECT_EQ(scheme, parser.Response().challengeScheme);
        EXPECT_EQ(realm, parser.Response().realm);
        EXPECT_EQ(nonce, parser.Response().nonce);
    }
}

TEST(RTSPResponseParser, TakesTheBodyOfADescriptionOnly)
{
    const std::string body = "m=video 0 RTP/AVP 26\r\na=control:track1\r\n";
    for (const auto& [name, method, text, passes, control] :
         Table<const char*, const char*, std::string, bool, const char*>{
             {"exact length", "DESCRIBE", ReplyWith("Content-Length: 42\r\n", body), true, "track1"},
             {"longer than announced", "DESCRIBE", ReplyWith("Content-Length: 41\r\n", body + "m=\r\n"), true,
              "track1"},
             {"shorter than announced", "DESCRIBE", ReplyWith("Content-Length: 4000\r\n", body), true,
              "track1"},
             {"announced and absent", "DESCRIBE", ReplyWith("Content-Length: 42\r\n"), false, ""},
             {"cut in the headers", "DESCRIBE", "RTSP/1.0 200 OK\r\nContent-Length: 42\r\n", true, ""},
             {"not announced", "DESCRIBE", ReplyWith("", body), true, ""},
             {"not to be understood", "DESCRIBE", ReplyWith("Content-Length: 3\r\n", "m=\n"), false, ""},
             {"of another method", "OPTIONS", ReplyWith("Content-Length: 42\r\n", "m=\r\n"), true, ""},
         })
    {
        SCOPED_TRACE(name);
        CRTSPResponseParser parser;
        EXPECT_EQ(passes, parser.Parse(method, text));
        EXPECT_EQ(control, parser.Response().description.video.control);
    }
}

} // namespace
