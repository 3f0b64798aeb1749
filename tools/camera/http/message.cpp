#include "camera/http/message.h"

namespace larkmoor::camera
{

std::string ReasonPhrase(int status)
{
    switch (status)
    {
    case 200:
        return "OK";
    case 400:
        return "Bad Request";
    case 401:
        return "Unauthorized";
    case 404:
        return "Not Found";
    case 405:
        return "Method Not Allowed";
    case 409:
        return "Conflict";
    case 500:
        return "Internal Server Error";
    case 503:
        return "Service Unavailable";
    default:
        return "Unknown";
    }
}

HttpResponse TextResponse(int status, std::string text)
{
    HttpResponse response;
    response.status = status;
    response.body = std::move(text) + "\r\n";
    return response;
}

} // namespace larkmoor::camera
