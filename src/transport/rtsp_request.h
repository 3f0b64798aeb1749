#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "transport/rtsp_client_params.h"
#include "transport/rtsp_response_parser.h"

/// The texts that RTSP requests are made of. No state; any thread.
namespace korvane
{

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
