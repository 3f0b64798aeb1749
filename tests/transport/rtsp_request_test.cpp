#include "transport/rtsp_request.h"

#include "support/table.h"

#include <string>

#include <gtest/gtest.h>

namespace
{

using namespace korvane;

TEST(RTSPRequest, MakesUrls)
{
    const struct
    {
        const char *name, *url, *contentBase, *control, *base, *setup;
    } cases[] = {
        {"a path", "live.sdp", "", "trackID=1", "rtsp://h:8554/live.sdp", "rtsp://h:8554/live.sdp/trackID=1"},
        {"a path with slashes", "//live.sdp", "", "/trackID=1", "rtsp://h:8554/live.sdp",
         "rtsp://h:8554/live.sdp/trackID=1"},
        {"no path", "/", "", "", "rtsp://h:8554/", "rtsp://h:8554/"},
        {"a base with a slash", "live.sdp", "rtsp://c/live.sdp/", "trackID=1", "rtsp://c/live.sdp/",
         "rtsp://c/live.sdp/trackID=1"},
        {"a base without a slash", "live.sdp", "rtsp://c/live.sdp", "trackID=1", "rtsp://c/live.sdp",
         "rtsp://c/live.sdp/trackID=1"},
        {"an absolute control", "live.sdp", "rtsp://c/", "rtsp://d/x", "rtsp://c/", "rtsp://d/x"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        RTSPClientParams params;
        params.host = "h";
        params.serverPort = 8554;
        params.url = c.url;
        RTSPResponse response;
        response.contentBase = c.contentBase;
        EXPECT_EQ(c.base, RTSPBaseUrl(params, response));
        EXPECT_EQ(c.setup, RTSPSetupUrl(c.base, c.control));
    }
}

TEST(RTSPRequest, AsksForATransport)
{
    RTSPClientParams params;
    params.clientRTPPort = 3556;
    params.clientRTCPPort = 3557;
    for (const auto& [protocol, mode, multicast, header] :
         test::Table<const char*, std::uint32_t, bool, const char*>{
             {"", kTransportUDP, false, "Transport: RTP/AVP/UDP;unicast;client_port=3556-3557\r\n"},
             {"RTP/AVP", kTransportUDP, true, "Transport: RTP/AVP/UDP;multicast;client_port=65535-65536\r\n"},
             {"RTP/AVP", kTransportInterleaved, false, "Transport: RTP/AVP/TCP;unicast;interleaved=0-1\r\n"},
             {"RTP/SAVP", kTransportInterleaved, false, "Transport: RTP/SAVP;unicast;interleaved=0-1\r\n"},
             {"rtp/avp", kTransportUDP, false, "Transport: rtp/avp;unicast;client_port=3556-3557\r\n"},
         })
    {
        SDPMediaSection section;
        section.protocol = protocol;
        section.port = 65535;
        EXPECT_EQ(header, RTSPTransportHeader(section, params, mode, multicast));
    }
}

TEST(RTSPRequest, Authorises)
{
    const std::string basic69 =
        "Authorization: Basic "
        "dTpwcHBwcHBwcHBwcHBwcHBwcHBwcHBwcHBwcHBwcHBwcHBwcHBwcHBwcHBwcHBwcHBwcHBwcHBwcHBwcHBwcHBwcHBw\r\n";
    const std::string digest =
        "Authorization: Digest username=\"root\", realm=\"Cam 1\", nonce=\"8b84a3b7\", "
        "uri=\"rtsp://192.0.2.7/live.sdp\", response=\"b7cedad46eb60d94cf9e7ea9e324baed\"\r\n";
    const struct
    {
        const char* name;
        std::uint32_t mode;
        std::string user, password;
        std::uint32_t scheme;
        std::string nonce, header;
    } cases[] = {
        {"none", 0, "root", "secret", RTSPResponse::kDigest, "8b84a3b7", ""},
        {"Basic", 1, "root", "secret", RTSPResponse::kNoScheme, "",
         "Authorization: Basic cm9vdDpzZWNyZXQ=\r\n"},
        {"Basic without a password", 1, "root", "", RTSPResponse::kNoScheme, "",
         "Authorization: Basic cm9vdDo=\r\n"},
        {"the longest for Basic", 1, "u", std::string(67, 'p'), RTSPResponse::kNoScheme, "", basic69},
        {"too long for Basic", 1, "u", std::string(68, 'p'), RTSPResponse::kNoScheme, "", ""},
        {"Digest", 2, "root", "secret", RTSPResponse::kDigest, "8b84a3b7", digest},
        {"Digest without a password", 2, "root", "", RTSPResponse::kDigest, "8b84a3b7", ""},
        {"Digest without a nonce", 2, "root", "secret", RTSPResponse::kDigest, "", ""},
        {"Digest that was not asked for", 2, "root", "secret", RTSPResponse::kBasic, "8b84a3b7", ""},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        RTSPClientParams params;
        params.authenticationMode = c.mode;
        params.userName = c.user;
        params.password = c.password;
        RTSPResponse response;
        response.challengeScheme = c.scheme;
        response.realm = "Cam 1";
        response.nonce = c.nonce;
        EXPECT_EQ(c.header, RTSPAuthorizationHeader("SETUP", "rtsp://192.0.2.7/live.sdp", params, response));
    }
}

} // namespace
