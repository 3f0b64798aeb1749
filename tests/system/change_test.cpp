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
    using host::Codec;
    using host::Transport;
    const ChangeRow rows[] = {
        {"H.264", Codec::H264, Transport::Tcp, false, Change::Taken, "Settings were applied OK"},
        {"MPEG-4", Codec::Mpeg4, Transport::Tcp, false, Change::Taken, "Settings were applied OK"},
        {"Motion JPEG", Codec::Mjpeg, Transport::Tcp, false, Change::Taken, "Settings were applied OK"},
        {"legacy MPEG-4", Codec::Mpeg4, Transport::Tcp, true, Change::NextSession,
         "Unable to FillRequestChangeParametersInAlarm!"},
        {"Motion JPEG over HTTP", Codec::Mjpeg, Transport::Http, false, Change::Never, ""},
    };
    Rig::Use(host::Transport::Tcp);
    std::vector<std::thread> threads;
    for (const ChangeRow& row : rows)
        threads.emplace_back([&row] { ChangeWhileRunning(row); });
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace
} // namespace larkmoor::test
