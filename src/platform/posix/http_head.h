#pragma once

#include "platform/http_exchange.h"

#include <cstdint>
#include <curl/curl.h>
#include <string>
#include <string_view>

namespace korvane::platform
{

/// What is kept of the heads of one exchange: of the last response, and the challenge of the last refusal,
/// which an answered challenge leaves behind.
class HttpHead
{
public:
    static constexpr std::size_t kMaxBytes =
        256 * 1024; ///< of all heads of an exchange; real ones have a few

    /// Takes one line with its line end, as `easy` hands it over. False when the heads have grown too long.
    bool AddLine(CURL* easy, std::string_view line);

    bool IsComplete() const { return isComplete_; } ///< the last head, which may be an interim one
    std::uint32_t Status() const { return status_; }
    std::uint32_t ContentLength() const { return contentLength_; } ///< 0 when unknown or beyond 32 bits
    const std::string& Location() const { return location_; }
    std::uint32_t Refusals() const { return refusals_; } ///< heads with status 401
    const HttpOfferedSchemes& Offered() const { return offered_; }
    bool IsRedirect() const;

private:
    void ReadWhole(CURL* easy);
    void ReadChallenges(CURL* easy);
    void AddChallenges(std::string_view value);

    std::size_t bytes_ = 0;
    bool isComplete_ = false;
    std::uint32_t status_ = 0;
    std::uint32_t contentLength_ = 0;
    std::uint32_t refusals_ = 0;
    std::string location_;
    HttpOfferedSchemes offered_;
};

/// The CURLAUTH_... bit of a scheme; 0 for one that can't be answered here.
unsigned long CurlAuthOf(HttpScheme scheme);

/// The one that libcurl answers with out of several `offered`.
HttpScheme PickedOf(std::uint32_t offered);

} // namespace korvane::platform
