#include "camera/http/site.h"

namespace larkmoor::camera
{

HttpResponse Site::Handle(const HttpRequest& request)
{
    rate_.Count();
    if (rate_.IsTooHigh("busy-503"))
        return TextResponse(503, "Too many requests");

    Authenticator::Verdict verdict =
        authenticator_.Check(request.method, request.target, request.authorization);
    if (verdict.granted && rate_.IsTooHigh("busy-401"))
        verdict = {false, {"Basic realm=\"busy\""}};
    if (!verdict.granted)
    {
        HttpResponse response = TextResponse(401, "Wrong or no user and password");
        for (std::string& challenge : verdict.challenges)
            response.headers.emplace_back("WWW-Authenticate", std::move(challenge));
        return response;
    }
    return Route(request);
}

HttpResponse Site::Route(const HttpRequest& request) const
{
    if (request.method != "GET" && request.method != "HEAD" && request.method != "POST")
    {
        HttpResponse response = TextResponse(405, "Only GET, HEAD and POST");
        response.headers.emplace_back("Allow", "GET, HEAD, POST");
        return response;
    }
    const auto found = handlers_.find(request.path);
    if (found != handlers_.end())
        return found->second(request);
    return rest_ ? rest_(request) : TextResponse(404, "There is nothing at " + request.path);
}

} // namespace larkmoor::camera
