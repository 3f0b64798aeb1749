#include "discovery/legacy_device.h"

#include "discovery/device_query.h"

#include <gtest/gtest.h>

namespace korvane
{

using namespace test;

TEST(LegacyDevice, IsAVideoServer)
{
    ExpectSaved(kServer,
                {
                    {"PAL",
                     {},
                     {"model = Vivotek VS2403",
                      "value 0 = 2",
                      "value 2 = 2",
                      "value 3 = 4",
                      "value 7 = 1",
                      "value 11 = 0",
                      "value 12 = 0",
                      "no value 6 =",
                      "size 176x144 = 176 144 40",
                      "size 352x288 = 352 288 40",
                      "size 704x288 = 704 288 40",
                      "size 704x576 = 704 576 40",
                      "default-frame-time = 83",
                      "frame-time = 111",
                      "no frame-time = 33",
                      kStandard + "0",
                      kOverHttp + "1",
                      kNotation + "0",
                      kStreams + "4;;",
                      "parameter 9 \"Discontinued Device\" number = 1",
                      "parameter 3 \"RTSP port\" number = 554",
                      kFlags + "00000000"},
                     1},
                    {"NTSC",
                     {{"video.actualmodulation", "0"}},
                     {"size 176x120 = 176 120 33", "size 704x480 = 704 480 33", "default-frame-time = 67",
                      "frame-time = 33", kStandard + "1"}},
                    {"a standard that is not told", {{"video.actualmodulation", "2"}}, {kStandard + "1"}, 1},
                    {"rates too high for a frame time",
                     {{"video.maxframe.0", "32"}},
                     {"size 176x144 = 176 144 0", "frame-time = 31", "default-frame-time = 50"}},
                    {"the highest rate with a frame time",
                     {{"video.maxframe.0", "31"}},
                     {"size 176x144 = 176 144 32"}},
                    {"two names in one model",
                     {{"system.modelname", "IP7135-VS2403"}},
                     {"value 3 = 4", "value 7 = 1"}},
                });
}

TEST(LegacyDevice, IsACamera)
{
    ExpectSaved(kLegacyCamera,
                {
                    {"PAL",
                     {},
                     {"model = Vivotek IP7135", "value 0 = 1", "value 6 = 1", "no value 7 =", "no value 2 =",
                      "no value 3 =", "size 160x120 = 160 120 40", "size 640x480 = 640 480 40",
                      "default-frame-time = 67", kStandard + "0", kOverHttp + "1", kStreams + "4;;live.sdp",
                      "parameter 9 \"Discontinued Device\" number = 1"},
                     1},
                    {"60 Hz",
                     {{"system.modelname", "IP7131"}, {"video.mode", "60"}},
                     {"size 160x120 = 160 120 33", kStandard + "0", "frame-time = 33"}},
                    {"blanks in the answer",
                     {{"network.accessname", " li ve.sdp "}, {"network.rtspport", "5 5 4 0"}},
                     {kStreams + "4;;live.sdp", "parameter 3 \"RTSP port\" number = 5540"}},
                });
}

} // namespace korvane
