#include "transport/rtsp_response_parser.h"

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace
{

using korvane::CRTSPResponseParser;
using korvane::RTSPResponse;

std::string Reply(const std::string& headers, const std::string& body = "")
{
    return "RTSP/1.0 200 OK\r\n" + headers + "\r\n" + body;
}

TEST(RTSPResponseParser, JudgesTheStatusLine)
{
    const std::string longWord(129, 'x');
    const struct
    {
        const char* name;
        std::string text;
        bool passes;
        std::uint32_t status;
    } cases[] = {
        {"nothing", "", false, 0},
        {"no line end", "RTSP/1.0 200 OK", false, 0},
        {"good", "RTSP/1.0 200 OK\r\n\r\n", true, 200},
        {"no reason and no end of the headers", "RTSP/1.0  200\r\n", true, 200},
        {"a reply to an unknown session", "RTSP/1.0 454 Session Not Found\r\nCSeq: 9\r\n\r\n", false, 454},
        {"a busy camera", "RTSP/1.0 503 Service Unavailable\r\nCSeq: 9\r\n\r\n", false, 503},
        {"keep-alive that is not understood", "RTSP/1.0 400 Bad Request\r\nCSeq: 0\r\n\r\n", false, 400},
        {"no status", "RTSP/1.0 OK\r\n\r\n", false, 0},
        {"a status that wraps to 200", "RTSP/1.0 4294967496 OK\r\n\r\n", false, 4294967295u},
        {"a protocol word without end", longWord + " 200 OK\r\n\r\n", false, 0},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        CRTSPResponseParser parser;
        EXPECT_EQ(c.passes, parser.Parse("OPTIONS", c.text));
        EXPECT_EQ(c.status, parser.Response().status);
        EXPECT_EQ(0u, parser.Response().cseq);
    }
}

TEST(RTSPResponseParser, ReadsOrRefusesEachHeader)
{
    using Check = std::function<bool(const RTSPResponse&)>;
    const Check any = [](const RTSPResponse&) { return true; };
    const struct
    {
        const char* name;
        std::string headers;
        bool passes;
        Check holds;
    } cases[] = {
        {"names in any case", "cseq:7\r\nCONTENT-TYPE: a/b\r\n", true,
         [](const auto& r) { return r.cseq == 7 && r.contentType == "a/b"; }},
        {"blanks around a name", "CSeq : 7\r\n", false, any},
        {"no name", ": x\r\nx: y\r\n:\r\nno colon\r\n", true, any},
        {"CSeq without a number", "CSeq: x\r\n", false, any},
        {"length without a number", "Content-Length:\r\n", false, any},
        {"type of nothing", "Content-Type: \r\n", false, any},
        {"base without a scheme", "Content-Base: 192.0.2.7/live\r\n", false, any},
        {"base without a slash", "Content-Base: rtsp://192.0.2.7\r\n", true,
         [](const auto& r) { return r.contentBase == "rtsp://192.0.2.7"; }},
        {"base behind something", "Content-Base: <rtsp://x/>\r\n", true,
         [](const auto& r) { return r.contentBase == "rtsp://x/>"; }},
        {"interleaved channels", "Transport: RTP/AVP/TCP;unicast;interleaved=2-3;ssrc=1\r\n", true,
         [](const auto& r) { return r.interleavedChannel == 2 && r.serverRTPPort == 0; }},
        {"one server port", "Transport: RTP/AVP;server_port=5000\r\n", false, any},
        {"server ports that are none", "Transport: RTP/AVP;server_port=a-b\r\n", false, any},
        {"session alone", "Session: AbC-1\r\n", true, [](const auto& r) { return r.session == "AbC-1"; }},
        {"short time-out", "Session: 1;timeout=8\r\n", true,
         [](const auto& r) { return r.sessionTimeout == 8; }},
        {"blank before the time-out", "Session: 1; timeout=8\r\n", true,
         [](const auto& r) { return r.sessionTimeout == 8 && r.session == "1"; }},
        {"time-out 0", "Session: 1;timeout=0\r\n", true,
         [](const auto& r) { return r.sessionTimeout == 30; }},
        {"time-out of words", "Session: 1;timeout=8s\r\n", true,
         [](const auto& r) { return r.sessionTimeout == 30; }},
        {"parameters without a time-out", "Session: 1;foo=bar\r\n", false,
         [](const auto& r) { return r.session.empty(); }},
        {"session in capitals", "SESSION: 1\r\n", false, any},
        {"session without a blank", "Session:1\r\n", false, any},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        CRTSPResponseParser parser;
        EXPECT_EQ(c.passes, parser.Parse("SETUP", Reply(c.headers)));
        EXPECT_TRUE(c.holds(parser.Response()));
    }
}

TEST(RTSPResponseParser, ReadsChallenges)
{
    const std::string digest =
        "WWW-Authenticate: Digest realm=\"Cam 1\", nonce=\"8b84a3b7\", stale=FALSE\r\n";
    const std::string basic = "WWW-Authenticate: Basic realm=\"Cam\"\r\n";
    const struct
    {
        const char* name;
        std::string headers;
        bool passes;
        std::uint32_t scheme;
        const char* realm;
        const char* nonce;
    } cases[] = {
        {"Digest", digest, true, RTSPResponse::kDigest, "Cam 1", "8b84a3b7"},
        {"Basic", basic, true, RTSPResponse::kBasic, "Cam", ""},
        {"Digest first", digest + basic, true, RTSPResponse::kBasic, "Cam", ""},
        {"Digest last", basic + digest, true, RTSPResponse::kDigest, "Cam 1", "8b84a3b7"},
        {"a new nonce", digest + "WWW-Authenticate: Digest nonce=n2,realm=r2\r\n", true,
         RTSPResponse::kDigest, "r2", "n2"},
        {"no nonce", "WWW-Authenticate: Digest realm=\"x\"\r\n", false, RTSPResponse::kDigest, "x", ""},
        {"a scheme of its own", "WWW-Authenticate: Negotiate abc\r\n", true, RTSPResponse::kNoScheme, "", ""},
        {"a scheme in small letters", "WWW-Authenticate: basic realm=\"x\"\r\n", true,
         RTSPResponse::kNoScheme, "", ""},
        {"a scheme alone", "WWW-Authenticate: Basic\r\n", false, RTSPResponse::kNoScheme, "", ""},
        {"the name in small letters", "www-authenticate: Basic realm=\"x\"\r\n", false,
         RTSPResponse::kNoScheme, "", ""},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        CRTSPResponseParser parser;
        EXPECT_EQ(c.passes,
                  parser.Parse("DESCRIBE", "RTSP/1.0 401 Unauthorized\r\nCSeq: 1\r\n" + c.headers + "\r\n"));
        EXPECT_EQ(401u, parser.Response().status);
        EXPECT_EQ(c.scheme, parser.Response().challengeScheme);
        EXPECT_EQ(c.realm, parser.Response().realm);
        EXPECT_EQ(c.nonce, parser.Response().nonce);
    }
}

TEST(RTSPResponseParser, TakesTheBodyOfADescriptionOnly)
{
    const std::string body = "m=video 0 RTP/AVP 26\r\na=control:track1\r\n";
    const struct
    {
        const char* name;
        const char* method;
        std::string text;
        bool passes;
        const char* control;
    } cases[] = {
        {"exact length", "DESCRIBE", Reply("Content-Length: 42\r\n", body), true, "track1"},
        {"longer than announced", "DESCRIBE", Reply("Content-Length: 41\r\n", body + "m=\r\n"), true,
         "track1"},
        {"shorter than announced", "DESCRIBE", Reply("Content-Length: 4000\r\n", body), true, "track1"},
        {"announced and absent", "DESCRIBE", Reply("Content-Length: 42\r\n"), false, ""},
        {"cut before the headers end", "DESCRIBE", "RTSP/1.0 200 OK\r\nContent-Length: 42\r\n", true, ""},
        {"not announced", "DESCRIBE", Reply("", body), true, ""},
        {"not to be understood", "DESCRIBE", Reply("Content-Length: 3\r\n", "m=\n"), false, ""},
        {"of another method", "OPTIONS", Reply("Content-Length: 42\r\n", "m=\r\n"), true, ""},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        CRTSPResponseParser parser;
        EXPECT_EQ(c.passes, parser.Parse(c.method, c.text));
        EXPECT_EQ(c.control, parser.Response().description.video.control);
    }
}

} // namespace
