#pragma once

#include "camera/auth/authenticator.h"
#include "camera/fault/fault_plan.h"
#include "camera/log/request_log.h"
#include "camera/log/truth_log.h"
#include "camera/media/stream_hub.h"
#include "camera/rtsp/rtsp_options.h"
#include "camera/rtsp/unit_log.h"

#include <functional>
#include <optional>
#include <string_view>

namespace larkmoor::camera
{

/// What the RTSP server works with; all of it outlives the server.
struct RtspServices
{
    StreamHub& hub;
    Authenticator& authenticator;
    FaultPlan& faults;
    RequestLog& requests;
    TruthLog& truth;
    UnitLog& units;
    /// The stream that a path below the server's root stands for, without slashes at its ends; nothing if
    /// there is none. Called on the io_context's thread.
    std::function<std::optional<RtspTarget>(std::string_view path)> resolve;
};

} // namespace larkmoor::camera
