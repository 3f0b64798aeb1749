#include "system/fault_rig.h"

#include <gtest/gtest.h>

namespace larkmoor::test
{
namespace
{

constexpr bool kExact = true;
constexpr bool kByUnits = false;

constexpr const char* kSlices = "videoin_c0_s0_h264_slices=4";
constexpr std::size_t kFew = 30;         // frames
constexpr std::size_t kTenSeconds = 160; // frames

/// Faults that mean the same to both transports.
std::vector<FaultRow> CommonRows()
{
    return {
        {"half-open", kLost, kQuiet, "no frame for 10 s; the new stream's first request is never answered"},
        {"freeze", kLost, kQuiet, "no frame for 10 s"},
        {"reboot", kRecovers, kRecovers, "over by itself after 3 s"},
        {"http-401-once", kGoesOn, kGoesOn, "the request goes out anew, with credentials", kExact, kDigest},
        {"auth-stale", kGoesOn, kGoesOn, "RTSP asks for none: the first request has switched that off",
         kExact, kDigest},
        {"auth-both=basic-first", kGoesOn, kGoesOn, "", kExact, kDigest},
        {"auth-both=digest-first", kGoesOn, kGoesOn, "", kExact, kBasic},
        {"auth-both=basic-first",
         kGoesOn,
         kGoesOn,
         "RTSP asks too",
         kExact,
         kDigest,
         {},
         kFew,
         {"rtsp-auth-kept"}},
        {"auth-both=digest-first",
         kGoesOn,
         kGoesOn,
         "RTSP asks too",
         kExact,
         kBasic,
         {},
         kFew,
         {"rtsp-auth-kept"}},
        {"auth-refuse", kGoesOn, kQuiet, "", kExact, kDigest},
        {"busy-503=1", kGoesOn, kQuiet, ""},
        {"session-short", kGoesOn, kGoesOn, "OPTIONS come every 4 to 6 s", kExact, kNoAuth, {}, kTenSeconds},
        {"sprop-missing", kGoesOn, kQuiet, "a format line without parameter sets fails the description"},
        {"sprop-missing=no-line", kGoesOn, kGoesOn, "parameter sets are taken from the stream"},
        {"sprop-only", kGoesOn, kQuiet,
         "sets of the description don't reach the parser: a new stream never sees a key frame, and the old "
         "one "
         "hands its pictures on without sets, all as other frames",
         kByUnits},
        {"sdp-broken", kGoesOn, kGoesOn, ""},
        {"base-odd=absent", kGoesOn, kGoesOn, "the address that was asked for is the base"},
        {"base-odd=no-scheme", kGoesOn, kQuiet, "a Content-Base without rtsp:// fails the response"},
        {"base-odd=no-slash", kGoesOn, kGoesOn, ""},
        {"base-odd=absolute-control", kGoesOn, kGoesOn, ""},
        {"rtp-loss=0.01", kGoesOn, kGoesOn, "from a gap to the next key frame nothing is handed on"},
        {"rtp-loss=0.005", kGoesOn, kGoesOn, "with several slices", kByUnits, kNoAuth, {kSlices}},
        {"rtp-dup=0.01", kGoesOn, kGoesOn,
         "a repeat is a break too; a parameter set that comes twice is taken the second time, so the frame "
         "is "
         "whole",
         kByUnits},
        {"rtp-reorder=0.01", kGoesOn, kGoesOn, "as a loss", kByUnits},
        {"rtp-loss=0.002,rtp-dup=0.002,rtp-reorder=0.002",
         kGoesOn,
         kGoesOn,
         "with several slices",
         kByUnits,
         kNoAuth,
         {kSlices}},
        {"foreign-ssrc=0.02", kGoesOn, kGoesOn, "a foreign packet is a break in the sequence"},
        {"seq-jump", kGoesOn, kGoesOn, "as a loss"},
        {"seq-jump=once", kGoesOn, kGoesOn, "as two losses"},
        {"ts-jump", kGoesOn, kGoesOn, ""},
        {"ts-jump=once", kGoesOn, kGoesOn, ""},
        {"ts-back", kGoesOn, kGoesOn, ""},
        {"ts-back=once", kGoesOn, kGoesOn, ""},
        {"no-marker", kLost, kQuiet, "no frame ever ends"},
        {"sps-change", kGoesOn, kGoesOn, "the frames say their size"},
        {"rtcp-flood", kGoesOn, kGoesOn, ""},
        {"", kGoesOn, kGoesOn, "several slices and no fault", kExact, kNoAuth, {kSlices}},
    };
}

camera::CameraOptions SmallPackets()
{
    camera::CameraOptions options;
    options.rtsp.packetBytes = 300; // even the small pictures of a test travel in several
    return options;
}

TEST(RtspFaults, LeaveNoStreamBehindOverUdp)
{
    std::vector<FaultRow> rows = CommonRows();
    const std::vector<FaultRow> own = {
        {"reset=3s",
         kRecovers,
         kRecovers,
         "in the middle of the answer to OPTIONS; seen by the silence of 10 s",
         kExact,
         kNoAuth,
         {},
         kFew,
         {"session-short"}},
        {"keepalive-400", kRecovers, kRecovers, "a failed OPTIONS counts as a dead session"},
        {"keepalive-silent", kRecovers, kGoesOn, "seen after the time-out of 10 s"},
        {"auth-stale",
         kGoesOn,
         kQuiet,
         "a challenge of the scheme in use isn't answered twice: SETUP fails with DESCRIBE's nonce",
         kExact,
         kDigest,
         {},
         kFew,
         {"rtsp-auth-kept"}},
        {"bye", kGoesOn, kGoesOn, "media count, not the farewell"},
        {"bye=media-stop", kRecovers, kRecovers, "no frame for 10 s"},
    };
    rows.insert(rows.begin(), own.begin(), own.end()); // the longest first
    PlayRows(rows, SmallPackets(), kH264, host::Transport::Udp);
}

TEST(RtspFaults, LeaveNoStreamBehindInterleaved)
{
    std::vector<FaultRow> rows = CommonRows();
    const std::vector<FaultRow> own = {
        {"reset=3s", kRecovers, kRecovers, "the next keep-alive fails on the lost connection"},
        {"keepalive-400", kGoesOn, kGoesOn, "no OPTIONS while media flow"},
        {"keepalive-silent", kGoesOn, kGoesOn, "no OPTIONS while media flow"},
        {"interleaved-garbage", kGoesOn, kGoesOn, ""},
        {"interleaved-early", kGoesOn, kGoesOn, ""},
        {"interleaved-cut", kGoesOn, kGoesOn, ""},
        {"bye", kRecovers, kRecovers, "ends the session"},
        {"bye=media-stop", kRecovers, kRecovers, "ends the session"},
    };
    rows.insert(rows.begin(), own.begin(), own.end()); // the longest first
    PlayRows(rows, SmallPackets(), kH264, host::Transport::Tcp);
}

} // namespace
} // namespace larkmoor::test
