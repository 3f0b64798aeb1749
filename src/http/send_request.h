#pragma once

#include "http/http_client.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace korvane
{

/// The outcome of a request. A new one is a success: severity 3, code 0, no message.
class CResultDef
{
public:
    static constexpr std::uint32_t kSuccess = 3; ///< severity

    CResultDef() = default;
    CResultDef(std::uint32_t severityValue, std::uint32_t codeValue, std::string messageText)
        : severity(severityValue), code(codeValue), message(std::move(messageText))
    {
    }
    virtual ~CResultDef() = default;

    std::uint32_t severity = kSuccess;
    std::uint32_t code = 0;
    std::string message;
};

} // namespace korvane

/// Requests to a camera's CGI interface. `Client` is `Web::CHttpClient` or `Web::CWinINetHttpClient`, used by
/// one thread at a time; its time-out bounds each request. Reentrant.
namespace korvane::Utils
{

/// Sends "GET `uri`" and judges the answer: success for a status whose hundreds digit is 2 and, with
/// `readBody`, a body that isn't empty. `response` is the body with one zero byte behind it, or empty without
/// `readBody`. A failure has severity 4 and code 11 when there was no answer, 1 and 8 for a status that
/// refuses, 1 and 13 for an empty body, and a message. The status stands in the client.
template <typename Client>
CResultDef SendRequestWithResult(Client& client, const std::string& uri, std::vector<std::uint8_t>& response,
                                 bool readBody);

/// The same, true for a success.
template <typename Client>
bool SendRequestEx(Client& client, const std::string& uri, std::vector<std::uint8_t>& response, bool readBody)
{
    return SendRequestWithResult(client, uri, response, readBody).code == 0;
}

} // namespace korvane::Utils

/// The parameters of a camera.
namespace korvane::CameraCgi
{

inline constexpr const char* kGetParam = "/cgi-bin/admin/getparam.cgi?"; ///< with groups or keys behind it
inline constexpr const char* kSetParam = "/cgi-bin/admin/setparam.cgi?"; ///< with `key=value` items behind it

/// True if the answer to "GET `uri`" has a status of 2xx. `text` is then its body up to the first zero byte,
/// and may be empty.
template <typename Client>
bool Ask(Client& client, const std::string& uri, std::string& text);

/// Reads groups, joined by "&", or a single key. True if the answer has a text.
template <typename Client>
bool Read(Client& client, const std::string& groups, std::string& text)
{
    return Ask(client, kGetParam + groups, text) && !text.empty();
}

} // namespace korvane::CameraCgi
