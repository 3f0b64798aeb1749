#include "camera/encoding/video_parameters.h"

#include <gtest/gtest.h>

using namespace larkmoor::camera;

TEST(VideoParameters, SayHowToEncode)
{
    const struct
    {
        const char* name;
        const char* profile;
        ParameterStore::Items items;
        StreamId id;
        const char* settings;
    } cases[] = {
        {"what a recorder asks for",
         "single",
         {{"videoin_c0_s0_codectype", "h264"},
          {"videoin_c0_s0_resolution", "1280x720"},
          {"videoin_c0_s0_h264_maxframe", "12"},
          {"videoin_c0_s0_h264_ratecontrolmode", "vbr"},
          {"videoin_c0_s0_h264_qvalue", "21"}},
         {0, 0},
         "h264 1280x720 12 q21 1000000 1000ms"},
        {"constant bit rate",
         "single",
         {{"videoin_c0_s2_codectype", "mpeg4"},
          {"videoin_c0_s2_mpeg4_ratecontrolmode", "cbr"},
          {"videoin_c0_s2_mpeg4_bitrate", "4000005"},
          {"videoin_c0_s2_mpeg4_intraperiod", "2000"}},
         {0, 2},
         "mpeg4 640x480 25 b10 4000005 2000ms"},
        {"the codec's own numbers",
         "single",
         {{"videoin_c0_s1_codectype", "mjpeg"},
          {"videoin_c0_s1_mjpeg_qvalue", "200"},
          {"videoin_c0_s1_mjpeg_maxframe", "5"},
          {"videoin_c0_s1_h264_maxframe", "30"}},
         {0, 1},
         "mjpeg 640x480 5 q200 1000000 1000ms"},
        {"sizes by name, PAL",
         "server",
         {{"videoin_c1_s0_resolution", "D1"}},
         {1, 0},
         "h264 720x576 25 q26 1000000 1000ms"},
        {"older video server",
         "vs2403",
         {{"video.size.3", "3"}, {"video.quality.3", "1"}, {"video.maxframe.3", "7"}},
         {3, 0},
         "mjpeg 704x576 7 q180 1000000 1000ms"},
        {"older camera",
         "ip7135",
         {{"video.resolution", "160x120"}, {"video.quant", "5"}, {"video.keyinterval", "3"}},
         {0, 0},
         "mpeg4 160x120 25 q4 1000000 3000ms"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        const Profile profile = Profile::Find(c.profile).value();
        ParameterStore store;
        profile.Fill(store);
        EXPECT_EQ(store.Change(c.items), ParameterStore::Items());
        const VideoSettings settings = ReadVideoSettings(store, profile, c.id);
        const char* const codecs[] = {"mjpeg", "mpeg4", "h264"};
        const bool constant = settings.rateControl == RateControl::ConstantBitrate;
        EXPECT_EQ(std::string(codecs[static_cast<int>(settings.codec)]) + " " +
                      std::to_string(settings.width) + "x" + std::to_string(settings.height) + " " +
                      std::to_string(settings.frameRate) + (constant ? " b" : " q") +
                      std::to_string(settings.quantizer) + " " + std::to_string(settings.bitrate) + " " +
                      std::to_string(settings.keyInterval) + "ms",
                  c.settings);
    }
}

TEST(VideoParameters, FindStreamsByAccessName)
{
    const struct
    {
        const char* profile;
        const char* protocol;
        const char* name;
        std::optional<StreamId> id;
    } cases[] = {
        {"single", "http", "/video.mjpg", StreamId{0, 0}},
        {"single", "http", "video2.mjpg", StreamId{0, 1}},
        {"single", "rtsp", "/live4.sdp", StreamId{0, 3}},
        {"single", "rtsp", "/video.mjpg", std::nullopt},
        {"server", "rtsp", "/live2_1.sdp", StreamId{1, 0}},
        {"ip7135", "rtsp", "/live.sdp", StreamId{0, 0}},
        {"vs2403", "http", "/", std::nullopt},
        {"single", "http", "//video.mjpg", std::nullopt},
    };
    for (const auto& c : cases)
    {
        const Profile profile = Profile::Find(c.profile).value();
        ParameterStore store;
        profile.Fill(store);
        EXPECT_EQ(FindStream(store, profile, c.protocol, c.name), c.id) << c.profile << " " << c.name;
    }
}

TEST(VideoParameters, AQualityStepBringsItsValue)
{
    ParameterStore::Items items = {{"videoin_c0_s0_mjpeg_quant", "5"},
                                   {"videoin_c0_s1_h264_quant", "1"},
                                   {"videoin_c0_s2_h264_quant", "1"},
                                   {"videoin_c0_s2_h264_qvalue", "9"},
                                   {"videoin_c0_s3_mpeg4_quant", "x"}};
    CompleteQuality(items);
    ASSERT_EQ(items.size(), 7u);
    EXPECT_EQ(items[5], ParameterStore::Item("videoin_c0_s0_mjpeg_qvalue", "20"));
    EXPECT_EQ(items[6], ParameterStore::Item("videoin_c0_s1_h264_qvalue", "46"));
}
