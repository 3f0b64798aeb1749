#include "host/recording/matroska_writer.h"
#include "host/recording/recorder.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>

namespace larkmoor::host::test
{

using namespace korvane::ipcapture;

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

namespace
{

// Writes when it may.
class GatedWriter final : public IFrameWriter
{
public:
    void Write(const Frame& frame) override
    {
        std::unique_lock guard(lock_);
        changed_.wait(guard, [this] { return open_; });
        sizes_.push_back(frame.Data().size());
    }
    void Finish() override { finished_ = true; }

    void Open()
    {
        const std::lock_guard guard(lock_);
        open_ = true;
        changed_.notify_all();
    }

    std::vector<std::size_t> sizes_;
    bool finished_ = false;

private:
    std::mutex lock_;
    std::condition_variable changed_;
    bool open_ = false;
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
    writer.Open();
    EXPECT_FALSE(recorder.Finish());
    EXPECT_EQ(writer.sizes_.size(), taken);
    EXPECT_TRUE(writer.finished_);
    EXPECT_FALSE(recorder.TakeFrame(MakeHold(allocator, 1))) << "after the end";
    EXPECT_EQ(faults.Count(), 0u);
}

} // namespace larkmoor::host::test
