#pragma once

#include <cstdint>
#include <string>

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

} // namespace korvane
