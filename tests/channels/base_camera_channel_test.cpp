#include "channels/base_camera_channel.h"

#include "support/fake_driver.h"
#include "support/table.h"

#include <gtest/gtest.h>

#include <array>
#include <semaphore>
#include <thread>

namespace korvane
{
namespace
{

/// A channel whose thread does what the test says; the protected operations are open to it.
class TestChannel final : public CBaseCameraChannel
{
public:
    TestChannel(std::uint32_t number, IDriver* driver, test::FakeChannelClient* client)
        : CBaseCameraChannel(number, driver, client), client_(client)
    {
    }
    using CBaseCameraChannel::GetPendingChange;
    using CBaseCameraChannel::NotifySignalLost;
    using CBaseCameraChannel::SendFrameToHost;
    using CBaseCameraChannel::SetCameraState;
    using CBaseCameraChannel::stopEvent_;

    std::function<void()> body = [this] { stopEvent_.Wait(kWaitForever); };
    std::binary_semaphore runs{0};
    int stopsRequested = 0;

    bool Stop() override
    {
        const bool hasEnded = CBaseCameraChannel::Stop();
        client_->EndCalls();
        return hasEnded;
    }

protected:
    std::uint32_t Run() override
    {
        client_->ExpectCalls(); // a start has stopped the channel first
        runs.release();
        body();
        return 0;
    }
    void OnStopRequested() override { ++stopsRequested; }

private:
    test::FakeChannelClient* const client_;
};

struct CameraChannel : testing::Test
{
    CameraChannel() { driver.device.address = "192.0.2.7"; }

    std::vector<test::MessageRecord> Lines()
    {
        std::vector<test::MessageRecord> lines = driver.Messages();
        const std::string function = "korvane::CBaseCameraChannel::SetCameraState: ";
        for (auto& line : lines)
        {
            EXPECT_TRUE(line.text.starts_with(function)) << line.text;
            line.text.erase(0, function.size());
        }
        return lines;
    }

    test::FakeDriver driver;
    test::FakeChannelClient client;
    TestChannel channel{2, &driver, &client};
};

TEST_F(CameraChannel, RunsFromStartToStop)
{
    channel.Stop();
    EXPECT_EQ(channel.GetChannelState(), kChannelStopped);
    EXPECT_EQ(channel.stopsRequested, 0); // there was no thread

    ASSERT_TRUE(channel.Start({640, 480, 40}));
    channel.runs.acquire();
    channel.SetChannelState(kChannelRunning);
    EXPECT_EQ(channel.GetSettings().width, 640u);
    ASSERT_TRUE(channel.Start({352, 288, 40})); // stops the one that runs first
    EXPECT_EQ(channel.stopsRequested, 1);
    channel.runs.acquire();
    EXPECT_EQ(channel.GetSettings().width, 352u);
    EXPECT_EQ(channel.GetChannelState(), kChannelStopped);
    EXPECT_EQ(platform::SocketLibraryUse::Count(), 1);
    channel.Stop();
    EXPECT_EQ(platform::SocketLibraryUse::Count(), 0);
    EXPECT_EQ(channel.stopsRequested, 2);
    EXPECT_TRUE(driver.Messages().empty()); // it was never online
}

TEST_F(CameraChannel, MayBeStoppedFromInsideACallOnItsClient)
{
    test::FakeAllocator allocator;
    ipcapture::IHostFrame* const frame = allocator.AllocateVideoFrame(ipcapture::kFormatJpeg, 4, "Larkmoor");
    std::atomic<bool> isTakenAfterwards{true};
    std::atomic<bool> isOnlyOwner{false};
    CManualEvent hasLetGo;
    std::shared_ptr<TestChannel> stopped = std::make_shared<TestChannel>(0, &driver, &client);
    const std::weak_ptr<TestChannel> watch = stopped;
    client.OnDeliver(
        [&]
        {
            stopped->Stop();
            stopped.reset();
            hasLetGo.Set();
            return true;
        });
    TestChannel* const bare = stopped.get();
    bare->body = [&, bare]
    {
        bare->SendFrameToHost(frame);
        isOnlyOwner = watch.use_count() == 1; // the stop has left the channel to its thread
        isTakenAfterwards = bare->SendFrameToHost(frame);
    };
    ASSERT_TRUE(stopped->Start({}));
    ASSERT_TRUE(hasLetGo.Wait(test::kPatienceMs));
    while (!watch.expired())
        std::this_thread::yield();
    EXPECT_TRUE(isOnlyOwner);
    EXPECT_FALSE(isTakenAfterwards);
    EXPECT_EQ(client.Frames().size(), 1u);
    allocator.ReleaseFrame(frame);
}

TEST_F(CameraChannel, LogsOnlyChangesOfTheOnlineState)
{
    channel.SetCameraState(false);
    channel.SetChannelState(kChannelRunning);
    channel.SetCameraState(true);
    channel.SetCameraState(true);
    channel.SetCameraState(false);
    channel.SetCameraState(true);
    channel.SetChannelState(kChannelConnecting);
    channel.SetCameraState(false);
    channel.SetCameraState(false);
    channel.SetCameraState(true);
    channel.Stop();
    std::vector<test::MessageRecord> expected = {
        {3, "Camera 192.0.2.7 is online"}, {1, "Camera 192.0.2.7 is offline or failed"},
        {3, "Camera 192.0.2.7 is online"}, {1, "Signal was lost for camera 192.0.2.7"},
        {3, "Camera 192.0.2.7 is online"}, {3, "Camera 192.0.2.7 is offline. Channel was stopped"},
    };
    EXPECT_EQ(Lines(), expected);

    driver.channelCount = 4;
    channel.SetCameraState(true);
    channel.SetChannelState(kChannelConnecting);
    channel.SetCameraState(false);
    expected.push_back({3, "Video-server 192.0.2.7 (channel 2) is online"});
    expected.push_back({1, "Signal was lost for video-server 192.0.2.7 (channel 2)"});
    EXPECT_EQ(Lines(), expected);
}

TEST_F(CameraChannel, TakesOverOnlyWhatAChangeChanges)
{
    using Values = std::array<std::uint32_t, 3>; // width, height, interval in ms
    for (const auto& [name, before, change, mask, after] :
         test::Table<const char*, Values, Values, std::uint32_t, Values>{
             {"nothing", {640, 480, 40}, {640, 480, 40}, 0, {640, 480, 40}},
             {"25 to 24 frames", {640, 480, 40}, {640, 480, 41}, 1, {640, 480, 41}},
             {"2 frames either way", {640, 480, 500}, {640, 480, 501}, 0, {640, 480, 500}},
             {"no rate is one frame", {640, 480, 0}, {640, 480, 1000}, 0, {640, 480, 0}},
             {"width alone", {640, 480, 40}, {320, 480, 40}, 2, {320, 480, 40}},
             {"height alone", {640, 480, 40}, {640, 240, 40}, 2, {640, 240, 40}},
             {"all", {640, 480, 40}, {320, 240, 100}, 3, {320, 240, 100}},
             {"0 frames is not 1", {640, 480, 1000}, {640, 480, 65535}, 1, {640, 480, 65535}},
         })
    {
        SCOPED_TRACE(name);
        ASSERT_TRUE(channel.Start({before[0], before[1], before[2]}));
        EXPECT_TRUE(channel.ChangeSettings({1, 1, 1})); // the last one counts
        EXPECT_TRUE(channel.ChangeSettings({change[0], change[1], change[2]}));
        channel.Stop();
        EXPECT_EQ(channel.GetPendingChange(), mask);
        EXPECT_EQ(channel.GetPendingChange(), 0u);
        const ChannelSettings settings = channel.GetSettings();
        EXPECT_EQ((Values{settings.width, settings.height, settings.frameIntervalMs}), after);
    }
}

} // namespace
} // namespace korvane
