#pragma once

#include "platform/http_exchange.h"

#include <curl/curl.h>
#include <string>
#include <string_view>

namespace korvane::platform
{

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
