#pragma once

#include "camera/log/json_lines.h"

#include <atomic>
#include <functional>
#include <mutex>
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
};

/// Every request of every protocol, in the order of their answers. Any thread.
class RequestLog
{
public:
    using Listener = std::function<void(const LoggedRequest&)>;

    /// Writes a JSON object a line into `path` from now on: `time` (UTC, ISO 8601, to the millisecond),
    /// `protocol`, `method`, `target`, `status`. False says in `error` why not.
    [[nodiscard]] bool Open(const std::string& path, std::string& error);

    /// Calls `listener` for each request from now on, on the thread that answers it and under the log's lock:
    /// it must not call the log. An empty function ends that; when SetListener returns, no call is under way.
    void SetListener(Listener listener);

    void Record(const LoggedRequest& request);

private:
    std::mutex lock_; // guards the listener and its calls
    Listener listener_;
    JsonLines lines_;
    std::atomic<bool> hasFile_{false};
};

} // namespace larkmoor::camera
