#include "host/base/failure.h"
#include "host/recording/annex_b.h"
#include "host/recording/frame_files.h"
#include "host/recording/matroska_writer.h"
#include "host/recording/picture.h"
#include "host/recording/recorder.h"
#include "host/recording/timeline.h"

#include "host/frame_tests.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <condition_variable>
#include <mutex>

namespace larkmoor::host::test
{

using namespace korvane::ipcapture;
using testing::ElementsAre;
using testing::HasSubstr;

namespace
{

constexpr std::int64_t kNoon = 1'709'294'400'000; // 2024-03-01 12:00 UTC, milliseconds

struct PlayedFile
{
    int width = 0;
    int height = 0;
    std::vector<std::int64_t> times; // milliseconds
    std::vector<std::string> md5;    // of the packets
};

PlayedFile Play(const std::filesystem::path& file)
{
    PlayedFile played;
    AVFormatContext* format = nullptr;
    if (avformat_open_input(&format, file.c_str(), nullptr, nullptr) < 0)
        return played;
    played.width = format->streams[0]->codecpar->width;
    played.height = format->streams[0]->codecpar->height;
    const LibavPacket packet(av_packet_alloc());
    while (av_read_frame(format, packet.get()) >= 0)
    {
        played.times.push_back(av_rescale_q(packet->pts, format->streams[0]->time_base, {1, 1000}));
        played.md5.push_back(Md5({packet->data, static_cast<std::size_t>(packet->size)}));
        av_packet_unref(packet.get());
    }
    avformat_close_input(&format);
    return played;
}

} // namespace

TEST(AnnexB, FindsTheHeadersOfAKeyFrame)
{
    const Bytes keyFrame = {0, 0, 1, 0x67, 1, 2, 0, 0, 0, 1, 0x68, 3, 0, 0, 1, 0x65, 4, 0, 0, 1, 9, 0x30};
    EXPECT_THAT(H264Headers(keyFrame), ElementsAre(0, 0, 0, 1, 0x67, 1, 2, 0, 0, 0, 1, 0x68, 3));
    EXPECT_EQ(SplitUnits(keyFrame).size(), 4u);
    const Bytes withoutPicture = {0, 0, 1, 0x67, 1, 0, 0, 1, 0x65, 4};
    EXPECT_TRUE(H264Headers(withoutPicture).empty());

    const Bytes mpeg4 = {0, 0, 1, 0xB0, 1, 0, 0, 1, 0x20, 5, 6, 0, 0, 1, 0xB6, 7};
    EXPECT_THAT(Mpeg4Headers(mpeg4), ElementsAre(0, 0, 1, 0xB0, 1, 0, 0, 1, 0x20, 5, 6));
    EXPECT_TRUE(Mpeg4Headers(Bytes(mpeg4.begin() + 11, mpeg4.end())).empty()) << "a picture without a layer";

    for (std::size_t n = 0; n < keyFrame.size();
         ++n) // exact copies let the address sanitizer see one byte too far
    {
        const Bytes cut(keyFrame.begin(), keyFrame.begin() + static_cast<std::ptrdiff_t>(n));
        SplitUnits(cut);
        Mpeg4Headers(cut);
    }
}

TEST(Timeline, AlwaysGoesForward)
{
    const struct
    {
        const char* name;
        std::vector<std::int64_t> times; // milliseconds
        std::vector<std::int64_t> places;
        std::uint64_t moved;
    } cases[] = {
        {"even", {1000, 1040, 1080}, {0, 40, 80}, 0},
        {"twice the same", {1000, 1040, 1040, 1080}, {0, 40, 41, 80}, 1},
        {"a little back", {1000, 1040, 1030, 1080}, {0, 40, 41, 80}, 1},
        {"the clock is set back", {100'000, 100'100, 5'000, 5'100}, {0, 100, 200, 300}, 1},
        {"a pause stays a pause", {1000, 1040, 61'000}, {0, 40, 60'000}, 0},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        Timeline timeline;
        std::vector<std::int64_t> places;
        for (const std::int64_t time : c.times)
            places.push_back(timeline.Place(time * 1000));
        EXPECT_EQ(places, c.places);
        EXPECT_EQ(timeline.Moved(), c.moved);
    }
}

TEST(MatroskaWriter, WritesFramesUntouchedAndAFileForEachSize)
{
    const TemporaryFolder folder;
    MatroskaWriter writer(folder / "cam.1.mkv");
    const Bytes small = EncodePicture(AV_CODEC_ID_MJPEG, 64, 48, 30);
    const Bytes large = EncodePicture(AV_CODEC_ID_MJPEG, 128, 96, 200);
    writer.Write(*FilledFrame(kFormatJpeg, small, 64, 48, kNoon));
    writer.Write(*FilledFrame(kFormatJpeg, small, 64, 48, kNoon + 40));
    writer.Write(*FilledFrame(kFormatJpeg, large, 128, 96, kNoon + 80));
    writer.Write(*FilledFrame(kFormatJpeg, large, 128, 96, kNoon + 1080));
    writer.Finish();

    const PlayedFile first = Play(folder / "cam.1.mkv");
    EXPECT_EQ(first.width, 64);
    EXPECT_THAT(first.times, ElementsAre(0, 40));
    EXPECT_THAT(first.md5, ElementsAre(Md5(small), Md5(small)));
    const PlayedFile second = Play(folder / "cam.1-2.mkv");
    EXPECT_EQ(second.height, 96);
    EXPECT_THAT(second.times, ElementsAre(0, 1000));
    ASSERT_EQ(writer.Files().size(), 2u);
    EXPECT_EQ(writer.Files()[1].frames, 2u);
    EXPECT_EQ(writer.Files()[1].firstTime, (kNoon + 80) * 1000);
}

TEST(MatroskaWriter, BeginsH264AtAKeyFrame)
{
    const TemporaryFolder folder;
    const Bytes key = EncodePicture(AV_CODEC_ID_H264, 64, 48, 90);
    ASSERT_FALSE(key.empty());
    MatroskaWriter writer(folder / "a.mkv");
    writer.Write(*FilledFrame(kFormatH264Delta, {0, 0, 1, 0x41, 1}, 64, 48, kNoon));
    EXPECT_TRUE(writer.Files().empty());
    writer.Write(*FilledFrame(kFormatH264Key, key, 64, 48, kNoon + 40));
    writer.Write(*FilledFrame(kFormatH264Key, key, 64, 48, kNoon + 80));
    writer.Finish();
    EXPECT_THAT(Play(folder / "a.mkv").times, ElementsAre(0, 40));
}

TEST(MatroskaWriter, SaysThatItCannotWrite)
{
    const FilledFrame frame(kFormatJpeg, EncodePicture(AV_CODEC_ID_MJPEG, 64, 48, 1), 64, 48, kNoon);
    MatroskaWriter nowhere("/nonexistent/folder/a.mkv");
    EXPECT_THROW(nowhere.Write(*frame), Failure);
    MatroskaWriter full("/dev/full"); // every write there says that the disk is full
    EXPECT_THROW(
        {
            full.Write(*frame);
            full.Finish();
        },
        Failure);
}

TEST(FrameFiles, WriteBytesAndWhatIsKnownOfThem)
{
    const TemporaryFolder folder;
    RawWriter raw(folder / "raw");
    FrameLog log(folder / "frames");
    for (IFrameWriter* writer : {static_cast<IFrameWriter*>(&raw), static_cast<IFrameWriter*>(&log)})
    {
        writer->Write(*FilledFrame(kFormatH264Key, {'a', 'b', 'c'}, 640, 480, kNoon + 7));
        writer->Write(*FilledFrame(kFormatH264Delta, {}, 640, 480, kNoon + 47));
        writer->Finish();
    }
    EXPECT_EQ(ReadFile(folder / "raw"), "abc");
    const std::string lines = ReadFile(folder / "frames");
    // The digests are those of RFC 1321, section A.5.
    EXPECT_EQ(lines.substr(0, lines.find('\n')),
              R"({"time":"2024-03-01T12:00:00.007Z","delivered":"1970-01-01T00:00:00.000Z",)"
              R"("format":"H264","size":3,"width":640,"height":480,)"
              R"("md5":"900150983cd24fb0d6963f7d28e17f72"})");
    EXPECT_THAT(lines, HasSubstr("d41d8cd98f00b204e9800998ecf8427e"));
    EXPECT_THROW(RawWriter("/nonexistent/raw"), Failure);
}

TEST(Picture, ShowsWhatTheCameraSaw)
{
    const TemporaryFolder folder;
    const struct
    {
        const char* name;
        AVCodecID codec;
        std::uint32_t format;
        std::uint8_t luma;
        int grey; // of the picture, 0 to 255
    } cases[] = {
        {"JPEG, full range", AV_CODEC_ID_MJPEG, kFormatJpeg, 200, 200},
        {"H.264, studio range", AV_CODEC_ID_H264, kFormatH264Key, 126, 128}, // (126 - 16) * 255 / 219
        {"MPEG-4", AV_CODEC_ID_MPEG4, kFormatMpeg4Key, 60, 51},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        PictureKeeper keeper;
        keeper.WantLast(folder / "last.png");
        keeper.Write(*FilledFrame(c.format, EncodePicture(c.codec, 64, 48, c.luma), 64, 48, kNoon));
        keeper.Finish();

        AVFormatContext* input = nullptr;
        ASSERT_EQ(avformat_open_input(&input, (folder / "last.png").c_str(), nullptr, nullptr), 0);
        const LibavPacket packet(av_packet_alloc());
        ASSERT_EQ(av_read_frame(input, packet.get()), 0);
        const AVCodec* decoder = avcodec_find_decoder(AV_CODEC_ID_PNG);
        const LibavCodecContext context(avcodec_alloc_context3(decoder));
        const LibavFrame frame(av_frame_alloc());
        avcodec_open2(context.get(), decoder, nullptr);
        avcodec_send_packet(context.get(), packet.get());
        ASSERT_EQ(avcodec_receive_frame(context.get(), frame.get()), 0);
        EXPECT_EQ(frame->width, 64);
        EXPECT_EQ(frame->height, 48);
        EXPECT_NEAR(frame->data[0][24 * frame->linesize[0] + 90], c.grey, 4);
        avformat_close_input(&input);
    }
}

TEST(PictureKeeper, TakesPicturesWhenTheyAreWanted)
{
    const TemporaryFolder folder;
    PictureKeeper keeper;
    keeper.WantNow(folder / "first.png"); // none yet: the first that comes
    keeper.Write(*FilledFrame(kFormatJpeg, EncodePicture(AV_CODEC_ID_MJPEG, 64, 48, 10), 64, 48, kNoon));
    keeper.Write(*FilledFrame(kFormatJpeg, EncodePicture(AV_CODEC_ID_MJPEG, 32, 48, 250), 32, 48, kNoon));
    keeper.WantNow(folder / "second.png");
    keeper.Finish();
    const std::string first = ReadFile(folder / "first.png");
    const std::string second = ReadFile(folder / "second.png");
    ASSERT_GT(first.size(), 24u);
    EXPECT_EQ(first[19], 64); // the width in the header of a PNG (ISO/IEC 15948, 11.2.2)
    ASSERT_GT(second.size(), 24u);
    EXPECT_EQ(second[19], 32);

    PictureKeeper nothing;
    nothing.WantLast(folder / "none.png");
    EXPECT_THROW(nothing.Finish(), Failure);
    PictureKeeper damaged;
    damaged.WantLast(folder / "damaged.png");
    damaged.Write(*FilledFrame(kFormatH264Key, {0, 0, 1, 0x67, 1, 2, 3}, 64, 48, kNoon));
    EXPECT_THROW(damaged.Finish(), Failure);
}

namespace
{

// Writes when it may, and fails when it is told to.
class GatedWriter final : public IFrameWriter
{
public:
    void Write(const Frame& frame) override
    {
        std::unique_lock guard(lock_);
        changed_.wait(guard, [this] { return open_; });
        if (failing_)
            throw Failure(ExitStatus::Output, "the disk is full");
        sizes_.push_back(frame.Data().size());
    }
    void Finish() override { finished_ = true; }

    void Open(bool failing)
    {
        const std::lock_guard guard(lock_);
        open_ = true;
        failing_ = failing;
        changed_.notify_all();
    }

    std::vector<std::size_t> sizes_;
    bool finished_ = false;

private:
    std::mutex lock_;
    std::condition_variable changed_;
    bool open_ = false;
    bool failing_ = false;
};

FrameHold MakeHold(FrameAllocator& allocator, std::uint32_t size)
{
    IHostFrame* frame = allocator.AllocateVideoFrame(kFormatJpeg, size, "Test");
    frame->SetDataSize(size);
    FrameHold hold = allocator.Hold(frame);
    allocator.ReleaseFrame(frame);
    return hold;
}

} // namespace

TEST(Recorder, WritesAllThatItTookAndRefusesTheRest)
{
    FaultList faults;
    FrameAllocator allocator(faults);
    GatedWriter writer;
    Recorder recorder({&writer});
    constexpr std::uint32_t kFrame = 8u << 20;
    std::size_t taken = 0;
    while (taken < 100 && recorder.TakeFrame(MakeHold(allocator, kFrame)))
        ++taken;
    EXPECT_GE(taken, Recorder::kMostBytes / kFrame);
    EXPECT_LE(taken, Recorder::kMostBytes / kFrame + 1) << "one may be with the writer already";
    writer.Open(false);
    EXPECT_FALSE(recorder.Finish());
    EXPECT_EQ(writer.sizes_.size(), taken);
    EXPECT_TRUE(writer.finished_);
    EXPECT_FALSE(recorder.TakeFrame(MakeHold(allocator, 1))) << "after the end";
    EXPECT_EQ(faults.Count(), 0u);
}

TEST(Recorder, ReportsAFailedWriteAndStillClosesTheFiles)
{
    FaultList faults;
    FrameAllocator allocator(faults);
    GatedWriter writer;
    Recorder recorder({&writer});
    EXPECT_TRUE(recorder.TakeFrame(MakeHold(allocator, 1)));
    EXPECT_TRUE(recorder.TakeFrame(MakeHold(allocator, 1)));
    writer.Open(true);
    EXPECT_EQ(recorder.Finish(), "the disk is full");
    EXPECT_TRUE(recorder.HasFailed());
    EXPECT_TRUE(writer.finished_);
    EXPECT_TRUE(writer.sizes_.empty());
}

} // namespace larkmoor::host::test
