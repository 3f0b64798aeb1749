#include "system/rig.h"

#include <gtest/gtest.h>

#include <thread>

namespace larkmoor::test
{
namespace
{

/// When a running stream takes another size and rate.
enum class Change
{
    Taken,       ///< at once
    NextSession, ///< when the channel has to connect again: the device's words have no request for it
    Never,       ///< the channel has no place for it
};

struct ChangeRow
{
    const char* name;
    host::Codec codec;
    host::Transport transport;
    bool legacy;
    Change change;
    const char* message; ///< what the driver says of it, "" if nothing
};

/// From 320x240 to the size that all profiles have beside it.
void ChangeWhileRunning(const ChangeRow& row)
{
    SCOPED_TRACE(row.name);
    camera::CameraOptions options;
    options.profile = row.legacy ? "ip7135" : "single";
    TestCamera camera(options);
    host::Device device = camera.Device(row.codec, row.transport);
    if (row.legacy)
    {
        device.properties[6] = "0";
        device.properties[9] = "1";
    }
    TestHost recorder(device);
    ASSERT_TRUE(recorder.Start());
    ASSERT_TRUE(recorder.WaitForFrames(5));
    const auto framesComeOf = [&recorder](std::uint32_t width)
    {
        const std::size_t before = recorder.FrameCount();
        while (recorder.FrameCount() < before + 300 && recorder.WaitForFrames(recorder.FrameCount() + 1))
        {
            if (recorder.Frames().back().width == width)
                return true;
        }
        return false;
    };
    EXPECT_TRUE(recorder.Change({176, 144}, 100));
    if (row.change != Change::Taken)
    {
        EXPECT_TRUE(recorder.WaitForFrames(recorder.FrameCount() + 15)); // 1 s
        EXPECT_EQ(recorder.Frames().back().width, 320u);
        camera.Play("reboot");
        EXPECT_TRUE(recorder.WaitForState(2));
    }
    EXPECT_TRUE(recorder.WaitForMessage(row.message));
    EXPECT_TRUE(framesComeOf(row.change == Change::Never ? 320 : 176));
    recorder.Stop();
    EXPECT_EQ(Compare(recorder.Frames(), camera).foreign, 0u);
    EXPECT_EQ(recorder.Close(), "");
}

TEST(ChangeChannel, ReachesEveryKindOfStreamAsItCan)
{
    constexpr auto kTcp = host::Transport::Tcp;
    const ChangeRow rows[] = {
        {"H.264", kH264, kTcp, false, Change::Taken, "Settings were applied OK"},
        {"MPEG-4", kMpeg4, kTcp, false, Change::Taken, "Settings were applied OK"},
        {"Motion JPEG", kMjpeg, kTcp, false, Change::Taken, "Settings were applied OK"},
        {"legacy MPEG-4", kMpeg4, kTcp, true, Change::NextSession,
         "Unable to FillRequestChangeParametersInAlarm!"},
        {"Motion JPEG over HTTP", kMjpeg, host::Transport::Http, false, Change::Never, ""},
    };
    Rig::Use(kTcp);
    std::vector<std::thread> threads;
    for (const ChangeRow& row : rows)
        threads.emplace_back([&row] { ChangeWhileRunning(row); });
    for (std::thread& thread : threads)
        thread.join();
}

TEST(ChangeChannel, SaysWhatBecameOfIt)
{
    Rig::Use(host::Transport::Tcp);
    TestCamera camera({});
    TestHost recorder(camera.Device(kH264, host::Transport::Tcp));
    ASSERT_TRUE(recorder.Start());
    ASSERT_TRUE(recorder.WaitForFrames(5));
    const struct
    {
        const char* fault;
        host::PictureSize size;
        std::uint32_t frameIntervalMs;
        const char* message;
    } rows[] = {
        {"", {320, 240}, 66, "Resolution and frame rate is the same, changes are not required"},
        {"", {320, 240}, 100, "Framerate is changed (10 fps)!"},
        {"", {176, 144}, 100, "Resolution is changed (176x144)!"},
        {"cgi-invalid", {640, 480}, 100, "Response is invalid!"},
        {"cgi-garbage=empty", {320, 240}, 100, "Unable to Read HTTP response!"},
        {"auth-refuse", {640, 480}, 66, "Unable to Send HTTP request ("},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.message);
        camera.Play(row.fault);
        EXPECT_TRUE(recorder.Change(row.size, row.frameIntervalMs));
        EXPECT_TRUE(recorder.WaitForMessage(std::string("!CRIA-CFIA! - ") + row.message));
        camera.End(row.fault);
    }
    EXPECT_TRUE(recorder.WaitForFrames(recorder.FrameCount() + 5)) << "what fails leaves the stream alone";
    EXPECT_EQ(recorder.Close(), "");
}

TEST(SensorMode, IsSetOnceAndNotAgainInTheNextSession)
{
    Rig::Use(host::Transport::Tcp, "<VideoChannel><VideoMode>FRAMERATE</VideoMode></VideoChannel>");
    camera::CameraOptions options;
    options.profile = "sensor-mode";
    TestCamera camera(options);
    TestHost recorder(camera.Device(kH264, host::Transport::Tcp));
    ASSERT_TRUE(recorder.Start());
    EXPECT_TRUE(recorder.WaitForFrames(5));
    camera.Play("reboot");
    EXPECT_TRUE(recorder.WaitForState(2));
    EXPECT_TRUE(recorder.WaitForFrames(recorder.FrameCount() + 5));
    EXPECT_EQ(camera.CountRequests("setparam.cgi?videoin_c0_options=framerate"), 1u);
    EXPECT_EQ(camera.CountRequests("getparam.cgi?videoin_c0_options"), 1u);
    EXPECT_EQ(recorder.Close(), "");
}

} // namespace
} // namespace larkmoor::test
