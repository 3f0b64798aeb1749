#include "plugin/larkmoor_driver.h"

#include "channels/h264_channel_rtsp.h"
#include "channels/mjpeg_channel_http.h"
#include "support/fake_host.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace korvane
{
namespace
{

struct Driver : testing::Test
{
    bool Open() { return driver.Open(&sink, &allocator, &settings); }

    test::FakeSink sink;
    test::FakeAllocator allocator;
    test::FakeDeviceSettings settings;
    CLarkmoorDriver driver;
};

TEST_F(Driver, KnowsItsNameAndNothingElseBeforeItIsOpened)
{
    EXPECT_EQ(driver.GetDriverName(), "Larkmoor");
    EXPECT_EQ(driver.GetDeviceInfo().networkTimeoutMs, 5000u);
    EXPECT_EQ(driver.GetDeviceInfo().port, 80u);
    EXPECT_EQ(driver.GetVideoCapture(), nullptr);
    EXPECT_EQ(driver.GetPropertyInt(1), kNoProperty);
    EXPECT_EQ(driver.GetChannelSettings(0).width, 0u);
    driver.DebugMessage(kLevelError, "to nobody");
    driver.Close();
}

TEST_F(Driver, ReadsWhatTheHostTellsOfTheDevice)
{
    settings.address = "192.0.2.7";
    settings.port = 8080;
    settings.channelCount = 4;
    settings.inputCount = 3;
    settings.outputCount = 2;
    settings.codec = 3;
    settings.parameters[101] = "Count=2; IsStereo=1";
    settings.parameters[102] = "Count=0; IsStereo=0";
    ASSERT_TRUE(Open());

    const DEVICE_INFO device = driver.GetDeviceInfo();
    EXPECT_EQ(device.networkTimeoutMs, 10000u);
    EXPECT_EQ(device.signalLossTimeoutMs, 10000u);
    EXPECT_EQ(device.address, "192.0.2.7");
    EXPECT_EQ(device.port, 8080);
    EXPECT_EQ(device.user, "root");
    EXPECT_EQ(device.password, "secret");
    EXPECT_EQ(device.model, "IP7135");
    EXPECT_EQ(driver.GetDeviceName(), "192.0.2.7:8080");
    EXPECT_EQ(driver.GetIOCounts(), (std::pair<std::uint32_t, std::uint32_t>(3, 2)));
    EXPECT_EQ(driver.GetChannelCount(), 4u);
    EXPECT_EQ(driver.GetCodec(), 3u);
    EXPECT_EQ(driver.GetVideoStandard(), 1u);
    EXPECT_EQ(driver.GetFrameAllocator(), &allocator);
    EXPECT_TRUE(driver.GetHostDirectory().ends_with("/"));
    ASSERT_NE(driver.GetVideoCapture(), nullptr);
    EXPECT_EQ(driver.GetVideoCapture()->GetChannelCount(), 4u);
    EXPECT_EQ(driver.GetVideoCapture(), driver.GetVideoCaptureEx());
    ASSERT_NE(driver.GetIO(), nullptr);
    EXPECT_EQ(driver.GetIO()->GetInputCount(), 3u);
    EXPECT_NE(driver.GetPTZ(), nullptr);
    EXPECT_EQ(driver.GetPTZ(), driver.GetPTZEx());
    ASSERT_NE(driver.GetAudioCapture(), nullptr);
    EXPECT_EQ(driver.GetAudioCapture()->GetChannelCount(), 0u);
    EXPECT_EQ(driver.GetAudioSender(), nullptr) << "no output channel";

    driver.Close();
    EXPECT_EQ(driver.GetAudioCapture(), nullptr);
    EXPECT_EQ(driver.GetVideoCapture(), nullptr);
    EXPECT_EQ(driver.GetIO(), nullptr);
    EXPECT_EQ(driver.GetPTZ(), nullptr);
    EXPECT_EQ(driver.GetFrameAllocator(), nullptr);
}

TEST_F(Driver, ReadsPropertiesUpToTheFirstGap)
{
    settings.parameters = {{1, "0"}, {2, "(none)"}, {3, "+554"},  {4, "-5"},
                           {5, "-"}, {6, "12a"},    {8, "unseen"}};
    ASSERT_TRUE(Open());
    EXPECT_EQ(driver.GetVideoStandard(), 0u);
    const struct
    {
        std::uint32_t number;
        const char* text;
        std::int32_t value;
    } cases[] = {
        {0, "", kNoProperty}, {1, "0", 0},           {2, "", kNoProperty},    {3, "+554", 554},
        {4, "-5", -5},        {5, "-", kNoProperty}, {6, "12a", kNoProperty}, {8, "", kNoProperty},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.number);
        EXPECT_EQ(driver.GetPropertyText(c.number), c.text);
        EXPECT_EQ(driver.GetPropertyInt(c.number), c.value);
    }

    driver.Close();
    settings.parameters = {{1, "1"}};
    ASSERT_TRUE(Open());
    EXPECT_EQ(driver.GetPropertyText(3), ""); // nothing is left of the first device
}

TEST_F(Driver, RefusesADeviceWithoutVideoStandard)
{
    for (const char* text : {"", "(none)", "NTSC", "1.0"})
    {
        SCOPED_TRACE(text);
        settings.parameters = {{1, text}};
        EXPECT_FALSE(Open());
        EXPECT_EQ(driver.GetDeviceInfo().networkTimeoutMs, 10000u);
        EXPECT_TRUE(sink.Messages().empty());
        driver.Close();
    }
    settings.parameters.clear();
    EXPECT_FALSE(Open());
    EXPECT_FALSE(driver.Open(&sink, &allocator, nullptr));
}

TEST_F(Driver, TellsTheHostThatItIsOpened)
{
    ASSERT_TRUE(Open());
    // Without a version beside this program the host counts as 5.12, which knows information as its highest
    // level.
    const std::vector<test::MessageRecord> expected = {
        {3, "DRIVER IS OPENED (name: Larkmoor, device model: IP7135, address: 127.0.0.1:80)"}};
    EXPECT_EQ(sink.Messages(), expected);

    driver.LogDriverOpened(settings, "", "1.0");
    driver.LogDriverOpened(settings, "Other", "0100%s");
    ASSERT_EQ(sink.Messages().size(), 2u);
    EXPECT_EQ(sink.Messages()[1].text,
              "DRIVER IS OPENED (name: Other, device model: IP7135, FW: 0100%s, address: 127.0.0.1:80)");
}

TEST_F(Driver, SendsMessagesToTheHostUntilClose)
{
    ASSERT_TRUE(Open());
    const std::size_t before = sink.Messages().size();
    const std::string lengthy(100000, 'x');
    driver.DebugMessage(kLevelError, "%s: %u", lengthy.c_str(), 7u);
    driver.DebugMessage(kLevelDebugTrace, "never to the host");
    ASSERT_EQ(sink.Messages().size(), before + 1);
    EXPECT_EQ(sink.Messages().back(), (test::MessageRecord{1, lengthy + ": 7"}));
    driver.Close();
    driver.DebugMessage(kLevelError, "too late");
    EXPECT_EQ(sink.Messages().size(), before + 1);
}

class ThrowingSink final : public ipcapture::IHostSink
{
public:
    void WriteMessage(ipcapture::CDebugInfoIf*) override { throw std::runtime_error("the host throws"); }
};

TEST_F(Driver, SurvivesAHostThatThrows)
{
    ThrowingSink throwing;
    EXPECT_TRUE(driver.Open(&throwing, &allocator, &settings));
}

TEST_F(Driver, ChoosesTheChannelByCodecAndTransport)
{
    const struct
    {
        const char* name;
        std::uint32_t codec;
        const char* jpegOverHttp; // null: the host gives no such property
        bool overHttp;
        bool h264;
    } cases[] = {
        {"Motion JPEG over HTTP", 1, "1", true, false},
        {"any number but 0", 1, "-2", true, false},
        {"Motion JPEG over RTSP", 1, "0", false, false},
        {"no property", 1, nullptr, false, false},
        {"no number", 1, "abc", false, false},
        {"none", 1, "(none)", false, false},
        {"MPEG-4", 2, "1", false, false},
        {"H.264", 3, "1", false, true},
        {"unknown codec", 4, "1", false, false},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        settings.codec = c.codec;
        settings.parameters = {{1, "1"}, {2, ""}, {3, ""}, {4, ""}, {5, ""}, {6, "1"}};
        if (c.jpegOverHttp != nullptr)
            settings.parameters[7] = c.jpegOverHttp;
        ASSERT_TRUE(Open());
        const std::unique_ptr<ICameraChannel> channel = driver.CreateChannel(0, nullptr);
        EXPECT_EQ(dynamic_cast<CMJPEGChannelHTTP*>(channel.get()) != nullptr, c.overHttp);
        EXPECT_EQ(dynamic_cast<CH264ChannelRTSP*>(channel.get()) != nullptr, c.h264);
        driver.Close();
    }
}

/// A device family whose PTZ handler can't be made.
class HeadlessDriver final : public CIPCaptureDriver
{
public:
    std::string GetDriverName() const override { return "Headless"; }
    ipcapture::IIPAudioCapture2* GetAudioCapture() override { return nullptr; }
    ipcapture::IIPAudioSender* GetAudioSender() override { return nullptr; }
    std::unique_ptr<ICameraChannel> CreateChannel(std::uint32_t, ipcapture::IHostChannelClient*) override
    {
        return nullptr;
    }
    bool ConstructAudio(ipcapture::IHostDeviceSettings&) override
    {
        ++audioAsked;
        return false;
    }
    bool ConstructIO() override { return false; }
    bool ConstructPTZ() override { return hasHead; }

    bool hasHead = false;
    int audioAsked = 0;
};

TEST(CaptureDriver, FailsToOpenOnlyForWantOfAPtzHandler)
{
    test::FakeDeviceSettings settings;
    HeadlessDriver driver;
    EXPECT_FALSE(driver.Open(nullptr, nullptr, &settings));
    EXPECT_EQ(driver.audioAsked, 0);
    EXPECT_EQ(driver.GetVideoCapture(), nullptr);
    driver.Close();

    driver.hasHead = true;
    settings.parameters.clear();
    EXPECT_TRUE(driver.Open(nullptr, nullptr, &settings));
    EXPECT_EQ(driver.audioAsked, 1);
    EXPECT_EQ(driver.GetDeviceInfo().networkTimeoutMs, 5000u); // a family sets its own
}

} // namespace
} // namespace korvane
