#include "http/send_request.h"

#include "runtime/text.h"

#include <algorithm>

namespace korvane::Utils
{

namespace
{

constexpr const char* kFunction = "korvane::Utils::SendRequestEx";

} // namespace

template <typename Client>
CResultDef SendRequestWithResult(Client& client, const std::string& uri, std::vector<std::uint8_t>& response,
                                 bool readBody)
{
    const std::string host = FormatString("host %s:%u", client.Host().c_str(), unsigned{client.Port()});
    response.clear();
    if (!client.SendRequest("GET", uri) || client.StatusCode() == 0)
        return {4, 11,
                FormatString("%s: can not send request \"%s\" to %s", kFunction, uri.c_str(), host.c_str())};
    if (client.StatusCode() / 100 != 2)
        return {1, 8,
                FormatString("%s: %s sent does not process request \"%s\", status code = %d", kFunction,
                             host.c_str(), uri.c_str(), static_cast<int>(client.StatusCode()))};
    if (!readBody)
        return {};
    const std::uint32_t length = client.ReadResponse(response);
    response.push_back(0); // callers read it as a text
    if (length == 0)
        return {1, 13,
                FormatString("%s: incorrect response for request \"%s\" from %s", kFunction, uri.c_str(),
                             host.c_str())};
    return {};
}

template CResultDef SendRequestWithResult(Web::CHttpClient&, const std::string&, std::vector<std::uint8_t>&,
                                          bool);
template CResultDef SendRequestWithResult(Web::CWinINetHttpClient&, const std::string&,
                                          std::vector<std::uint8_t>&, bool);

} // namespace korvane::Utils

namespace korvane::CameraCgi
{

template <typename Client>
bool Ask(Client& client, const std::string& uri, std::string& text)
{
    std::vector<std::uint8_t> body;
    const bool isAnswered = Utils::SendRequestEx(client, uri, body, true) || client.StatusCode() / 100 == 2;
    text.assign(body.begin(), std::ranges::find(body, 0));
    return isAnswered;
}

template bool Ask(Web::CHttpClient&, const std::string&, std::string&);
template bool Ask(Web::CWinINetHttpClient&, const std::string&, std::string&);

} // namespace korvane::CameraCgi
