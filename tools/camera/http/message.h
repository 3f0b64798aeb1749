#pragma once

#include "base/text.h"
#include "camera/device/profile.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace larkmoor::camera
{

/// A request as a client sent it (RFC 7230).
struct HttpRequest
{
    std::string method;
    std::string target; ///< as it came
    std::string path;   ///< of the target, with a slash in front
    std::string query;  ///< of the target, escapes not undone; a form that was posted stands behind it
    std::string authorization;
};

/// What it is answered: a text or a file, or the pictures of a stream for as long as the client likes.
struct HttpResponse
{
    int status = 200;
    std::string contentType = "text/plain";
    std::string body;
    std::vector<std::pair<std::string, std::string>> headers; ///< beyond type and length
    std::optional<StreamId> stream;                           ///< then there is no body
    std::chrono::milliseconds delay{0};                       ///< before the answer goes out
    bool silent = false;                                      ///< no answer until the client leaves
};

/// A plain text answer for the person who reads it.
inline HttpResponse TextResponse(int status, const std::string& text)
{
    HttpResponse response;
    response.status = status;
    response.body = text + "\r\n";
    return response;
}

} // namespace larkmoor::camera
