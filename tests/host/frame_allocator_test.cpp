#include "host/contract/frame_allocator.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

namespace larkmoor::host
{

using namespace korvane::ipcapture;
using testing::HasSubstr;

namespace
{

struct AllocatorBench
{
    FaultList faults;
    FrameAllocator allocator{faults};

    IHostFrame* Video(std::uint32_t size)
    {
        return allocator.AllocateVideoFrame(kFormatH264Key, size, "Test");
    }
    void WriteAt(std::ptrdiff_t place)
    {
        IHostFrame* const frame = Video(100);
        *(frame->GetData() + place) = 1;
        allocator.ReleaseFrame(frame);
    }
    std::string Fault() const { return faults.Texts().empty() ? "" : faults.Texts().front(); }
};

} // namespace

TEST(FrameAllocator, FindsEveryBreachOfTheContract)
{
    const struct
    {
        const char* name;
        std::function<void(AllocatorBench&)> driver;
        const char* fault;
    } cases[] = {
        {"write behind the end", [](AllocatorBench& f) { f.WriteAt(100); },
         "write outside a frame of 100 bytes"},
        {"write before the start", [](AllocatorBench& f) { f.WriteAt(-1); }, "write outside"},
        {"released twice",
         [](AllocatorBench& f)
         {
             IHostFrame* frame = f.Video(100);
             f.allocator.ReleaseFrame(frame);
             f.allocator.ReleaseFrame(frame);
         },
         "does not hold"},
        {"released as null", [](AllocatorBench& f) { f.allocator.ReleaseFrame(nullptr); }, "does not hold"},
        {"video released as audio", [](AllocatorBench& f) { f.allocator.ReleaseAudioFrame(f.Video(1)); },
         "as audio"},
        {"more data than room",
         [](AllocatorBench& f)
         {
             IHostFrame* frame = f.Video(10);
             frame->SetDataSize(11);
             f.allocator.ReleaseFrame(frame);
         },
         "SetDataSize of 11 bytes in a frame of 10"},
        {"more audio than room",
         [](AllocatorBench& f)
         {
             const std::uint8_t bytes[8] = {};
             IHostFrame* frame = f.allocator.AllocateAudioFrame(kFormatAac, 7, "Test");
             frame->SetData(bytes, 8);
             f.allocator.ReleaseAudioFrame(frame);
         },
         "SetData of 8 bytes into a frame of 7"},
        {"a frame of a gigabyte", [](AllocatorBench& f) { EXPECT_EQ(f.Video(1u << 30), nullptr); },
         "1073741824 bytes"},
        {"a frame without a name",
         [](AllocatorBench& f)
         { f.allocator.ReleaseFrame(f.allocator.AllocateVideoFrame(kFormatJpeg, 1, nullptr)); },
         "without the driver's name"},
        {"written to while the host still holds it",
         [](AllocatorBench& f)
         {
             IHostFrame* const frame = f.Video(100);
             const FrameHold hold = f.allocator.Hold(frame);
             f.allocator.ReleaseFrame(frame);
             frame->GetData()[100] = 1; // through a pointer that the driver should have forgotten
         },
         "write outside"},
        {"delivered after its release",
         [](AllocatorBench& f)
         {
             IHostFrame* frame = f.Video(100);
             f.allocator.ReleaseFrame(frame);
             EXPECT_FALSE(f.allocator.Hold(frame));
         },
         "does not hold"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        AllocatorBench f;
        c.driver(f);
        EXPECT_EQ(f.faults.Count(), 1u);
        EXPECT_THAT(f.Fault(), HasSubstr(c.fault));
        EXPECT_EQ(f.allocator.Outstanding(), 0u);
    }
}

TEST(FrameAllocator, HandsFramesOutAgainOnlyWhenNobodyHoldsThem)
{
    AllocatorBench f;
    IHostFrame* first = f.Video(100);
    first->GetData()[0] = 0x42;
    first->SetDataSize(1);
    first->SetWidth(640);
    FrameHold hold = f.allocator.Hold(first);
    ASSERT_TRUE(hold);
    f.allocator.ReleaseFrame(first);
    EXPECT_EQ(f.allocator.Outstanding(), 0u);

    IHostFrame* second = f.Video(100);
    EXPECT_NE(second, first);
    second->GetData()[0] = 0x99;
    EXPECT_EQ(hold->Data()[0], 0x42);
    hold = FrameHold();

    IHostFrame* third = f.Video(100);
    EXPECT_EQ(third, first) << "the frame that came back is used again";
    EXPECT_EQ(static_cast<Frame*>(third)->Info().width, 0u) << "and knows nothing of its former life";
    EXPECT_TRUE(static_cast<Frame*>(third)->Data().empty());
    EXPECT_EQ(f.allocator.Outstanding(), 2u);
    f.allocator.ReleaseFrame(second);
    f.allocator.ReleaseFrame(third);
    EXPECT_EQ(f.faults.Count(), 0u);
}

} // namespace larkmoor::host
