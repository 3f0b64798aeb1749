#include "channels/encoder_request.h"

#include "channels/common_rtsp_channel.h"
#include "support/fake_driver.h"
#include "support/http_test_server.h"
#include "support/settings_folder.h"
#include "support/table.h"

#include <gtest/gtest.h>

#include <regex>

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
    using Text = const char*;
    using Number = std::uint32_t;
    using Asks = std::string (*)(test::FakeDriver&, const ChannelSettings&);
    // The file's quality mode, the device's camera type and whether it has fields; width, height, interval
    // and quality; the request without what begins each, with "N_" for the stream's parameters.
    for (const auto& [name, asks, mode, type, fields, width, height, intervalMs, quality, request] :
         test::Table<Text, Asks, Text, Text, Text, Number, Number, Number, Number, std::string>{
             {"H.264", Whole<H264>, "VBR", "1", "", 640, 480, 40, 60,
              "&N_codectype=h264&N_resolution=640x480&N_h264_maxframe=25&N_h264_intraperiod=1000"
              "&N_h264_ratecontrolmode=vbr&N_h264_quant=4&N_h264_qvalue=21"},
             {"H.264 at a bit rate", Whole<H264>, "CBR", "1", "", 704, 576, 33, 50,
              "&N_codectype=h264&N_resolution=704x576&N_h264_maxframe=30&N_h264_intraperiod=1000"
              "&N_h264_ratecontrolmode=cbr&N_h264_bitrate=4000005"},
             {"H.264 as the device is set, no rate asked for", Whole<H264>, "AUTO", "1", "1", 640, 480, 0, 60,
              "&N_codectype=h264&N_resolution=640x480&N_h264_maxframe=1&N_h264_intraperiod=1000"},
             {"MPEG-4", Whole<Mpeg>, "VBR", "1", "", 640, 480, 40, 60,
              "&N_codectype=mpeg4&N_resolution=640x480&N_mpeg4_maxframe=25&N_mpeg4_intraperiod=1000"
              "&N_mpeg4_ratecontrolmode=vbr&N_mpeg4_quant=4&N_mpeg4_qvalue=13"},
             {"MPEG-4 at a bit rate", Whole<Mpeg>, "CBR", "2", "", 352, 240, 3000, 100,
              "&N_codectype=mpeg4&N_resolution=CIF&N_mpeg4_maxframe=0&N_mpeg4_intraperiod=1000"
              "&N_mpeg4_ratecontrolmode=cbr&N_mpeg4_bitrate=8000000"},
             {"MPEG-4 of fields, no rate asked for", Whole<Mpeg>, "AUTO", "1", "1", 640, 480, 0, 60,
              "&N_codectype=mpeg4&N_field2frame=1&N_resolution=640x480&N_mpeg4_intraperiod=1000"},
             {"Motion JPEG, no rate asked for", Whole<Jpeg>, "CBR", "1", "1", 352, 288, 0, 50,
              "&N_codectype=mjpeg&N_resolution=352x288&N_mjpeg_maxframe=1&N_mjpeg_quant=3&N_mjpeg_qvalue="
              "100"},
             {"Motion JPEG of a size without a name", Whole<Jpeg>, "VBR", "2", "", 721, 576, 1000, 0,
              "&N_codectype=mjpeg&N_resolution=&N_mjpeg_maxframe=1&N_mjpeg_quant=1&N_mjpeg_qvalue=200"},
             {"over HTTP", WholeOverHttp, "CBR", "1", "1", 640, 480, 40, 80,
              "&N_codectype=mjpeg&N_field2frame=1&N_resolution=640x480&N_mjpeg_maxframe=25&N_mjpeg_quant=5"
              "&N_mjpeg_qvalue=40"},
             {"over HTTP, no rate asked for", WholeOverHttp, "CBR", "2", "", 352, 288, 0, 100,
              "&N_codectype=mjpeg&N_resolution=CIF&N_mjpeg_quant=5&N_mjpeg_qvalue=10"},
             {"H.264 of an unknown camera type", Whole<H264>, "VBR", "", "", 640, 480, 40, 60, ""},
             {"MPEG-4 of an unknown camera type", Whole<Mpeg>, "VBR", "3", "", 640, 480, 40, 60, ""},
             {"Motion JPEG of an unknown camera type", Whole<Jpeg>, "VBR", "1x", "", 640, 480, 40, 60, ""},
         })
    {
        const test::SettingsFolder folder;
        folder.Write("<Configuration><Default><VideoChannel><QualityMode>" + std::string(mode) +
                     "</QualityMode></VideoChannel></Default></Configuration>");
        test::FakeDriver driver;
        driver.hostDirectory = folder.Path();
        driver.properties = {{6, type}, {8, fields}};
        const std::string begin = asks == WholeOverHttp ? "" : kSet + "network_rtsp_authmode=disable";
        const std::string wanted = std::regex_replace(request, std::regex("&N_"), "&videoin_c1_s2_");
        EXPECT_EQ(asks(driver, {width, height, intervalMs, 0, 0, quality}),
                  wanted.empty() ? "" : begin + wanted)
            << name;
    }
}

TEST(EncoderRequest, ScalesQualityWithinTheCodecsBounds)
{
    for (const auto& [codec, asked, quant, qvalue] :
         test::Table<const EncoderCodec&, std::uint32_t, std::uint32_t, std::int32_t>{
             {kH264Encoder, 0, 1, 51},
             {kH264Encoder, 60, 4, 21},
             {kH264Encoder, 100, 5, 0},
             {kMpeg4Encoder, 0, 1, 31},
             {kMpeg4Encoder, 60, 4, 13},
             {kMpeg4Encoder, 100, 5, 1},
             {kMjpegEncoder, 0, 1, 200},
             {kMjpegEncoder, 19, 1, 162},
             {kMjpegEncoder, 20, 2, 160},
             {kMjpegEncoder, 79, 4, 42},
             {kMjpegEncoder, 80, 5, 40},
             {kMjpegEncoder, 94, 5, 12},
             {kMjpegEncoder, 95, 5, 10},
             {kMjpegEncoder, 96, 5, 10},
             {kMjpegEncoder, 100, 5, 10},
             {kMjpegEncoder, 65535, 5, 10},
         })
    {
        SCOPED_TRACE(codec.name + std::to_string(asked));
        const EncoderQuality quality(asked, codec);
        EXPECT_EQ(quality.quant, quant);
        EXPECT_EQ(quality.qvalue, qvalue);
    }
}

TEST(EncoderRequest, NamesSizesByTheirWidth)
{
    test::FakeDriver driver;
    driver.properties[6] = "2";
    for (const auto& [width, text] : test::Table<std::uint32_t, std::string>{{176, "QCIF"},
                                                                             {177, "CIF"},
                                                                             {352, "CIF"},
                                                                             {353, "4CIF"},
                                                                             {704, "4CIF"},
                                                                             {705, "D1"},
                                                                             {720, "D1"},
                                                                             {721, ""}})
        EXPECT_EQ(H264(driver, {width, 240, 0, 0, 0, 0}).FillRequestChangeParametersInAlarm(0, true, false),
                  kSet + "&videoin_c0_s0_resolution=" + text);
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
    using Number = std::uint32_t;
    for (const auto& [name, channel, width, height, intervalMs, parameters, changes] :
         test::Table<const char*, Number, Number, Number, Number, std::string, const char*>{
             {"all right", 0, 704, 480, 40, right, ""},
             {"another channel's values", 1, 704, 480, 40, right,
              "video.enable.1=1&video.color.1=1&video.size.1=3&video.quality.1=4&video.maxframe.1=25"},
             {"some wrong, one missing, one written otherwise", 1, 704, 480, 40, other,
              "video.enable.1=1&video.color.1=1&video.maxframe.1=25"},
             {"no rate asked for", 1, 704, 480, 0, other, "video.enable.1=1&video.color.1=1"},
             {"a rate below 1", 0, 704, 480, 3000, right, "video.maxframe.0=0"},
             {"garbage", 0, 704, 480, 0, "video.enable.0=yes\r\nvideo.color.0\r\n=3\r\n",
              "video.enable.0=1&video.color.0=1&video.size.0=3&video.quality.0=4"},
             {"smallest size", 0, 176, 144, 40, right, "video.size.0=1"},
             {"middle size", 0, 352, 288, 40, right, "video.size.0=2"},
             {"flat size", 0, 704, 399, 40, right, "video.size.0=6"},
             {"largest size", 0, 704, 400, 40, right, ""},
             {"unknown size", 0, 640, 480, 40, right, "video.size.0=1"},
         })
        EXPECT_EQ(LegacyMjpegChanges(channel, {width, height, intervalMs, 0, 0, 60}, parameters), changes)
            << name;
    EXPECT_EQ(LegacyMjpegPath(1, {704, 480, 40, 0, 0, 60}), "/cgi-bin/video.jpg?cam=2&quality=4&size=3");
}

TEST(EncoderRequest, TellsALegacyCameraOnlyWhatItHasOtherwise)
{
    const std::string right = "video.resolution='640 x480'\r\nvideo.keyinterval='1'\r\nvideo.color=1\r\n"
                              "video.quality='1'\r\nvideo.quant='3'\r\n";
    // An empty request is none, and "-" is for a configuration that fails.
    for (const auto& [name, answer, intervalMs, request] :
         test::Table<const char*, std::string, std::uint32_t, std::string>{
             {"all right", right + "video.maxframe='25'\r\n", 40, ""},
             {"no rate is asked for", right + "video.maxframe='7'\r\n", 0, ""},
             {"30 at 60 Hz", right + "video.mode='60'\r\n", 33, "video.maxframe=30"},
             {"30 elsewhere", right + "video.mode='50'\r\n", 33, "video.maxframe=25"},
             {"30 of an unknown standard", right, 33, "video.maxframe=25"},
             {"nothing known", "x=1\r\n", 40,
              "video.resolution=640x480&video.keyinterval=1&video.color=1&video.quality=1&video.quant=3"
              "&video.maxframe=25"},
             {"nothing said", "", 40, "-"},
         })
    {
        SCOPED_TRACE(name);
        test::HttpTestServer server([says = answer](test::TestHttpPeer& peer, const test::TestHttpRequest&)
                                    { return peer.Send(test::HttpTestServer::Response(200, says)); });
        test::FakeDriver driver;
        driver.device.port = server.Port();
        driver.properties[9] = "1";
        EXPECT_EQ(Mpeg(driver, {640, 480, intervalMs, 0, 0, 50}).ConfigureDevice(), request != "-");
        std::vector<std::string> wanted = {"/cgi-bin/admin/getparam.cgi?video"};
        if (request.size() > 1)
            wanted.push_back(kSet + request);
        EXPECT_EQ(server.Targets(), wanted);
    }
}

} // namespace
} // namespace korvane
