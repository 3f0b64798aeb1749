#include "gstreamer/rig.h"
#include "support/multicast_network.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <condition_variable>
#include <mutex>

namespace larkmoor::gst::test
{

namespace
{

using testing::HasSubstr;

/// How many of the frames are in the truth, in its order.
std::size_t InTruth(const Received& received, const std::vector<std::string>& truth)
{
    std::size_t found = 0;
    auto from = truth.begin();
    for (const Arrived& frame : received.frames)
    {
        const auto at = std::find(from, truth.end(), frame.md5);
        if (at == truth.end())
            continue;
        from = at + 1;
        ++found;
    }
    return found;
}

void ExpectForward(const Received& received)
{
    for (std::size_t i = 1; i < received.frames.size(); ++i)
        EXPECT_GT(received.frames[i].time, received.frames[i - 1].time) << "frame " << i;
}

struct Codec
{
    const char* name;
    const char* kind; ///< in the truth
    const char* caps;
};

constexpr Codec kH264 = {"h264", "h264",
                         "video/x-h264, stream-format=(string)byte-stream, alignment=(string)au"};
constexpr Codec kMpeg4 = {"mpeg4", "mpeg4", "video/mpeg, mpegversion=(int)4, systemstream=(boolean)false"};
constexpr Codec kMjpeg = {"mjpeg", "jpeg", "image/jpeg"};

void ExpectTruth(const Codec& codec, const char* transport, std::vector<std::string> words)
{
    SCOPED_TRACE(std::string(codec.name) + " over " + transport);
    words.insert(words.end(), {"--source", "canned"});
    const CameraProcess camera(words);
    Rig rig(camera.Location());
    rig.SetText("codec", codec.name).SetText("transport", transport).Set("width", 320u, "height", 240u);
    rig.Go(GST_STATE_PLAYING);
    ASSERT_TRUE(rig.WaitForFrames("video_0", 40)) << rig.Error();
    rig.Go(GST_STATE_NULL);
    const Received received = rig.Of("video_0");
    EXPECT_EQ(InTruth(received, camera.Truth(codec.kind)), received.frames.size());
    EXPECT_EQ(received.caps.front(), codec.caps + std::string(", width=(int)320, height=(int)240"));
    EXPECT_FALSE(received.frames.front().isDelta);
    EXPECT_TRUE(received.frames.front().isDiscontinuous);
    EXPECT_EQ(std::ranges::any_of(received.frames, &Arrived::isDelta), codec.kind != std::string("jpeg"));
    ExpectForward(received);
    EXPECT_EQ(rig.Error(), "");
}

} // namespace

TEST(Media, BringsTheCamerasBytesInEachCodecOverEachTransport)
{
    for (const char* transport : {"udp", "tcp"})
    {
        ExpectTruth(kH264, transport, {});
        ExpectTruth(kMpeg4, transport, {});
        ExpectTruth(kMjpeg, transport, {});
    }
    ExpectTruth(kMjpeg, "http", {});
}

TEST(Media, BringsTheCamerasBytesFromAGroup)
{
    const bool ran = korvane::test::RunInMulticastNetwork(
        []
        {
            for (const Codec& codec : {kH264, kMpeg4, kMjpeg})
                ExpectTruth(codec, "multicast", {"--set", "network_rtsp_s0_multicast_alwaysmulticast=1"});
        });
    if (!ran)
        GTEST_SKIP() << "this user can't make a network of its own";
}

TEST(Media, BringsTheCamerasSound)
{
    struct Row
    {
        const char* audio;
        const char* mode;
        const char* kind;
        const char* caps;
        std::size_t frames;
        GstClockTime latency;
    };
    for (const Row& row :
         {Row{"g711", "audioin_c0_s0_g711_mode=pcmu", "pcmu", "audio/x-mulaw, rate=(int)8000", 3, GST_SECOND},
          Row{"g711", "audioin_c0_s0_g711_mode=pcma", "pcma", "audio/x-alaw, rate=(int)8000", 3, GST_SECOND},
          Row{"aac", "audioin_c0_s0_codectype=aac4", "aac", "stream-format=(string)raw", 60, 0}})
    {
        SCOPED_TRACE(row.mode);
        const CameraProcess camera({"--source", "canned", "--profile", "audio", "--set", row.mode});
        Rig rig(camera.Location());
        rig.SetText("audio", row.audio);
        rig.Go(GST_STATE_PLAYING);
        ASSERT_TRUE(rig.WaitForFrames("audio_0", row.frames)) << rig.Error();
        GstQuery* const query = gst_query_new_latency();
        GstPad* const pad = gst_element_get_static_pad(rig.Source(), "audio_0");
        EXPECT_TRUE(gst_pad_query(pad, query));
        gboolean isLive = FALSE;
        GstClockTime least = 0;
        gst_query_parse_latency(query, &isLive, &least, nullptr);
        gst_query_unref(query);
        gst_object_unref(pad);
        rig.Go(GST_STATE_NULL);

        const Received received = rig.Of("audio_0");
        EXPECT_EQ(InTruth(received, camera.Truth(row.kind)), received.frames.size());
        EXPECT_THAT(received.caps.front(), HasSubstr(row.caps));
        EXPECT_EQ(received.caps.front().find("codec_data") != std::string::npos,
                  row.kind == std::string("aac"));
        EXPECT_TRUE(isLive);
        EXPECT_GE(least, row.latency);
        for (const Arrived& frame : received.frames)
            EXPECT_LE(frame.running, frame.time + least + 2 * GST_SECOND)
                << "of a sink that takes all at once";
        ExpectForward(received);
    }
}

// The camera plays a scale of pure notes, half a second each.
TEST(Media, BringsG726InTheBitOrderThatDecodersExpect)
{
    if (GstElementFactory* const decoder = gst_element_factory_find("avdec_g726"))
        gst_object_unref(decoder);
    else
        GTEST_SKIP() << "there is no decoder of G.726";
    for (const int rate : {16000, 24000, 32000, 40000})
    {
        SCOPED_TRACE(rate);
        const CameraProcess camera({"--source", "canned", "--profile", "audio", "--set",
                                    "audioin_c0_s0_g726_bitrate=" + std::to_string(rate)});
        const std::string line = "larkmoorsrc audio=g726 location=" + camera.Location() +
                                 " ! avdec_g726 ! audioconvert ! audio/x-raw,format=S16LE,channels=1 !"
                                 " fakesink name=sink sync=false signal-handoffs=true";
        GError* problem = nullptr;
        GstElement* const pipeline = gst_parse_launch(line.c_str(), &problem);
        ASSERT_EQ(problem, nullptr) << problem->message;
        struct Sound
        {
            std::mutex lock;
            std::condition_variable change;
            std::vector<std::int16_t> samples;
        } sound;
        GstElement* const sink = gst_bin_get_by_name(GST_BIN(pipeline), "sink");
        const auto take = +[](GstElement*, GstBuffer* buffer, GstPad*, Sound* into)
        {
            GstMapInfo map;
            gst_buffer_map(buffer, &map, GST_MAP_READ);
            const std::lock_guard guard(into->lock);
            const auto* const samples = reinterpret_cast<const std::int16_t*>(map.data);
            into->samples.insert(into->samples.end(), samples, samples + map.size / 2);
            gst_buffer_unmap(buffer, &map);
            into->change.notify_all();
        };
        g_signal_connect(sink, "handoff", G_CALLBACK(take), &sound);
        gst_element_set_state(pipeline, GST_STATE_PLAYING);
        {
            std::unique_lock guard(sound.lock);
            EXPECT_TRUE(
                sound.change.wait_for(guard, kPatience, [&] { return sound.samples.size() >= 16000; }));
        }
        gst_element_set_state(pipeline, GST_STATE_NULL);
        gst_object_unref(sink);
        gst_object_unref(pipeline);

        // Pieces of a quarter of a second, of which some hold two notes: the pitch by the crossings of zero.
        constexpr std::size_t kPiece = 2000;
        unsigned pure = 0;
        unsigned pieces = 0;
        for (std::size_t at = 0; at + kPiece <= sound.samples.size(); at += kPiece, ++pieces)
        {
            unsigned crossings = 0;
            for (std::size_t i = at + 1; i < at + kPiece; ++i)
                crossings += (sound.samples[i] < 0) != (sound.samples[i - 1] < 0) ? 1 : 0;
            const double pitch = crossings * 8000.0 / (2 * kPiece);
            for (const double note : {523.25, 587.33, 659.26, 698.46, 783.99, 880.0, 987.77, 1046.5})
                pure += std::abs(pitch - note) < note * 0.015 ? 1 : 0;
        }
        EXPECT_GE(pure * 10, pieces * 4) << pure << " of " << pieces;
    }
}

TEST(Media, FollowsAChangeOfSizeAndRate)
{
    const CameraProcess camera;
    Rig rig(camera.Location());
    rig.Go(GST_STATE_PLAYING);
    ASSERT_TRUE(rig.WaitForFrames("video_0", 10)) << rig.Error();
    rig.Set("width", 320u, "height", 240u);
    EXPECT_TRUE(rig.WaitFor(
        [](const auto& received)
        { return received.at("video_0").caps.back().find("width=(int)320") != std::string::npos; }));
    const std::size_t changed = rig.Of("video_0").frames.size();
    EXPECT_TRUE(rig.WaitForFrames("video_0", changed + 10));
    ExpectForward(rig.Of("video_0"));
    EXPECT_EQ(rig.Of("video_0").caps.size(), 2u);
    EXPECT_EQ(rig.Error(), "");
}

TEST(Media, LeavesAGapWhileTheCameraIsAwayAndNothingElse)
{
    CameraProcess camera({"--source", "canned"});
    Rig rig(camera.Location());
    rig.SetText("transport", "tcp");
    rig.Go(GST_STATE_PLAYING);
    ASSERT_TRUE(rig.WaitForFrames("video_0", 25)) << rig.Error();
    camera.Kill();
    EXPECT_TRUE(rig.WaitForMessage("state=(string)connecting"));
    EXPECT_TRUE(rig.WaitFor([](const auto& received) { return received.at("video_0").gapEnds.size() >= 2; }));
    const std::size_t before = rig.Of("video_0").frames.size();
    camera.Begin();
    ASSERT_TRUE(rig.WaitForFrames("video_0", before + 25)) << rig.Error();
    const Received received = rig.Of("video_0");
    const Arrived& back = received.frames[before];
    EXPECT_TRUE(back.isDiscontinuous && !back.isDelta);
    EXPECT_GE(back.time, received.gapEnds.back());
    ExpectForward(received);
    EXPECT_EQ(received.caps.size(), 1u);
    EXPECT_EQ(rig.Error(), "");
    GstStructure* statistics = nullptr;
    g_object_get(rig.Source(), "stats", &statistics, nullptr);
    guint64 reconnects = 0;
    EXPECT_TRUE(gst_structure_get_uint64(statistics, "reconnects", &reconnects));
    EXPECT_GE(reconnects, 1u);
    gst_structure_free(statistics);
}

TEST(Media, ABlockedSinkCostsALimitedNumberOfFramesAndNoThreadOfTheDriver)
{
    const CameraProcess camera({"--source", "flood"});
    Rig rig(camera.Location());
    rig.SetText("transport", "http");
    struct Block
    {
        std::mutex lock;
        std::condition_variable change;
        bool isOver = false;
    } block;
    const auto hold = +[](GstElement*, GstBuffer*, GstPad*, Block* held)
    {
        std::unique_lock guard(held->lock);
        held->change.wait(guard, [&] { return held->isOver; });
    };
    rig.OnHandoff(G_CALLBACK(hold), &block);
    rig.Go(GST_STATE_PLAYING);
    EXPECT_TRUE(rig.WaitForMessage("larkmoor-dropping")) << rig.Error();
    {
        const std::lock_guard guard(block.lock);
        block.isOver = true;
    }
    block.change.notify_all();
    EXPECT_TRUE(rig.WaitForMessage("larkmoor-dropped")) << "it goes on with a key frame";
    EXPECT_EQ(rig.Error(), "");
}

} // namespace larkmoor::gst::test
