#pragma once

#include "camera/log/json_lines.h"

#include <string>

namespace larkmoor::camera
{

/// One request that the camera got, and how it answered.
struct LoggedRequest
{
    std::string protocol; ///< "http", "https", "rtsp"
    std::string method;
    std::string target; ///< as it came, query included
    int status;         ///< 0 when no answer was given

    /// `time` (now: UTC, ISO 8601, to the millisecond), `protocol`, `method`, `target`, `status`.
    nlohmann::ordered_json Line() const;
};

/// Every request of every protocol, in the order of their answers. Any thread.
class RequestLog : public ItemLog<LoggedRequest>
{
public:
    void Record(const LoggedRequest& request) { Tell(request); }
};

} // namespace larkmoor::camera
