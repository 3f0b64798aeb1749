#pragma once

#include "camera/device/profile.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

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

/// A stream as RTSP offers it.
struct RtspTarget
{
    StreamId id;
    std::string group;      ///< multicast address, "" to offer none
    std::uint16_t port = 0; ///< RTP port of the group, even; RTCP has the next one
    std::uint8_t ttl = 15;
    bool announceGroup = true; ///< the description names the group, so that clients can go there
};

} // namespace larkmoor::camera
