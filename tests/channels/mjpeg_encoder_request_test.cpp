#include "channels/mjpeg_encoder_request.h"

#include <gtest/gtest.h>

namespace korvane::MjpegRequest
{
namespace
{

ChannelSettings Settings(std::uint32_t width, std::uint32_t height, std::uint32_t frameIntervalMs,
                         std::uint32_t quality)
{
    ChannelSettings settings;
    settings.width = width;
    settings.height = height;
    settings.frameIntervalMs = frameIntervalMs;
    settings.quality = quality;
    return settings;
}

TEST(MjpegEncoderRequest, TellsTheWholeEncoder)
{
    const struct
    {
        const char* name;
        std::uint32_t channel;
        ChannelSettings settings;
        const char* resolution;
        bool fieldToFrame;
        const char* request;
    } cases[] = {
        {"all of it", 1, Settings(640, 480, 40, 80), "640x480", true,
         "/cgi-bin/admin/setparam.cgi?videoin_c1_s0_codectype=mjpeg&videoin_c1_s0_field2frame=1"
         "&videoin_c1_s0_resolution=640x480&videoin_c1_s0_mjpeg_maxframe=25&videoin_c1_s0_mjpeg_quant=5"
         "&videoin_c1_s0_mjpeg_qvalue=40"},
        {"no rate asked for, best quality", 0, Settings(352, 288, 0, 100), "CIF", false,
         "/cgi-bin/admin/setparam.cgi?videoin_c0_s0_codectype=mjpeg&videoin_c0_s0_resolution=CIF"
         "&videoin_c0_s0_mjpeg_quant=5&videoin_c0_s0_mjpeg_qvalue=10"},
        {"worst quality", 0, Settings(352, 288, 33, 0), "CIF", false,
         "/cgi-bin/admin/setparam.cgi?videoin_c0_s0_codectype=mjpeg&videoin_c0_s0_resolution=CIF"
         "&videoin_c0_s0_mjpeg_maxframe=30&videoin_c0_s0_mjpeg_quant=1&videoin_c0_s0_mjpeg_qvalue=200"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(Encoder(c.channel, c.settings, c.resolution, c.fieldToFrame), c.request);
    }
}

TEST(MjpegEncoderRequest, ScalesQuality)
{
    const struct
    {
        std::uint32_t quality;
        std::uint32_t quant;
        std::int32_t qvalue;
    } cases[] = {{0, 1, 200}, {19, 1, 162}, {20, 2, 160}, {79, 4, 42},  {80, 5, 40},
                 {94, 5, 12}, {95, 5, 10},  {96, 5, 10},  {100, 5, 10}, {65535, 5, 10}};
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.quality);
        EXPECT_EQ(Quant(c.quality), c.quant);
        EXPECT_EQ(QValue(c.quality), c.qvalue);
    }
}

TEST(MjpegEncoderRequest, NamesSizes)
{
    const struct
    {
        std::uint32_t cameraType;
        std::uint32_t width;
        const char* text;
    } cases[] = {
        {1, 1280, "1280x240"}, {2, 176, "QCIF"}, {2, 177, "CIF"}, {2, 352, "CIF"},
        {2, 353, "4CIF"},      {2, 704, "4CIF"}, {2, 705, "D1"},  {2, 720, "D1"},
        {2, 721, ""},          {0, 640, ""},     {3, 640, ""},    {0x80000000u, 640, ""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ResolutionText(c.cameraType, Settings(c.width, 240, 0, 0)), c.text)
            << c.cameraType << " " << c.width;

    EXPECT_STREQ(SensorMode(800), "framerate");
    EXPECT_STREQ(SensorMode(801), "quality");

    const struct
    {
        std::uint32_t width, height, code;
    } legacy[] = {{176, 144, 1}, {352, 288, 2}, {704, 399, 6}, {704, 400, 3}, {640, 480, 1}};
    for (const auto& c : legacy)
        EXPECT_EQ(LegacySizeCode(Settings(c.width, c.height, 0, 0)), c.code) << c.width;
}

TEST(MjpegEncoderRequest, ChangesOnlyWhatIsWrongOnALegacyDevice)
{
    const ChannelSettings settings = Settings(704, 480, 40, 60);
    const std::string right = "video.enable.0=1\r\nvideo.color.0=1\r\nvideo.size.0=3\r\nvideo.quality.0=4\r\n"
                              "video.maxframe.0=25\r\n";
    const std::string other =
        "video.enable.1=0\r\nvideo.size.1=3\r\nvideo.quality.1=04\r\nvideo.maxframe.1=30\r\n";
    const struct
    {
        const char* name;
        std::uint32_t channel;
        std::uint32_t frameIntervalMs;
        std::string parameters;
        const char* request;
    } cases[] = {
        {"all right", 0, 40, right, ""},
        {"another channel's values", 1, 40, right,
         "/cgi-bin/admin/setparam.cgi?video.enable.1=1&video.color.1=1&video.size.1=3&video.quality.1=4"
         "&video.maxframe.1=25"},
        {"some wrong, one missing, one written otherwise", 1, 40, other,
         "/cgi-bin/admin/setparam.cgi?video.enable.1=1&video.color.1=1&video.maxframe.1=25"},
        {"no rate asked for", 1, 0, other, "/cgi-bin/admin/setparam.cgi?video.enable.1=1&video.color.1=1"},
        {"garbage", 0, 0, "video.enable.0=yes\r\nvideo.color.0\r\n=3\r\n",
         "/cgi-bin/admin/setparam.cgi?video.enable.0=1&video.color.0=1&video.size.0=3&video.quality.0=4"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        ChannelSettings asked = settings;
        asked.frameIntervalMs = c.frameIntervalMs;
        EXPECT_EQ(LegacyEncoder(c.channel, asked, c.parameters), c.request);
    }
    EXPECT_EQ(LegacyStreamPath(1, settings), "/cgi-bin/video.jpg?cam=2&quality=4&size=3");
}

} // namespace
} // namespace korvane::MjpegRequest
