#include "camera/rtsp_running_camera.h"

#include <algorithm>
#include <string_view>
#include <thread>

namespace larkmoor::camera
{
namespace
{

/// What a stream looks like to a reader of interleaved frames under a fault: it must stay a film.
TEST(CameraRtspFaults, BetweenTheFramesLeaveTheFramesAlone)
{
    for (const char* fault : {"interleaved-garbage", "interleaved-early", "interleaved-cut", "rtcp-flood"})
    {
        SCOPED_TRACE(fault);
        RunningCamera camera(SmallCamera({fault}));
        RtspTestClient client(camera->RtspPort());
        ASSERT_EQ(client.Play("live.sdp", kInterleaved), 200);
        AccessUnitReader reader;
        const auto units = ReadInterleaved(client, reader, 40);
        EXPECT_EQ(reader.Damage(), 0);
        ExpectFilm(units);
    }
}

TEST(CameraRtspFaults, MediaBeforeTheAnswerAndSetsInOnePlaceOnly)
{
    {
        RunningCamera camera(SmallCamera({"interleaved-early"}));
        RtspTestClient client(camera->RtspPort());
        client.Play("live.sdp", kInterleaved);
        // The answer was found behind a frame: the client had to read that first.
        AccessUnitReader reader;
        const auto first = ReadInterleaved(client, reader, 1);
        ASSERT_EQ(first.size(), 1u);
        EXPECT_EQ(first[0].types, (std::vector<int>{7, 8, 5}));
    }
    RunningCamera camera(SmallCamera({"sprop-only"}));
    RtspTestClient client(camera->RtspPort());
    ASSERT_EQ(client.Request("DESCRIBE", client.Url("live.sdp")), 200);
    EXPECT_NE(client.Answer().find("sprop-parameter-sets=Z"), std::string::npos);
    ASSERT_EQ(client.Play("live.sdp", kInterleaved), 200);
    AccessUnitReader reader;
    const auto units = ReadInterleaved(client, reader, 10);
    EXPECT_EQ(units[0].types, std::vector<int>{5});
    const auto truth = camera.TruthOf(units[0].timestamp);
    ASSERT_TRUE(truth);
    EXPECT_TRUE(truth->key);
    EXPECT_GT(truth->size, units[0].bytes.size() + 20) << "with the sets of the description in front";
}

TEST(CameraRtspFaults, OfSessions)
{
    RunningCamera camera(SmallCamera({"keepalive-400", "session-short"}));
    RtspTestClient client(camera->RtspPort());
    EXPECT_EQ(client.Request("OPTIONS", "*"), 200) << "before there is a session";
    ASSERT_EQ(client.Play("live.sdp", kInterleaved), 200);
    EXPECT_NE(client.Answer().find("Session: " + client.Session()), std::string::npos);
    EXPECT_EQ(client.Request("OPTIONS", client.Url("live.sdp")), 400);
    EXPECT_NE(client.Answer().find("CSeq: 4711\r\n"), std::string::npos);
    camera->Faults().Remove("keepalive-400");
    std::string error;
    ASSERT_TRUE(camera->Faults().Add("keepalive-silent,busy-503=1", error));
    EXPECT_EQ(client.Request("GET_PARAMETER", client.Url("live.sdp")), 503);
}

TEST(CameraRtspFaults, GoodbyeOnceWithAndWithoutMedia)
{
    for (const char* fault : {"bye", "bye=media-stop"})
    {
        SCOPED_TRACE(fault);
        RunningCamera camera(SmallCamera({fault}));
        RtspTestClient client(camera->RtspPort());
        ASSERT_EQ(client.Play("live.sdp", kInterleaved), 200);
        std::optional<RtspTestClient::Frame> frame;
        do
        {
            frame = client.NextFrame();
            ASSERT_TRUE(frame);
        } while (frame->channel == 0 || frame->bytes.size() <= 56);
        EXPECT_EQ(frame->bytes[57], 203);
        EXPECT_EQ(client.Request("GET_PARAMETER", client.Url("live.sdp")), 200) << "the session stays";
        if (std::string_view(fault) == "bye")
        {
            AccessUnitReader reader;
            ReadInterleaved(client, reader, 5);
        }
    }
}

TEST(CameraRtspFaults, OfTheWholeDevice)
{
    RunningCamera camera;
    std::string error;
    {
        RtspTestClient client(camera->RtspPort());
        ASSERT_EQ(client.Play("live.sdp", kInterleaved), 200);
        ASSERT_TRUE(camera->Faults().Add("reset@0s", error));
        // The end comes within a frame or an answer: what is left of it is no whole frame.
        EXPECT_TRUE(client.IsAtEnd());
        camera->Faults().Remove("reset");
    }
    {
        RtspTestClient client(camera->RtspPort());
        ASSERT_EQ(client.Play("live.sdp", kInterleaved), 200);
        ASSERT_TRUE(camera->Faults().Add("reboot@0s+0.3s", error)) << error;
        EXPECT_TRUE(client.IsAtEnd());
        // Nothing listens; then everything is there again, with a stream that starts anew.
        for (bool connected = false; !connected;)
        {
            try
            {
                RtspTestClient again(camera->RtspPort());
                connected = true;
                EXPECT_EQ(again.Play("live.sdp", kInterleaved), 200);
                AccessUnitReader reader;
                ExpectFilm(ReadInterleaved(again, reader, 3));
            }
            catch (const boost::system::system_error&)
            {
                std::this_thread::yield();
            }
        }
    }
    RtspTestClient client(camera->RtspPort());
    ASSERT_EQ(client.Play("live.sdp", kInterleaved), 200);
    ASSERT_TRUE(camera->Faults().Add("half-open@0s+0.5s", error)) << error;
    EXPECT_TRUE(client.IsAtEnd()) << "when it is back it knows nothing of the connection";
}

TEST(CameraRtspFaults, FreezeAndOtherSizesPassByThemselves)
{
    RunningCamera camera;
    RtspTestClient client(camera->RtspPort());
    ASSERT_EQ(client.Play("live.sdp", kInterleaved), 200);
    AccessUnitReader reader;
    auto last = ReadInterleaved(client, reader, 3);
    std::string error;
    ASSERT_TRUE(camera->Faults().Add("freeze@0s+0.5s", error)) << error;
    std::uint32_t gap = 0;
    for (int i = 0; i < 60 && gap < 30'000; ++i)
    {
        auto next = ReadInterleaved(client, reader, 1);
        ASSERT_EQ(next.size(), 1u);
        gap = std::max(gap, next[0].timestamp - last.back().timestamp);
        last = std::move(next);
    }
    EXPECT_GE(gap, 30'000u) << "a third of a second at least without media";
    EXPECT_EQ(last[0].types.front(), 7) << "a key frame comes first";
    EXPECT_EQ(reader.Damage(), 0);

    ASSERT_TRUE(camera->Faults().Add("sps-change@0s+0.5s", error)) << error;
    MediaDecoder decoder(VideoCodec::H264);
    std::vector<int> widths{320};
    (void)decoder.Number(last[0].bytes);
    for (int i = 0; i < 90 && widths.size() < 3; ++i)
    {
        for (const auto& unit : ReadInterleaved(client, reader, 1))
            (void)decoder.Number(unit.bytes);
        if (decoder.Size().first != widths.back())
            widths.push_back(decoder.Size().first);
    }
    EXPECT_EQ(widths, (std::vector<int>{320, 160, 320}));
}

} // namespace
} // namespace larkmoor::camera
