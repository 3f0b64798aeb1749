#include "plugin/ip_video_capture.h"

#include "support/fake_host.h"

#include <gtest/gtest.h>

#include <functional>
#include <future>
#include <stdexcept>
#include <string>
#include <vector>

namespace korvane
{
namespace
{

/// What happened to the channels of a test, in order; a channel is named by its number of making.
using Events = std::vector<std::string>;

class FakeChannel final : public ICameraChannel
{
public:
    FakeChannel(std::string name, Events& events) : name_(std::move(name)), events_(events)
    {
        events_.push_back(name_ + " made");
    }
    ~FakeChannel() override { events_.push_back(name_ + " deleted"); }

    bool Start(const ChannelSettings& settings) override
    {
        events_.push_back(name_ + " started");
        settings_ = settings;
        return true;
    }
    void RequestStop() override { events_.push_back(name_ + " told to stop"); }
    bool Stop() override
    {
        events_.push_back(name_ + " stopped");
        if (onStop)
            onStop();
        return true;
    }
    bool ChangeSettings(const ChannelChange&) override { return true; }
    std::uint32_t GetChannelState() const override { return kChannelConnecting; }
    void SetChannelState(std::uint32_t) override {}
    ChannelSettings GetSettings() const override { return settings_; }

    std::function<void()> onStop;

private:
    const std::string name_;
    Events& events_;
    ChannelSettings settings_;
};

struct VideoCapture : testing::Test, ICustomCreator
{
    std::unique_ptr<ICameraChannel> CreateChannel(std::uint32_t channel,
                                                  ipcapture::IHostChannelClient* channelClient) override
    {
        if (throws)
            throw std::runtime_error("no channel");
        EXPECT_EQ(channelClient, &client);
        auto made =
            std::make_unique<FakeChannel>(std::to_string(channel) + "#" + std::to_string(++count), events);
        made->onStop = onStop;
        return made;
    }

    std::uint32_t State(std::uint32_t channel)
    {
        std::uint32_t state = 99;
        std::uint32_t detail = 99;
        char text[2] = {'x', 'x'};
        capture.GetChannelState(channel, &state, &detail, text, sizeof text);
        EXPECT_EQ(detail, 0u);
        EXPECT_EQ(text[0], '\0');
        EXPECT_EQ(text[1], 'x');
        return state;
    }

    test::FakeChannelClient client;
    test::FakeChannelSettings settings;
    Events events;
    int count = 0;
    bool throws = false;
    std::function<void()> onStop;
    CIPVideoCapture capture{this, 2};
};

TEST_F(VideoCapture, StopsWhatRunsBeforeItStartsAnew)
{
    EXPECT_TRUE(capture.StartChannel(1, &client, &settings));
    EXPECT_TRUE(capture.StartChannel(1, &client, &settings));
    EXPECT_TRUE(capture.StopChannel(1));
    EXPECT_FALSE(capture.StopChannel(1));
    const Events expected = {"1#1 made", "1#1 started", "1#1 stopped", "1#1 deleted",
                             "1#2 made", "1#2 started", "1#2 stopped", "1#2 deleted"};
    EXPECT_EQ(events, expected);
}

TEST_F(VideoCapture, LetsNothingOfAHostOrAChannelThrough)
{
    EXPECT_FALSE(capture.StartChannel(0, &client, nullptr));
    EXPECT_TRUE(capture.StartChannel(0, &client, &settings));
    EXPECT_FALSE(capture.ChangeChannel(0, nullptr, 40));
    std::uint32_t state = 99;
    std::uint32_t detail = 99;
    char text = 'x';
    EXPECT_TRUE(capture.GetChannelState(0, &state, &detail, &text, 0));
    EXPECT_EQ(text, 'x');
    EXPECT_TRUE(capture.GetChannelState(0, &state, &detail, nullptr, 5));
    throws = true;
    EXPECT_FALSE(capture.StartChannel(0, &client, &settings));
    EXPECT_FALSE(capture.StopChannel(0)); // the one that ran was stopped first
}

TEST_F(VideoCapture, HoldsNobodyUpWhileAChannelStops)
{
    bool answered = false;
    onStop = [&] { // the other channel is asked while this one is being stopped
        auto other = std::async(std::launch::async, [this] { return State(1); });
        answered = other.wait_for(test::kPatience) == std::future_status::ready;
        EXPECT_EQ(other.get(), 2u);
    };
    EXPECT_TRUE(capture.StartChannel(0, &client, &settings));
    onStop = nullptr;
    EXPECT_TRUE(capture.StartChannel(1, &client, &settings));
    EXPECT_TRUE(capture.StopChannel(0));
    EXPECT_TRUE(answered);
}

TEST_F(VideoCapture, TellsAllToStopAndStopsThemInOrderWhenItGoes)
{
    {
        CIPVideoCapture other(this, 3);
        for (const std::uint32_t channel : {2u, 0u})
            EXPECT_TRUE(other.StartChannel(channel, &client, &settings));
        events.clear();
    }
    const Events expected = {"0#2 told to stop", "2#1 told to stop", "0#2 stopped",
                             "0#2 deleted",      "2#1 stopped",      "2#1 deleted"};
    EXPECT_EQ(events, expected);
}

} // namespace
} // namespace korvane
