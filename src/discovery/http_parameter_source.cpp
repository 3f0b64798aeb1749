#include "discovery/http_parameter_source.h"

#include "http/send_request.h"

#include <vector>

namespace korvane
{

bool CHttpParameterSource::Get(const std::string& uri, std::string& body)
{
    std::vector<std::uint8_t> response;
    body.clear();
    if (!Utils::SendRequestEx(client_, uri, response, true))
        return false;
    body.assign(response.begin(), response.end());
    return true;
}

} // namespace korvane
