#pragma once

#include "http/http_client.h"
#include "http/win_inet_http_client.h"
#include "runtime/result_def.h"

#include <cstdint>
#include <string>
#include <vector>

namespace korvane::Utils
{

/// Sends "GET `uri`" to a camera's CGI interface and judges the answer: true for a status whose hundreds
/// digit is 2 and, with `readBody`, a body that isn't empty. `response` is the body with one zero byte
/// behind it, or empty without `readBody`. After a false result the status stands in the client.
/// Reentrant; the client is used by one thread at a time.
bool SendRequestEx(Web::CHttpClient& client, const std::string& uri, std::vector<std::uint8_t>& response,
                   bool readBody);
bool SendRequestEx(Web::CWinINetHttpClient& client, const std::string& uri,
                   std::vector<std::uint8_t>& response, bool readBody);

/// The same, with what went wrong and a message for it: severity 4 and code 11 when there was no answer, 1
/// and 8 for a status that refuses, 1 and 13 for an empty body.
CResultDef SendRequestWithResult(Web::CHttpClient& client, const std::string& uri,
                                 std::vector<std::uint8_t>& response, bool readBody);
CResultDef SendRequestWithResult(Web::CWinINetHttpClient& client, const std::string& uri,
                                 std::vector<std::uint8_t>& response, bool readBody);

} // namespace korvane::Utils
