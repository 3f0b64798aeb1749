#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "transport/sdp_response_parser.h"

namespace korvane
{

/// What the responses of one session have said so far. A field keeps its value until a later response sets
/// it again.
struct RTSPResponse
{
    /// The values of `challengeScheme`.
    static constexpr std::uint32_t kNoScheme = 0;
    static constexpr std::uint32_t kBasic = 1;
    static constexpr std::uint32_t kDigest = 2;

    SDPDescription description; ///< of the last DESCRIBE that was understood
    std::string protocol;       ///< first word of the status line, at most 128 characters
    std::uint32_t status = 0;
    std::uint32_t cseq = 0;  ///< the client counts its requests on from here
    std::string contentBase; ///< from "rtsp://" on
    std::string contentType; ///< lower case, without parameters behind a blank
    std::uint32_t contentLength = 0;
    std::string session;              ///< identifier without parameters
    std::uint32_t sessionTimeout = 0; ///< seconds; 0 until a Session header gives one
    std::uint32_t challengeScheme = kNoScheme;
    std::string realm; ///< without quotes
    std::string nonce; ///< without quotes
    std::uint32_t serverRTPPort = 0;
    std::uint32_t serverRTCPPort = 0;
    std::uint8_t interleavedChannel = 0; ///< the RTP channel; RTCP comes on the next one
};

/// Reads the text of one RTSP 1.0 response (RFC 2326, section 7) into the record of its session. Understands
/// what a device answers to this client and skips the rest. One thread; no lock.
class CRTSPResponseParser
{
public:
    virtual ~CRTSPResponseParser() = default;

    /// Empties the record, for a new session.
    void Reset() { response_ = RTSPResponse(); }

    /// Reads the response to a request with `method`; any bytes are acceptable input. A body is looked at for
    /// DESCRIBE only. False when the status is neither 200 nor 401, or when something that has to be
    /// understood is not; fields set up to then stay.
    [[nodiscard]] bool Parse(std::string_view method, std::string_view text);

    const RTSPResponse& Response() const { return response_; }
    RTSPResponse& Response() { return response_; }

private:
    bool ReadStatusLine(std::string_view line);
    bool ReadHeader(std::string_view line);
    bool ReadContentType(const std::string& lower);
    bool ReadContentBase(std::string_view line, const std::string& lower);
    bool ReadTransport(std::string_view line);
    bool ReadSession(std::string_view line);
    bool ReadChallenge(std::string_view line);

    RTSPResponse response_;
};

} // namespace korvane
