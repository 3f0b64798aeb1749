#pragma once

#include "platform/http_service.h"
#include "platform/posix/http_target.h"

#include <cstdint>
#include <curl/curl.h>
#include <span>
#include <string>
#include <vector>

namespace korvane::platform
{

/// What an exchange is to send.
struct HttpPlan
{
    std::string method;
    HttpTarget target;
    HttpRequestOptions options;
    std::vector<std::string> headers; ///< "Name: value"
    std::span<const std::uint8_t> body;
    std::uint32_t announcedBytes = 0; ///< at least the size of the body
    unsigned long authentication = 0; ///< CURLAUTH_... bits; 0 sends no credentials
    std::string user;
    std::string password;
};

/// Sets on `easy` what of the plan libcurl is told by options: target, method, credentials, certificate
/// checks and headers. Adds to `headers`, which must live as long as the handle uses them. False when out of
/// memory.
bool ApplyPlan(CURL* easy, const HttpPlan& plan, curl_slist*& headers);

/// Whether `header` ("Name: value") has that name.
bool HasHeaderName(const std::string& header, std::string_view name);

} // namespace korvane::platform
