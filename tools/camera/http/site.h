#pragma once

#include "camera/auth/authenticator.h"
#include "camera/http/message.h"
#include "camera/net/listener.h"

#include <functional>
#include <map>
#include <string>

namespace larkmoor::camera
{

/// What stands at which path of the device's web server, behind its credentials. On the thread of the
/// io_context.
class Site
{
public:
    using Handler = std::function<HttpResponse(const HttpRequest&)>;

    /// Both outlive the site. The faults busy-503 and busy-401 are played here.
    Site(Authenticator& authenticator, FaultPlan& faults) : authenticator_(authenticator), rate_(faults) {}

    /// Puts a program at `path`. Before the server starts.
    void Add(const std::string& path, Handler handler) { handlers_[path] = std::move(handler); }

    /// Asked for paths where no program stands; a status of 404 means that there is nothing.
    void AddRest(Handler handler) { rest_ = std::move(handler); }

    HttpResponse Handle(const HttpRequest& request);

private:
    HttpResponse Route(const HttpRequest& request) const;

    Authenticator& authenticator_;
    std::map<std::string, Handler> handlers_;
    Handler rest_;
    RequestRate rate_;
};

} // namespace larkmoor::camera
