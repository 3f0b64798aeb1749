#include "channels/encoder_request.h"

#include "channels/common_rtsp_channel.h"
#include "support/fake_driver.h"
#include "support/http_test_server.h"
#include "support/settings_folder.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace korvane
{
namespace
{

const std::string kSet = "/cgi-bin/admin/setparam.cgi?";

/// A channel with its request texts in reach; it never starts.
template <typename Channel>
class Open : public Channel
{
public:
    Open(test::FakeDriver& driver, const ChannelSettings& settings, std::uint32_t channel = 0)
        : Channel(channel, &driver, nullptr)
    {
        this->settings_ = settings;
    }
    using Channel::ConfigureDevice;
    using Channel::FillRequestChangeParametersInAlarm;
    using Channel::FillRequestParameters;
};
using H264 = Open<CH264ChannelRTSP>;
using Mpeg = Open<CMPEGChannelRTSP>;
using Jpeg = Open<CMJPEGChannelRTSP>;

template <typename Channel>
std::string Whole(test::FakeDriver& driver, const ChannelSettings& settings)
{
    return Channel(driver, settings, 1).FillRequestParameters(2);
}

std::string WholeOverHttp(test::FakeDriver& driver, const ChannelSettings& settings)
{
    const DeviceFacts device(driver);
    const CEncoderRequest request(kMjpegOverHttpEncoder, device, settings, 1, 2);
    return request.Codec() + request.Size() + request.FrameRate() + request.Quality();
}

TEST(EncoderRequest, AsksForTheWholeEncoder)
{
    const std::map<std::uint32_t, std::string> numeric = {{6, "1"}};
    const std::map<std::uint32_t, std::string> named = {{6, "2"}};
    const std::map<std::uint32_t, std::string> fields = {{6, "1"}, {8, "1"}};
    const struct
    {
        const char* name;
        std::function<std::string(test::FakeDriver&, const ChannelSettings&)> text;
        const char* qualityMode;
        std::map<std::uint32_t, std::string> properties;
        ChannelSettings settings;
        std::string request; // without what begins each; "N_" for the stream's parameters
    } cases[] = {
        {"H.264",
         Whole<H264>,
         "VBR",
         numeric,
         {640, 480, 40, 0, 0, 60},
         "N_codectype=h264&N_resolution=640x480&N_h264_maxframe=25&N_h264_intraperiod=1000"
         "&N_h264_ratecontrolmode=vbr&N_h264_quant=4&N_h264_qvalue=21"},
        {"H.264 at a bit rate",
         Whole<H264>,
         "CBR",
         numeric,
         {704, 576, 33, 0, 0, 50},
         "N_codectype=h264&N_resolution=704x576&N_h264_maxframe=30&N_h264_intraperiod=1000"
         "&N_h264_ratecontrolmode=cbr&N_h264_bitrate=4000005"},
        {"H.264 as the device is set, no rate asked for",
         Whole<H264>,
         "AUTO",
         fields,
         {640, 480, 0, 0, 0, 60},
         "N_codectype=h264&N_resolution=640x480&N_h264_maxframe=1&N_h264_intraperiod=1000"},
        {"MPEG-4",
         Whole<Mpeg>,
         "VBR",
         numeric,
         {640, 480, 40, 0, 0, 60},
         "N_codectype=mpeg4&N_resolution=640x480&N_mpeg4_maxframe=25&N_mpeg4_intraperiod=1000"
         "&N_mpeg4_ratecontrolmode=vbr&N_mpeg4_quant=4&N_mpeg4_qvalue=13"},
        {"MPEG-4 at a bit rate",
         Whole<Mpeg>,
         "CBR",
         named,
         {352, 240, 3000, 0, 0, 100},
         "N_codectype=mpeg4&N_resolution=CIF&N_mpeg4_maxframe=0&N_mpeg4_intraperiod=1000"
         "&N_mpeg4_ratecontrolmode=cbr&N_mpeg4_bitrate=8000000"},
        {"MPEG-4 of fields, no rate asked for",
         Whole<Mpeg>,
         "AUTO",
         fields,
         {640, 480, 0, 0, 0, 60},
         "N_codectype=mpeg4&N_field2frame=1&N_resolution=640x480&N_mpeg4_intraperiod=1000"},
        {"Motion JPEG, no rate asked for",
         Whole<Jpeg>,
         "CBR",
         fields,
         {352, 288, 0, 0, 0, 50},
         "N_codectype=mjpeg&N_resolution=352x288&N_mjpeg_maxframe=1&N_mjpeg_quant=3&N_mjpeg_qvalue=100"},
        {"Motion JPEG of a size without a name",
         Whole<Jpeg>,
         "VBR",
         named,
         {721, 576, 1000, 0, 0, 0},
         "N_codectype=mjpeg&N_resolution=&N_mjpeg_maxframe=1&N_mjpeg_quant=1&N_mjpeg_qvalue=200"},
        {"over HTTP",
         WholeOverHttp,
         "CBR",
         fields,
         {640, 480, 40, 0, 0, 80},
         "N_codectype=mjpeg&N_field2frame=1&N_resolution=640x480&N_mjpeg_maxframe=25&N_mjpeg_quant=5"
         "&N_mjpeg_qvalue=40"},
        {"over HTTP, no rate asked for",
         WholeOverHttp,
         "CBR",
         named,
         {352, 288, 0, 0, 0, 100},
         "N_codectype=mjpeg&N_resolution=CIF&N_mjpeg_quant=5&N_mjpeg_qvalue=10"},
        {"H.264 of an unknown camera type", Whole<H264>, "VBR", {}, {640, 480, 40, 0, 0, 60}, ""},
        {"MPEG-4 of an unknown camera type", Whole<Mpeg>, "VBR", {{6, "3"}}, {640, 480, 40, 0, 0, 60}, ""},
        {"Motion JPEG of an unknown camera type",
         Whole<Jpeg>,
         "VBR",
         {{6, "1x"}},
         {640, 480, 40, 0, 0, 60},
         ""},
    };
    const test::SettingsFolder folder;
    test::FakeDriver driver;
    driver.hostDirectory = folder.Path();
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        folder.Write("<Configuration><Default><VideoChannel><QualityMode>" + std::string(c.qualityMode) +
                     "</QualityMode></VideoChannel></Default></Configuration>");
        driver.properties = c.properties;
        std::string request = c.request.empty() ? "" : "&" + c.request;
        for (std::size_t at = 0; (at = request.find("&N_", at)) != std::string::npos;)
            request.replace(at, 3, "&videoin_c1_s2_");
        const std::string text = c.text(driver, c.settings);
        const bool isOverRtsp = text.starts_with("/");
        EXPECT_EQ(text, isOverRtsp ? kSet + "network_rtsp_authmode=disable" + request : request);
    }
}

TEST(EncoderRequest, ScalesQualityWithinTheCodecsBounds)
{
    const struct
    {
        const EncoderCodec& codec;
        std::uint32_t quality;
        std::uint32_t quant;
        std::int32_t qvalue;
    } cases[] = {
        {kH264Encoder, 0, 1, 51},      {kH264Encoder, 60, 4, 21},   {kH264Encoder, 100, 5, 0},
        {kMpeg4Encoder, 0, 1, 31},     {kMpeg4Encoder, 60, 4, 13},  {kMpeg4Encoder, 100, 5, 1},
        {kMjpegEncoder, 0, 1, 200},    {kMjpegEncoder, 19, 1, 162}, {kMjpegEncoder, 20, 2, 160},
        {kMjpegEncoder, 79, 4, 42},    {kMjpegEncoder, 80, 5, 40},  {kMjpegEncoder, 94, 5, 12},
        {kMjpegEncoder, 95, 5, 10},    {kMjpegEncoder, 96, 5, 10},  {kMjpegEncoder, 100, 5, 10},
        {kMjpegEncoder, 65535, 5, 10},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.codec.name + std::to_string(c.quality));
        const EncoderQuality quality(c.quality, c.codec);
        EXPECT_EQ(quality.quant, c.quant);
        EXPECT_EQ(quality.qvalue, c.qvalue);
    }
}

TEST(EncoderRequest, NamesSizesByTheirWidth)
{
    const struct
    {
        std::uint32_t width;
        const char* text;
    } cases[] = {{176, "QCIF"}, {177, "CIF"}, {352, "CIF"}, {353, "4CIF"},
                 {704, "4CIF"}, {705, "D1"},  {720, "D1"},  {721, ""}};
    test::FakeDriver driver;
    driver.properties[6] = "2";
    const DeviceFacts device(driver);
    for (const auto& c : cases)
    {
        const ChannelSettings settings{c.width, 240, 0, 0, 0, 0};
        EXPECT_EQ(CEncoderRequest(kH264Encoder, device, settings, 0, 0).Size(),
                  std::string("&videoin_c0_s0_resolution=") + c.text);
    }
}

TEST(EncoderRequest, ChangesOnlyWhatIsAsked)
{
    test::FakeDriver driver;
    driver.properties[6] = "2";
    const ChannelSettings settings{352, 240, 100, 0, 0, 50};
    EXPECT_EQ(H264(driver, settings).FillRequestChangeParametersInAlarm(0, false, true),
              kSet + "&videoin_c0_s0_h264_maxframe=10");
    EXPECT_EQ(Mpeg(driver, settings).FillRequestChangeParametersInAlarm(1, true, true),
              kSet + "&videoin_c0_s1_resolution=CIF&videoin_c0_s1_mpeg4_maxframe=10");
    EXPECT_EQ(Mpeg(driver, {352, 240, 0, 0, 0, 50}).FillRequestChangeParametersInAlarm(0, false, true), kSet);
    EXPECT_EQ(Jpeg(driver, settings).FillRequestChangeParametersInAlarm(0, true, false),
              kSet + "&videoin_c0_s0_resolution=CIF");
    driver.properties.erase(6);
    EXPECT_EQ(H264(driver, settings).FillRequestChangeParametersInAlarm(0, true, true), "");
}

TEST(EncoderRequest, TellsALegacyServerOnlyWhatItHasOtherwise)
{
    const std::string right = "video.enable.0=1\r\nvideo.color.0=1\r\nvideo.size.0=3\r\nvideo.quality.0=4\r\n"
                              "video.maxframe.0=25\r\n";
    const std::string other =
        "video.enable.1=0\r\nvideo.size.1=3\r\nvideo.quality.1=04\r\nvideo.maxframe.1=30\r\n";
    const struct
    {
        const char* name;
        std::uint32_t channel;
        ChannelSettings settings;
        std::string parameters;
        const char* changes;
    } cases[] = {
        {"all right", 0, {704, 480, 40, 0, 0, 60}, right, ""},
        {"another channel's values",
         1,
         {704, 480, 40, 0, 0, 60},
         right,
         "video.enable.1=1&video.color.1=1&video.size.1=3&video.quality.1=4&video.maxframe.1=25"},
        {"some wrong, one missing, one written otherwise",
         1,
         {704, 480, 40, 0, 0, 60},
         other,
         "video.enable.1=1&video.color.1=1&video.maxframe.1=25"},
        {"no rate asked for", 1, {704, 480, 0, 0, 0, 60}, other, "video.enable.1=1&video.color.1=1"},
        {"a rate below 1", 0, {704, 480, 3000, 0, 0, 60}, right, "video.maxframe.0=0"},
        {"garbage",
         0,
         {704, 480, 0, 0, 0, 60},
         "video.enable.0=yes\r\nvideo.color.0\r\n=3\r\n",
         "video.enable.0=1&video.color.0=1&video.size.0=3&video.quality.0=4"},
        {"smallest size", 0, {176, 144, 40, 0, 0, 60}, right, "video.size.0=1"},
        {"middle size", 0, {352, 288, 40, 0, 0, 60}, right, "video.size.0=2"},
        {"flat size", 0, {704, 399, 40, 0, 0, 60}, right, "video.size.0=6"},
        {"largest size", 0, {704, 400, 40, 0, 0, 60}, right, ""},
        {"unknown size", 0, {640, 480, 40, 0, 0, 60}, right, "video.size.0=1"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(LegacyMjpegChanges(c.channel, c.settings, c.parameters), c.changes) << c.name;
    EXPECT_EQ(LegacyMjpegPath(1, {704, 480, 40, 0, 0, 60}), "/cgi-bin/video.jpg?cam=2&quality=4&size=3");
}

TEST(EncoderRequest, TellsALegacyCameraOnlyWhatItHasOtherwise)
{
    const std::string right = "video.resolution='640 x480'\r\nvideo.keyinterval='1'\r\nvideo.color=1\r\n"
                              "video.quality='1'\r\nvideo.quant='3'\r\n";
    const struct
    {
        const char* name;
        std::string answer;
        std::uint32_t intervalMs;
        std::string request; // "-" for a configuration that fails
    } cases[] = {
        {"all right", right + "video.maxframe='25'\r\n", 40, ""},
        {"no rate is asked for", right + "video.maxframe='7'\r\n", 0, ""},
        {"30 at 60 Hz", right + "video.mode='60'\r\n", 33, "video.maxframe=30"},
        {"30 elsewhere", right + "video.mode='50'\r\n", 33, "video.maxframe=25"},
        {"30 of an unknown standard", right, 33, "video.maxframe=25"},
        {"nothing known", "x=1\r\n", 40,
         "video.resolution=640x480&video.keyinterval=1&video.color=1&video.quality=1&video.quant=3"
         "&video.maxframe=25"},
        {"nothing said", "", 40, "-"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        test::HttpTestServer server([&](test::TestHttpPeer& peer, const test::TestHttpRequest&)
                                    { return peer.Send(test::HttpTestServer::Response(200, c.answer)); });
        test::FakeDriver driver;
        driver.device.port = server.Port();
        driver.properties[9] = "1";
        EXPECT_EQ(Mpeg(driver, {640, 480, c.intervalMs, 0, 0, 50}).ConfigureDevice(), c.request != "-");
        std::vector<std::string> targets;
        for (const auto& request : server.Requests())
            targets.push_back(request.target);
        std::vector<std::string> wanted = {"/cgi-bin/admin/getparam.cgi?video"};
        if (c.request.size() > 1)
            wanted.push_back(kSet + c.request);
        EXPECT_EQ(targets, wanted);
    }
}

} // namespace
} // namespace korvane
