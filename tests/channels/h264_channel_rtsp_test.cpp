#include "channels/h264_channel_rtsp.h"

#include "channels/set_request.h"
#include "support/fake_driver.h"
#include "support/settings_folder.h"

#include <gtest/gtest.h>

#include <string>

namespace korvane
{

namespace
{

using test::kSet;

/// The channel with its request texts in reach; it never starts.
class OpenChannel : public CH264ChannelRTSP
{
public:
    using CH264ChannelRTSP::CH264ChannelRTSP;
    using CH264ChannelRTSP::FillRequestChangeParametersInAlarm;
    using CH264ChannelRTSP::FillRequestParameters;
    using CH264ChannelRTSP::FillSessionParameters;

    void Use(const ChannelSettings& settings) { settings_ = settings; }
};

class H264ChannelRequests : public ::testing::Test
{
protected:
    H264ChannelRequests() { driver_.hostDirectory = folder_.Path(); }

    std::string Whole(const ChannelSettings& settings, std::uint32_t channel = 0, std::uint32_t stream = 0)
    {
        OpenChannel open(channel, &driver_, nullptr);
        open.Use(settings);
        return open.FillRequestParameters(stream);
    }

    void Settings(const std::string& videoChannel)
    {
        folder_.Write("<Configuration><Default><VideoChannel>" + videoChannel +
                      "</VideoChannel></Default></Configuration>");
    }

    test::SettingsFolder folder_; // with the settings file of the driver, if a test writes one
    test::FakeDriver driver_;
};

TEST_F(H264ChannelRequests, AskForTheWholeEncoderSetting)
{
    driver_.properties[6] = "1";
    EXPECT_EQ(Whole({640, 480, 40, 0, 0, 60}),
              kSet + "network_rtsp_authmode=disable&videoin_c0_s0_codectype=h264"
                     "&videoin_c0_s0_resolution=640x480&videoin_c0_s0_h264_maxframe=25"
                     "&videoin_c0_s0_h264_intraperiod=1000&videoin_c0_s0_h264_ratecontrolmode=vbr"
                     "&videoin_c0_s0_h264_quant=4&videoin_c0_s0_h264_qvalue=21");
    Settings("<QualityMode>CBR</QualityMode>");
    EXPECT_EQ(Whole({704, 576, 33, 0, 0, 50}, 1, 2),
              kSet + "network_rtsp_authmode=disable&videoin_c1_s2_codectype=h264"
                     "&videoin_c1_s2_resolution=704x576&videoin_c1_s2_h264_maxframe=30"
                     "&videoin_c1_s2_h264_intraperiod=1000&videoin_c1_s2_h264_ratecontrolmode=cbr"
                     "&videoin_c1_s2_h264_bitrate=4000005");
    Settings("<QualityMode>AUTO</QualityMode>");
    EXPECT_TRUE(Whole({640, 480, 0, 0, 0, 60}).ends_with("_maxframe=1&videoin_c0_s0_h264_intraperiod=1000"));
}

TEST_F(H264ChannelRequests, ChangeOnlyWhatIsAsked)
{
    driver_.properties[6] = "1";
    OpenChannel open(0, &driver_, nullptr);
    open.Use({320, 240, 100, 0, 0, 50});
    EXPECT_EQ(open.FillRequestChangeParametersInAlarm(0, false, true),
              kSet + "&videoin_c0_s0_h264_maxframe=10");
    EXPECT_EQ(open.FillRequestChangeParametersInAlarm(1, true, true),
              kSet + "&videoin_c0_s1_resolution=320x240&videoin_c0_s1_h264_maxframe=10");
    driver_.properties.erase(6);
    EXPECT_EQ(open.FillRequestChangeParametersInAlarm(0, true, false), "");
}

} // namespace

} // namespace korvane
