#include "system/fault_rig.h"

#include <gtest/gtest.h>

namespace larkmoor::test
{
namespace
{

TEST(HttpFaults, LeaveNoStreamBehind)
{
    const std::vector<FaultRow> rows = {
        {"freeze", kLost, kQuiet, "a read ends after the time-out of 10 s"},
        {"half-open", kLost, kQuiet, "as freeze; the new stream's first request is never answered"},
        {"reset=2s", kRecovers, kRecovers, "each new stream lives for less than 2 s"},
        {"reboot", kRecovers, kRecovers, "over by itself after 3 s"},
        {"http-401-once", kGoesOn, kGoesOn, "the first attempt fails, the second one is a second later"},
        {"http-401-once,cgi-invalid", kGoesOn, kGoesOn, "credentials are tried anew", true, kDigest},
        {"auth-stale", kGoesOn, kGoesOn, "a refused nonce is forgotten", true, kDigest},
        {"auth-stale=no-flag", kGoesOn, kGoesOn, "a refused nonce is forgotten", true, kDigest},
        {"auth-both=basic-first", kGoesOn, kGoesOn, "either will do", true, kDigest},
        {"auth-both=digest-first", kGoesOn, kGoesOn, "either will do", true, kBasic},
        {"auth-refuse", kGoesOn, kQuiet, "a stream that is there asks for nothing", true, kBasic},
        {"busy-503=1", kGoesOn, kQuiet, "of the three requests of a start only the first is taken"},
        {"busy-401=1", kGoesOn, kQuiet, "as busy-503", true, kDigest},
        {"slow-http=bytes", kQuiet, kQuiet,
         "silence counts from the last byte: the stream is never given up"},
        {"slow-http=headers", kGoesOn, kQuiet, "a head has a bound"},
        {"slow-http=short", kGoesOn, kGoesOn, "what came of the body is taken"},
        {"slow-http=long", kGoesOn, kGoesOn, "what comes beyond the body is dropped with the connection"},
        {"cgi-garbage=binary", kGoesOn, kGoesOn, "no sensor mode can be read, so none is set"},
        {"cgi-garbage=10mb", kGoesOn, kGoesOn, "the body is read up to its bound"},
        {"cgi-garbage=empty", kGoesOn, kQuiet,
         "without an answer the sensor mode isn't known: no stream is asked for"},
        {"cgi-garbage=quotes", kGoesOn, kGoesOn, "quotes are taken out wherever they stand"},
        {"cgi-invalid", kGoesOn, kGoesOn, "the answer to setparam isn't looked at"},
        {"mjpeg-odd=no-length", kGoesOn, kGoesOn, "pictures are found by their markers"},
        {"mjpeg-odd=no-boundary-dashes", kGoesOn, kGoesOn, "pictures are found by their markers"},
        {"mjpeg-odd=no-part-headers", kGoesOn, kGoesOn, "pictures are found by their markers"},
        {"mjpeg-odd=chunked", kGoesOn, kGoesOn, "the framing of HTTP is taken off below"},
        {"mjpeg-odd=cut", kGoesOn, kGoesOn, "the cut picture is dropped at the beginning of the next"},
        {"mjpeg-odd=thumbnail", kGoesOn, kGoesOn, "markers lead to the thumbnail, which is then the frame"},
        {"mjpeg-odd=no-length,mjpeg-odd=no-part-headers,mjpeg-odd=chunked,mjpeg-odd=cut", kGoesOn, kGoesOn,
         "all at once"},
    };
    PlayRows(rows, {}, kMjpeg, host::Transport::Http);
}

} // namespace
} // namespace larkmoor::test
