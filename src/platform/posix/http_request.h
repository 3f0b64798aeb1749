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
struct HttpHead
{
    static constexpr std::size_t kMaxBytes =
        256 * 1024; ///< of all heads of an exchange; real ones have a few

    bool isComplete = false; ///< the last head, which may be an interim one
    std::uint32_t status = 0;
    std::uint32_t contentLength = 0; ///< 0 when unknown or beyond 32 bits
    std::string location;
    HttpOfferedSchemes offered;
    std::uint32_t refusals = 0; ///< heads with status 401
    std::size_t bytes = 0;      ///< of all heads

    /// Takes one line with its line end, as `easy` hands it over. False when the heads have grown too long.
    bool AddLine(CURL* easy, std::string_view line);

    bool IsRedirect() const;

private:
    void ReadWhole(CURL* easy);
    void AddChallenges(std::string_view value);
};

/// The CURLAUTH_... bit of a scheme; 0 for one that can't be answered here.
unsigned long CurlAuthOf(HttpScheme scheme);

/// The one that libcurl answers with out of several `offered`.
HttpScheme PickedOf(std::uint32_t offered);

/// A plan in the shape that libcurl wants.
struct CurlRequest
{
    HttpPlan plan;
    std::string url;         ///< whole, and such that libcurl takes it; empty if the plan can't be sent
    std::string requestLine; ///< what the request line holds where that differs from the URL; else empty
    unsigned long authentication = 0; ///< CURLAUTH_... bits; 0 sends no credentials
};

CurlRequest MakeCurlRequest(const HttpDevice& device, HttpPlan plan);

/// Has the request lead to `location` of a response with `status`. False, and nothing changed, unless that is
/// the same host, by http or https, and not from https back to http.
bool Redirect(CurlRequest& request, std::string_view location, std::uint32_t status);

/// Sets on `easy` what libcurl is told of the request by options: target, method, credentials, certificate
/// checks and headers. Adds to `headers`, which must live as long as the handle uses them. False when out of
/// memory.
bool ApplyRequest(CURL* easy, const CurlRequest& request, const HttpDevice& device, curl_slist*& headers);

} // namespace korvane::platform
