#include "discovery/device_description.h"

#include "discovery/device_query.h"
#include "support/settings_folder.h"

#include <gtest/gtest.h>

namespace korvane
{

using namespace test;

TEST(CurrentDevice, TellsWhatItCanDo)
{
    ExpectSaved(kCurrent,
                {
                    {"two channels",
                     {{"capability_nvideoin", "2"},
                      {"network_rtsp_c0_s0_accessname", "a"},
                      {"network_rtsp_c1_s0_accessname", "b"},
                      {"network_http_c1_s1_accessname", "c"}},
                     {"value 0 = 2", kStreams + "2;!,!c;a!,b!"}},
                    {"counts that are not told",
                     {{"capability_nvideoin", "two"}, {"capability_nmediastream", "0"}},
                     {"value 0 = 1", kStreams + "4;video.mjpg!video2.mjpg!!;live.sdp!live2.sdp!!"}},
                    {"counts that can't be",
                     {{"capability_nvideoin", "4000000000"},
                      {"capability_ndi", "4000000000"},
                      {"capability_ndo", "-1"},
                      {"capability_npreset", "4000000000"}},
                     {"value 0 = 64", kPresets + "1024", "no value 2 =", "no value 3 ="}},
                    {"a model without RTSP",
                     {{"system_info_modelname", "FD7131"}},
                     {kOverHttp + "1", "value 11 = 0", "value 12 = 0"}},
                    {"a Sony",
                     {{"system_info_modelname", "snc-h7"}},
                     {"model = Sony snc-h7", kOverHttp + "0", "value 11 = 1"}},
                    {"digital signals",
                     {{"capability_ndi", "+2"}, {"capability_ndo", "1x"}},
                     {"value 2 = 2", "no value 3 ="}},
                    {"NTSC by mode",
                     {{"status_videomode_c0", "ntsc"}, {"status_videoactualmodulation", "pal"}},
                     {kStandard + "1"}},
                    {"PAL by modulation", {{"status_videoactualmodulation", "pal"}}, {kStandard + "0"}, 1},
                    {"a standard of another name", {{"status_videomode_c0", "secam"}}, {kStandard + "1"}, 1},
                    {"named sizes",
                     {{"capability_videoin_resolution", "QCIF,4 CIF,cif,D1"},
                      {"capability_videoin_maxframerate", ""}},
                     {kNotation + "2", "size 704x576 = 704 576 40", "size 720x576 = 720 576 40",
                      "no size 352x288 =", "default-frame-time = 40"}},
                    {"named sizes of NTSC",
                     {{"capability_videoin_resolution", "CIF,640x480"},
                      {"capability_videoin_maxframerate", "30,5"},
                      {"status_videomode_c0", "ntsc"}},
                     {kNotation + "2", "size 352x240 = 352 240 33", "no size 640x480 ="}},
                    {"a name between numbers",
                     {{"capability_videoin_resolution", "640 * 480 ,CIF,320/240p"},
                      {"capability_videoin_maxframerate", "30,5,20"}},
                     {kNotation + "1", "size 640x480 = 640 480 33", "size 320x240 = 320 240 50",
                      "no size 352x288 ="}},
                    {"sizes that can't be",
                     {{"capability_videoin_resolution",
                       "auto,0x480,640x0,640x,x480,65536x480,640x99999999999999999999,65535x65535"},
                      {"capability_videoin_maxframerate", "1,1,1,1,1,9,9,10"}},
                     {"size 65535x65535 = 65535 65535 100", "no size 640x480 =", "no size 65536x480 ="}},
                    {"rates that can't be",
                     {{"capability_videoin_maxframerate", "fast,0,-3,,4x,7"}},
                     {"size 176x144 = 176 144 143", "size 640x480 = 640 480 40", "frame-time = 143"}},
                    {"60 frames",
                     {{"capability_videoin_maxframerate", "60,60"}},
                     {"no frame-time = 17", "frame-time = 33", "size 640x480 = 640 480 17",
                      "default-frame-time = 40"}},
                    {"field to frame",
                     {{"videoin_c0_s0_field2frame", "0"}},
                     {"parameter 8 \"Frame-Mode Option\" number = 1"}},
                    {"no RTSP port", {{"network_rtsp_port", ""}}, {"parameter 3 \"RTSP port\" number = 554"}},
                    {"audio both ways",
                     {{"capability_naudioin", "1"},
                      {"capability_audioin_codec", "g726,aac4,g711"},
                      {"capability_naudioout", "1"},
                      {"capability_audioout_codec", "g711"}},
                     {"value 4 = 1", kAudioIn + "g711,g726", kAudioOut + "g711",
                      "parameter 101 \"Audio Input Parameters\" text = Count=1; IsStereo=0",
                      "parameter 102 \"Audio Output Parameters\" text = Count=1; IsStereo=0"}},
                    {"audio that is not told as 1",
                     {{"capability_naudioin", "2"},
                      {"capability_audioin_codec", "g711"},
                      {"capability_naudioout", "1"},
                      {"capability_audioout_codec", "mp3"}},
                     {"no value 4 =", "no parameter 101", "no parameter 102"}},
                });
}

TEST(CurrentDevice, TellsHowItsHeadMoves)
{
    Parameters names;
    for (const int preset : {0, 1, 2, 4})
        names["camctrl_c0_preset_i" + std::to_string(preset) + "_name"] = "";
    Parameters counted = With(names, {{"capability_npreset", "20 presets"}});
    counted["capability_ptzenabled"] = "1";
    names["capability_npreset"] = "0";
    const auto speeds = [](const std::string& least, const std::string& mostMove, const std::string& mostZoom)
    {
        return std::vector<std::string>{"parameter 10 \"PTZ min speed\" number = " + least,
                                        "parameter 11 \"PTZ max speed\" number = " + mostMove,
                                        "parameter 12 \"Zoom min speed\" number = " + least,
                                        "parameter 13 \"Zoom max speed\" number = " + mostZoom};
    };
    ExpectSaved(
        kCurrent,
        {
            {"presets by name", names, {kPresets + "3", kFlags + "00000001", "no value 1 ="}},
            {"presets by count", counted, {kPresets + "20", kFlags + "10000001", "value 1 = 1"}},
            {"all flags", {{"capability_ptzenabled", "127"}}, {kFlags + "11111111", "value 1 = 1"}},
            {"every other flag", {{"capability_ptzenabled", "170"}}, {kFlags + "01010100", "no value 1 ="}},
            {"speeds of no head", {}, speeds("0", "0", "0")},
            {"speeds by default",
             {{"capability_ptzenabled", "1"}, {"capability_ptz_panspeedlv", "9x"}},
             speeds("1", "7", "6")},
            {"speeds of the device",
             {{"capability_ptzenabled", "1"},
              {"capability_ptz_panspeedlv", "12"},
              {"capability_ptz_zoomspeedlv", "4"}},
             speeds("1", "12", "4")},
        });
}

TEST(CurrentDevice, TakesWhatAHeadCanDoFromTheSettings)
{
    const SettingsFolder folder;
    folder.Write(R"(<Configuration><Default><PTZ>
        <DeafultCapability type="1" subtype="XY" minmove="2" maxmove="20" minzoom="3" maxzoom="30"/>
        <SpecCapability device="SD81" type="0" subtype="S" minmove="5" maxmove="50" minzoom="6" maxzoom="60"/>
        <SpecCapability device="SD8121" subtype="XYS"/>
        </PTZ></Default></Configuration>)");
    const struct
    {
        const char* model;
        std::vector<std::string> expected;
    } cases[] = {
        {"PZ7",
         {"parameter 15 \"PTZ type\" number = 1", "parameter 16 \"PTZ subtype\" text = XY",
          "parameter 10 \"PTZ min speed\" number = 2", "parameter 11 \"PTZ max speed\" number = 9",
          "parameter 12 \"Zoom min speed\" number = 3", "parameter 13 \"Zoom max speed\" number = 30"}},
        {"SD8121",
         {"parameter 15 \"PTZ type\" number = 0", "parameter 16 \"PTZ subtype\" text = S",
          "parameter 10 \"PTZ min speed\" number = 5", "parameter 13 \"Zoom max speed\" number = 60"}},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.model);
        Query query(With(kCurrent, {{"system_info_modelname", c.model},
                                    {"capability_ptzenabled", "1"},
                                    {"capability_ptz_panspeedlv", "9"}}),
                    0, folder.Path());
        EXPECT_TRUE(query.Fetch());
        EXPECT_TRUE(query.properties.SaveProperties(&query.store));
        ExpectLines(query.store, c.expected);
    }
}

TEST(CurrentDevice, KeepsTheFirst256OfItsSizes)
{
    std::string sizes;
    std::string rates;
    for (int i = 1; i <= 300; ++i)
    {
        sizes += std::to_string(i) + "x" + std::to_string(i) + ",";
        rates += "10,";
    }
    Query query(With(kCurrent,
                     {{"capability_videoin_resolution", sizes}, {"capability_videoin_maxframerate", rates}}));
    EXPECT_TRUE(query.Fetch());
    EXPECT_TRUE(query.properties.SaveProperties(&query.store));
    ExpectLines(query.store, {"size 256x256 = 256 256 100", "no size 257x257 ="});
}

TEST(LegacyDevice, TellsWhatItsModelCanDo)
{
    ExpectSaved(kServer,
                {
                    {"PAL",
                     {},
                     {"value 2 = 2", "size 704x576 = 704 576 40", "default-frame-time = 83",
                      "frame-time = 111", "no frame-time = 33", kStandard + "0", kNotation + "0"},
                     1},
                    {"NTSC",
                     {{"video.actualmodulation", "0"}},
                     {"size 704x480 = 704 480 33", "default-frame-time = 67", kStandard + "1"}},
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
    ExpectSaved(kLegacyCamera,
                {
                    {"PAL", {}, {"default-frame-time = 67", kStandard + "0", kStreams + "4;;live.sdp"}, 1},
                    {"60 Hz",
                     {{"system.modelname", "IP7131"}, {"video.mode", "60"}},
                     {"size 160x120 = 160 120 33", kStandard + "0", "frame-time = 33"}},
                    {"blanks in the answer",
                     {{"network.accessname", " li ve.sdp "}, {"network.rtspport", "5 5 4 0"}},
                     {kStreams + "4;;live.sdp", "parameter 3 \"RTSP port\" number = 5540"}},
                });
}

} // namespace korvane
