#pragma once

#include "camera/auth/authenticator.h"
#include "camera/fault/fault_plan.h"
#include "camera/log/camera_log.h"
#include "camera/media/stream_hub.h"
#include "camera/rtsp/rtsp_target.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace larkmoor::camera
{

/// How the RTSP server serves, whatever the stream.
struct RtspOptions
{
    std::string bindAddress = "127.0.0.1"; ///< IPv4 in dotted form; "0.0.0.0" for every interface
    std::uint16_t port = 0;                ///< 0 takes a free one
    std::chrono::seconds sessionTimeout{60};
    std::chrono::milliseconds reportInterval{5000}; ///< from sender report to sender report
    std::uint64_t seed = 1;           ///< of all chances: session ids, SSRCs, first sequence numbers, faults
    std::size_t packetBytes = 1400;   ///< largest RTP packet, header included, 200 to 60000
    std::size_t queueBytes = 2 << 20; ///< what may wait for one client before whole frames are dropped

    bool aggregate = false;  ///< H.264: parameter sets travel in one STAP-A packet (RFC 6184, 5.7.1)
    bool delimiters = false; ///< H.264: an access unit delimiter opens each access unit
    bool infoUnits = false;  ///< H.264: an SEI unit stands before the slices
    bool stamps =
        false; ///< H.264: each access unit ends with the time of its sending, see docs/frame-stamp.md
};

/// What the RTSP server works with; all of it outlives the server.
struct RtspServices
{
    StreamHub& hub;
    Authenticator& authenticator;
    FaultPlan& faults;
    RequestLog& requests;
    TruthLog& truth;
    JsonLines& units; ///< every access unit of H.264, unit by unit
    /// The stream that a path below the server's root stands for, without slashes at its ends; nothing if
    /// there is none. Called on the io_context's thread.
    std::function<std::optional<RtspTarget>(std::string_view path)> resolve;
};

} // namespace larkmoor::camera
