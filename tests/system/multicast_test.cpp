#include "support/loopback.h"
#include "support/multicast_network.h"
#include "system/rig.h"

#include <gtest/gtest.h>

#include <thread>

namespace larkmoor::test
{
namespace
{

struct GroupRow
{
    const char* name;
    host::Codec codec;
    const char* group;
    const char* port;
    const char* fault; ///< ends the stream for a while
};

/// Two recorders of one group: one stops early, the other one sees the stream end and come back.
void RecordGroup(const GroupRow& row)
{
    SCOPED_TRACE(row.name);
    camera::CameraOptions options;
    options.parameters = {"network_rtsp_s0_multicast_alwaysmulticast=1",
                          std::string("network_rtsp_s0_multicast_ipaddress=") + row.group,
                          std::string("network_rtsp_s0_multicast_videoport=") + row.port};
    TestCamera camera(options);
    const host::Device device = camera.Device(row.codec, host::Transport::Multicast);
    TestHost early(device), late(device);
    ASSERT_TRUE(early.Start() && late.Start());
    EXPECT_TRUE(early.WaitForFrames(10) && late.WaitForFrames(10));
    EXPECT_LT(early.Stop(), korvane::test::kStopBound);
    EXPECT_TRUE(late.WaitForFrames(late.FrameCount() + 10)) << "the group stays for the other one";
    EXPECT_TRUE(late.Change({176, 144}, 100));
    camera.Play(row.fault);
    EXPECT_TRUE(late.WaitForState(2));
    camera.End(row.fault);
    EXPECT_TRUE(late.WaitForState(0));
    EXPECT_TRUE(late.WaitForFrames(late.FrameCount() + 10));
    EXPECT_LT(late.Stop(), korvane::test::kStopBound);
    for (TestHost* recorder : {&early, &late})
    {
        EXPECT_EQ(Compare(recorder->Frames(), camera).foreign, 0u);
        EXPECT_EQ(recorder->Frames().back().width, 320u) << "a group has others that watch it";
        EXPECT_EQ(recorder->Close(), "");
    }
}

void SeesNoGroup()
{
    TestCamera camera{camera::CameraOptions{}}; // its description names none
    TestHost recorder(camera.Device(kH264, host::Transport::Multicast));
    ASSERT_TRUE(recorder.Start());
    EXPECT_TRUE(recorder.WaitForMessage("RTP multicast stream cannot be started"));
    EXPECT_EQ(recorder.State(), 3u) << "it has never run";
    recorder.Stop();
    EXPECT_EQ(recorder.FrameCount(), 0u);
    EXPECT_EQ(recorder.Close(), "");
}

TEST(Multicast, IsRecordedByManyAndComesBack)
{
    Rig::Use(host::Transport::Multicast);
    const bool ran = korvane::test::RunInMulticastNetwork(
        []
        {
            const GroupRow rows[] = {
                {"H.264", kH264, "239.128.2.1", "5620", "bye=media-stop"},
                {"MPEG-4", kMpeg4, "239.128.2.2", "5622", "reboot"},
                {"Motion JPEG", kMjpeg, "239.128.2.3", "5624", "bye=media-go-on"},
            };
            std::vector<std::thread> threads;
            for (const GroupRow& row : rows)
                threads.emplace_back([&row] { RecordGroup(row); });
            SeesNoGroup();
            for (std::thread& thread : threads)
                thread.join();
        });
    if (!ran)
        GTEST_SKIP() << "this user can't make a network of its own";
}

} // namespace
} // namespace larkmoor::test
