#include "transport/rtsp_request.h"

#include "support/table.h"

#include <gtest/gtest.h>

namespace
{

using namespace korvane;

TEST(RTSPRequest, MakesUrls)
{
    using Text = const char*;
    for (const auto& [name, url, contentBase, control, base, setup] :
         test::Table<Text, Text, Text, Text, Text, Text>{
             {"a path", "live.sdp", "", "trackID=1", "rtsp://h:8554/live.sdp",
              "rtsp://h:8554/live.sdp/trackID=1"},
             {"a path with slashes", "//live.sdp", "", "/trackID=1", "rtsp://h:8554/live.sdp",
              "rtsp://h:8554/live.sdp/trackID=1"},
             {"no path", "/", "", "", "rtsp://h:8554/", "rtsp://h:8554/"},
             {"a base with a slash", "live.sdp", "rtsp://c/live.sdp/", "trackID=1", "rtsp://c/live.sdp/",
              "rtsp://c/live.sdp/trackID=1"},
             {"a base without a slash", "live.sdp", "rtsp://c/live.sdp", "trackID=1", "rtsp://c/live.sdp",
              "rtsp://c/live.sdp/trackID=1"},
             {"an absolute control", "live.sdp", "rtsp://c/", "rtsp://d/x", "rtsp://c/", "rtsp://d/x"},
         })
    {
        SCOPED_TRACE(name);
        RTSPClientParams params;
        params.host = "h";
        params.serverPort = 8554;
        params.url = url;
        RTSPResponse response;
        response.contentBase = contentBase;
        EXPECT_EQ(base, RTSPBaseUrl(params, response));
        EXPECT_EQ(setup, RTSPSetupUrl(base, control));
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
    const std::string digest =
        "Authorization: Digest username=\"root\", realm=\"Cam 1\", nonce=\"8b84a3b7\", "
        "uri=\"rtsp://192.0.2.7/live.sdp\", response=\"b7cedad46eb60d94cf9e7ea9e324baed\"\r\n";
    using Told = RTSPResponse;
    for (const auto& [name, mode, password, scheme, nonce, header] :
         test::Table<const char*, std::uint32_t, std::string, std::uint32_t, const char*, std::string>{
             {"none", 0, "secret", Told::kDigest, "8b84a3b7", ""},
             {"Basic", 1, "secret", Told::kNoScheme, "", "Authorization: Basic cm9vdDpzZWNyZXQ=\r\n"},
             {"too long for Basic", 1, std::string(68, 'p'), Told::kNoScheme, "", ""},
             {"Digest", 2, "secret", Told::kDigest, "8b84a3b7", digest},
             {"Digest without a password", 2, "", Told::kDigest, "8b84a3b7", ""},
             {"Digest without a nonce", 2, "secret", Told::kDigest, "", ""},
             {"Digest that was not asked for", 2, "secret", Told::kBasic, "8b84a3b7", ""},
         })
    {
        SCOPED_TRACE(name);
        RTSPClientParams params;
        params.authenticationMode = mode;
        params.userName = "root";
        params.password = password;
        RTSPResponse response;
        response.challengeScheme = scheme;
        response.realm = "Cam 1";
        response.nonce = nonce;
        EXPECT_EQ(header, RTSPAuthorizationHeader("SETUP", "rtsp://192.0.2.7/live.sdp", params, response));
    }
}

} // namespace
