#include "camera/media_decoder.h"

#include "camera/media/annexb.h"
#include "camera/media/stream_hub.h"
#include "camera/media/test_picture.h"
#include "camera/media/video_encoder.h"

#include <boost/asio/io_context.hpp>
#include <gtest/gtest.h>

#include <functional>
#include <memory>

namespace larkmoor::camera
{
namespace
{

/// The number in the picture, with the parameter sets that it needs in front.
std::optional<std::uint32_t> NumberIn(MediaDecoder& decoder, const EncodedFrame& encoded)
{
    Bytes bytes;
    if (encoded.codec == VideoCodec::H264 && encoded.key)
    {
        for (const Bytes* set : {&encoded.parameterSets->sps, &encoded.parameterSets->pps})
        {
            bytes.insert(bytes.end(), {0, 0, 0, 1});
            bytes.insert(bytes.end(), set->begin(), set->end());
        }
    }
    bytes.insert(bytes.end(), encoded.bytes.begin(), encoded.bytes.end());
    const auto number = decoder.Number(std::move(bytes));
    EXPECT_EQ(decoder.Size(), std::pair(encoded.width, encoded.height));
    return number;
}

class Collector : public FrameSubscriber
{
public:
    void OnFrame(const MediaFrame& frame) override
    {
        frames.push_back(frame);
        if (then)
            then(*this);
    }

    std::vector<MediaFrame> frames;
    std::function<void(Collector&)> then;
};

VideoSettings Small(VideoCodec codec)
{
    VideoSettings settings;
    settings.codec = codec;
    settings.width = 176;
    settings.height = 144;
    settings.frameRate = 100;
    settings.quantizer = codec == VideoCodec::MotionJpeg ? 40 : 8;
    settings.keyInterval = 100;
    return settings;
}

TEST(CameraAnnexB, FindsUnitsBetweenStartCodes)
{
    const struct
    {
        const char* name;
        Bytes stream;
        std::vector<std::pair<std::size_t, std::size_t>> units; // offset, size
    } cases[] = {
        {"nothing", {}, {}},
        {"no start code", {0x65, 0, 0, 2}, {}},
        {"start code alone", {0, 0, 1}, {}},
        {"one, four byte code", {0, 0, 0, 1, 0x65, 0x88}, {{4, 2}}},
        {"two, codes of both lengths", {0, 0, 1, 0x67, 0x42, 0, 0, 0, 1, 0x68}, {{3, 2}, {9, 1}}},
        {"trailing zero bytes", {0, 0, 1, 0x41, 0x9A, 0, 0}, {{3, 2}}},
        {"bytes in front", {0xFF, 0, 0, 1, 0x41}, {{4, 1}}},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        std::vector<std::pair<std::size_t, std::size_t>> found;
        for (const NalUnit& unit : SplitAnnexB(c.stream))
            found.emplace_back(unit.offset, unit.size);
        EXPECT_EQ(found, c.units);
    }
}

TEST(CameraEncoder, PicturesShowTheirNumbersAfterDecoding)
{
    VideoSettings sliced = Small(VideoCodec::H264);
    sliced.slices = 4;
    VideoSettings high = Small(VideoCodec::H264);
    high.profile = H264Profile::High;
    high.scalingLists = true;
    VideoSettings interlaced = Small(VideoCodec::H264);
    interlaced.profile = H264Profile::Main;
    interlaced.interlaced = true;
    VideoSettings constantRate = Small(VideoCodec::H264);
    constantRate.rateControl = RateControl::ConstantBitrate;
    VideoSettings large = Small(VideoCodec::H264);
    large.width = 1920; // 1080 lines need cropping
    large.height = 1080;
    const struct
    {
        const char* name;
        VideoSettings settings;
        std::size_t slices;
        std::uint8_t profile; // profile_idc
    } cases[] = {
        {"h264", Small(VideoCodec::H264), 1, 66},        {"h264 in slices", sliced, 4, 66},
        {"h264 high with scaling lists", high, 1, 100},  {"h264 main interlaced", interlaced, 1, 77},
        {"h264 constant bit rate", constantRate, 1, 66}, {"h264 cropped", large, 1, 66},
        {"mpeg4", Small(VideoCodec::Mpeg4), 0, 0},       {"mjpeg", Small(VideoCodec::MotionJpeg), 0, 0},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        const auto encoder = VideoEncoder::Open(c.settings);
        ASSERT_NE(encoder, nullptr);
        TestPicture picture(static_cast<int>(c.settings.width), static_cast<int>(c.settings.height));
        MediaDecoder decoder(c.settings.codec);
        for (const std::uint32_t number : {0u, 1u, 0xA5A5A5A5u, 0x00FF00FFu})
        {
            const bool wantKey = number == 0x00FF00FFu;
            const auto frame = encoder->Encode(picture.Draw({}, "note", number, {}), wantKey);
            ASSERT_NE(frame, nullptr);
            EXPECT_EQ(frame->key, number == 0 || wantKey || c.settings.codec == VideoCodec::MotionJpeg);
            EXPECT_EQ(frame->units.size(), c.slices);
            EXPECT_EQ(NumberIn(decoder, *frame), number);
        }
        if (c.profile != 0)
        {
            ASSERT_GT(encoder->Parameters()->sps.size(), 3u);
            EXPECT_EQ(encoder->Parameters()->sps[1], c.profile);
        }
        if (c.settings.codec == VideoCodec::Mpeg4)
        {
            EXPECT_EQ(Bytes(encoder->Parameters()->config.begin(), encoder->Parameters()->config.begin() + 4),
                      (Bytes{0, 0, 1, 0xB0}));
        }
    }
}

TEST(CameraEncoder, TakesWhateverNumbersAParameterTableHolds)
{
    VideoSettings odd;
    odd.width = 0;
    odd.height = 99'999;
    odd.frameRate = 0;
    odd.slices = 0;
    odd.quantizer = 4'000'000'000u;
    const auto encoder = VideoEncoder::Open(odd);
    ASSERT_NE(encoder, nullptr);
    EXPECT_EQ(encoder->Settings().width, 16u);
    EXPECT_EQ(encoder->Settings().height, 4096u);
}

class CameraStream : public testing::TestWithParam<VideoSource>
{
protected:
    /// Runs the streams until `enough` frames are with `collector`, which then unsubscribes.
    void Collect(VideoStream& stream, Collector& collector, std::size_t enough)
    {
        collector.then = [&, enough](Collector& self)
        {
            if (self.frames.size() == enough)
                stream.Unsubscribe(self);
        };
        stream.Subscribe(collector);
    }

    boost::asio::io_context context_;
    StreamHub hub_{context_, GetParam()};
};

TEST_P(CameraStream, GivesEachSubscriberAWholeStreamAndEndsWithTheLast)
{
    const auto stream = hub_.Stream({0, 1});
    stream->Configure(Small(VideoCodec::H264));
    Collector first;
    Collector second;
    Collect(*stream, first, 12);
    Collect(*stream, second, 25);
    context_.run(); // ends because nothing of the stream is left running

    for (const Collector* collector : {&first, &second})
    {
        MediaDecoder decoder(VideoCodec::H264);
        ASSERT_GE(collector->frames.size(), 12u);
        EXPECT_TRUE(collector->frames.front().encoded->key);
        for (std::size_t i = 0; i < collector->frames.size(); ++i)
        {
            const MediaFrame& frame = collector->frames[i];
            EXPECT_EQ(NumberIn(decoder, *frame.encoded), static_cast<std::uint32_t>(frame.number)) << i;
            if (i > 0)
            {
                EXPECT_EQ(frame.mediaTime - collector->frames[i - 1].mediaTime,
                          (frame.number - collector->frames[i - 1].number) * std::chrono::milliseconds(10));
            }
        }
    }
    EXPECT_EQ(first.frames.size(), 12u);
    EXPECT_EQ(second.frames.size(), 25u);
}

TEST_P(CameraStream, ChangesSizeAndRateInMidStream)
{
    const auto stream = hub_.Stream({0, 0});
    VideoSettings settings = Small(VideoCodec::H264);
    stream->Configure(settings);
    const auto before = stream->Parameters();
    settings.width = 320;
    settings.height = 240;
    settings.frameRate = 50;
    Collector collector;
    collector.then = [&](Collector& self)
    {
        if (self.frames.size() == 5)
            stream->Configure(settings);
        const auto& frames = self.frames;
        if (frames.size() > 1 && frames[frames.size() - 2].encoded->width == 320)
            stream->Unsubscribe(self);
    };
    stream->Subscribe(collector);
    context_.run();

    const auto& frames = collector.frames;
    const MediaFrame& last = frames.back();
    const MediaFrame& changed = frames[frames.size() - 2];
    EXPECT_TRUE(changed.encoded->key);
    EXPECT_EQ(changed.encoded->height, 240);
    EXPECT_EQ(last.mediaTime - changed.mediaTime, std::chrono::milliseconds(20));
    ASSERT_NE(stream->Parameters(), nullptr);
    EXPECT_EQ(stream->Parameters()->sps, changed.encoded->parameterSets->sps);
    EXPECT_NE(before->sps, changed.encoded->parameterSets->sps);
}

INSTANTIATE_TEST_SUITE_P(Sources, CameraStream, testing::Values(VideoSource::Live, VideoSource::Canned),
                         [](const auto& source)
                         { return source.param == VideoSource::Live ? "Live" : "Canned"; });

TEST(CameraStreams, FloodGivesAFrameForEachPullAndNoneOtherwise)
{
    boost::asio::io_context context;
    StreamHub hub(context, VideoSource::Flood);
    const auto stream = hub.Stream({0, 0});
    stream->Configure(Small(VideoCodec::H264));
    Collector collector;
    stream->Subscribe(collector);
    context.run();
    EXPECT_TRUE(collector.frames.empty());
    for (int i = 0; i < 120; ++i) // round the loop
        stream->Pull(collector);
    ASSERT_EQ(collector.frames.size(), 120u);
    EXPECT_EQ(collector.frames.back().mediaTime, std::chrono::milliseconds(1190));
    stream->Unsubscribe(collector);
}

TEST(CameraScene, APanAndAnOutputShowInThePicture)
{
    TestPicture still(320, 240);
    const auto pixels = [](const Canvas& canvas)
    { return Bytes(canvas.Plane(0), canvas.Plane(0) + static_cast<std::ptrdiff_t>(canvas.Stride(0)) * 240); };
    SceneState state;
    const Bytes first = pixels(still.Draw(state, "", 7, {}));
    EXPECT_EQ(pixels(still.Draw(state, "", 7, {})), first); // what moved before is put back
    (void)still.Draw(state, "", 50, {});
    EXPECT_EQ(pixels(still.Draw(state, "", 7, {})), first);
    state.view.pan = 3;
    const Bytes panned = pixels(still.Draw(state, "", 7, {}));
    EXPECT_NE(panned, first);
    state.view.pan = 363; // a full turn sees the same
    EXPECT_EQ(pixels(still.Draw(state, "", 7, {})), panned);
    state.outputs = {true};
    const Bytes lit = pixels(still.Draw(state, "", 7, {}));
    EXPECT_NE(lit, panned);
    state.outputs = {false};
    EXPECT_NE(pixels(still.Draw(state, "", 7, {})), lit);
}

} // namespace
} // namespace larkmoor::camera
