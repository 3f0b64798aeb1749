#pragma once

#include "camera/auth/authenticator.h"
#include "camera/fault/fault_plan.h"
#include "camera/http/message.h"

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
    Site(Authenticator& authenticator, FaultPlan& faults) : authenticator_(authenticator), faults_(faults) {}

    /// Puts a program at `path`. Before the server starts.
    void Add(const std::string& path, Handler handler) { handlers_[path] = std::move(handler); }

    /// Asked for paths where no program stands; a status of 404 means that there is nothing.
    void AddRest(Handler handler) { rest_ = std::move(handler); }

    HttpResponse Handle(const HttpRequest& request);

private:
    bool IsBusy(const char* fault);
    HttpResponse Route(const HttpRequest& request) const;

    Authenticator& authenticator_;
    FaultPlan& faults_;
    std::map<std::string, Handler> handlers_;
    Handler rest_;
    FaultPlan::Clock::time_point second_{}; // when the present second of busy-503 began
    std::uint32_t inSecond_ = 0;            // requests since then
};

} // namespace larkmoor::camera
