#include "plugin/larkmoor_driver.h"

#include "channels/common_rtsp_channel.h"
#include "channels/mjpeg_channel_http.h"
#include "support/fake_host.h"
#include "support/http_test_server.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

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

TEST_F(Driver, MayBeDeletedWhileItWorks)
{
    const test::HttpTestServer silent([](test::TestHttpPeer& peer, const test::TestHttpRequest&)
                                      { return peer.WaitClosed(); });
    settings.port = silent.Port();
    settings.outputCount = 1;
    auto own = std::make_unique<CLarkmoorDriver>();
    ASSERT_TRUE(own->Open(&sink, &allocator, &settings));
    EXPECT_TRUE(own->GetIO()->StartIO());
    silent.WaitForRequests(1);
    own.reset(); // and not closed: the output's thread asks for the driver's name once more
    sink.EndCalls();
    EXPECT_TRUE(sink.WaitForMessage("Unable to switch state of digital output #0"));
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
    sink.EndCalls();
    driver.DebugMessage(kLevelError, "too late");
    EXPECT_EQ(sink.Messages().size(), before + 1);
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

} // namespace
} // namespace korvane
