#include "channels/mjpeg_channel_rtsp.h"
#include "channels/mpeg_channel_rtsp.h"

#include "channels/set_request.h"
#include "support/fake_driver.h"
#include "support/http_test_server.h"
#include "support/settings_folder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace korvane
{

namespace
{

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
using Mpeg = Open<CMPEGChannelRTSP>;
using Jpeg = Open<CMJPEGChannelRTSP>;

using test::kSet;

TEST(RtspEncoderRequests, AskForTheCodecsOwnSettings)
{
    const test::SettingsFolder folder;
    test::FakeDriver driver;
    driver.hostDirectory = folder.Path();
    driver.properties[6] = "1";
    const auto cbr = [&](const char* mode)
    {
        folder.Write("<Configuration><Default><VideoChannel><QualityMode>" + std::string(mode) +
                     "</QualityMode></VideoChannel></Default></Configuration>");
    };

    EXPECT_EQ(
        Mpeg(driver, {640, 480, 40, 0, 0, 60}, 1).FillRequestParameters(2),
        kSet + "network_rtsp_authmode=disable&videoin_c1_s2_codectype=mpeg4&videoin_c1_s2_resolution=640x480"
               "&videoin_c1_s2_mpeg4_maxframe=25&videoin_c1_s2_mpeg4_intraperiod=1000"
               "&videoin_c1_s2_mpeg4_ratecontrolmode=vbr&videoin_c1_s2_mpeg4_quant=4"
               "&videoin_c1_s2_mpeg4_qvalue=13");
    EXPECT_TRUE(Mpeg(driver, {640, 480, 40, 0, 0, 100}).FillRequestParameters(0).ends_with("_qvalue=1"));
    EXPECT_TRUE(Mpeg(driver, {640, 480, 40, 0, 0, 0}).FillRequestParameters(0).ends_with("_qvalue=31"));
    cbr("CBR");
    EXPECT_TRUE(
        Mpeg(driver, {640, 480, 40, 0, 0, 50}).FillRequestParameters(0).ends_with("_mpeg4_bitrate=4000005"));
    cbr("AUTO");
    driver.properties[8] = "1";
    EXPECT_EQ(Mpeg(driver, {640, 480, 0, 0, 0, 60}).FillRequestParameters(0),
              kSet + "network_rtsp_authmode=disable&videoin_c0_s0_codectype=mpeg4&videoin_c0_s0_field2frame=1"
                     "&videoin_c0_s0_resolution=640x480&videoin_c0_s0_mpeg4_intraperiod=1000");

    const struct
    {
        std::uint32_t quality;
        const char* text;
    } qualities[] = {{100, "_mjpeg_quant=5&videoin_c0_s0_mjpeg_qvalue=10"},
                     {50, "_mjpeg_quant=3&videoin_c0_s0_mjpeg_qvalue=100"},
                     {0, "_mjpeg_quant=1&videoin_c0_s0_mjpeg_qvalue=200"}};
    for (const auto& c : qualities)
        EXPECT_EQ(Jpeg(driver, {352, 288, 0, 0, 0, c.quality}).FillRequestParameters(0),
                  kSet +
                      "network_rtsp_authmode=disable&videoin_c0_s0_codectype=mjpeg&videoin_c0_s0_resolution="
                      "352x288&videoin_c0_s0_mjpeg_maxframe=1&videoin_c0_s0" +
                      c.text);
    driver.properties.erase(6);
    EXPECT_EQ(Mpeg(driver, {640, 480, 40, 0, 0, 60}).FillRequestParameters(0), "");
    EXPECT_EQ(Jpeg(driver, {640, 480, 40, 0, 0, 60}).FillRequestParameters(0), "");
}

TEST(RtspEncoderRequests, ChangeOnlyWhatIsAsked)
{
    test::FakeDriver driver;
    driver.properties[6] = "2";
    const ChannelSettings settings{352, 240, 100, 0, 0, 50};
    EXPECT_EQ(Mpeg(driver, settings).FillRequestChangeParametersInAlarm(1, true, true),
              kSet + "&videoin_c0_s1_resolution=CIF&videoin_c0_s1_mpeg4_maxframe=10");
    EXPECT_EQ(Mpeg(driver, {352, 240, 0, 0, 0, 50}).FillRequestChangeParametersInAlarm(0, false, true), kSet);
    EXPECT_EQ(Jpeg(driver, settings).FillRequestChangeParametersInAlarm(0, true, false),
              kSet + "&videoin_c0_s0_resolution=CIF");
    EXPECT_EQ(Jpeg(driver, settings).FillRequestChangeParametersInAlarm(0, false, true),
              kSet + "&videoin_c0_s0_mjpeg_maxframe=10");
    driver.properties.erase(6);
    EXPECT_EQ(Jpeg(driver, settings).FillRequestChangeParametersInAlarm(0, true, true), "");
}

TEST(RtspEncoderRequests, TellALegacyDeviceOnlyWhatItHasOtherwise)
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
