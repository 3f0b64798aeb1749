#include "camera/log/request_log.h"

#include <chrono>
#include <cstdio>
#include <ctime>
#include <utility>

namespace larkmoor::camera
{

namespace
{

std::string TimeText()
{
    using namespace std::chrono;
    const auto now = time_point_cast<milliseconds>(system_clock::now());
    const std::time_t seconds = system_clock::to_time_t(now);
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    char date[32];
    const std::size_t length = std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &parts);
    char text[48];
    std::snprintf(text, sizeof text, "%.*s.%03dZ", static_cast<int>(length), date,
                  static_cast<int>(now.time_since_epoch().count() % 1000));
    return text;
}

} // namespace

bool RequestLog::Open(const std::string& path, std::string& error)
{
    if (!lines_.Open(path, error))
        return false;
    hasFile_ = true;
    return true;
}

void RequestLog::SetListener(Listener listener)
{
    const std::lock_guard guard(lock_);
    listener_ = std::move(listener);
}

void RequestLog::Record(const LoggedRequest& request)
{
    const std::lock_guard guard(lock_);
    if (hasFile_)
    {
        lines_.Write("{\"time\":\"" + TimeText() + "\",\"protocol\":" + JsonLines::Quote(request.protocol) +
                     ",\"method\":" + JsonLines::Quote(request.method) +
                     ",\"target\":" + JsonLines::Quote(request.target) +
                     ",\"status\":" + std::to_string(request.status) + "}");
    }
    if (listener_)
        listener_(request);
}

} // namespace larkmoor::camera
