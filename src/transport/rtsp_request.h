#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "transport/rtsp_response_parser.h"

/// The texts that RTSP requests are made of. No state; any thread.
namespace korvane
{

/// What an RTSP session is started with.
struct RTSPClientParams
{
    std::uint16_t serverPort = 554;
    std::uint16_t clientRTPPort = 0;  ///< where the device sends RTP to, over UDP
    std::uint16_t clientRTCPPort = 0; ///< where it sends RTCP to, over UDP
    std::string host;                 ///< name or dotted address
    std::string userName;
    std::string password;                  ///< never to be written to a log
    std::uint32_t connectTimeoutMs = 5000; ///< in steps of 100; below 100 nothing but an immediate success is
    std::uint32_t receiveTimeoutMs = 5000; ///< of each read
    std::uint32_t receiveBufferBytes = 65536; ///< of the socket
    std::uint32_t sendTimeoutMs = 1000;
    std::uint32_t keepAliveDefaultS = 60; ///< when the device gives no session time-out
    std::uint32_t authenticationMode = 0; ///< 0 none, 1 Basic, 2 Digest; a challenge changes it
    std::string url;                      ///< path on the device, with or without a leading "/"
    std::uint32_t mediaSelector = 1;      ///< the section to set up: 1 video, 2 audio, 3 data
    std::string range;                    ///< of the Range header; empty is from now on
    std::string require;                  ///< of a Require header; empty is none
    std::uint32_t blocksize = 0;          ///< bytes; asked for from 101 upward
};

inline constexpr std::uint32_t kTransportUDP = 0;         ///< RTP in datagrams of its own
inline constexpr std::uint32_t kTransportInterleaved = 2; ///< RTP within the RTSP connection

/// The URL of all requests but SETUP: what the device called the base of its description, else the one that
/// the parameters make.
std::string RTSPBaseUrl(const RTSPClientParams& params, const RTSPResponse& response);

/// The URL of a SETUP for a section with that control value.
std::string RTSPSetupUrl(const std::string& baseUrl, const std::string& control);

/// The Transport header with its line end. Multicast takes its ports from the section.
std::string RTSPTransportHeader(const SDPMediaSection& section, const RTSPClientParams& params,
                                std::uint32_t mode, bool multicast);

/// The Authorization header with its line end, by the parameters' authentication mode (RFC 2617, without
/// qop). Empty when none is to go out, and when credentials or the challenge do not make one.
std::string RTSPAuthorizationHeader(std::string_view method, const std::string& uri,
                                    const RTSPClientParams& params, const RTSPResponse& response);

} // namespace korvane
