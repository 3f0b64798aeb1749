#include "gstreamer/frame_queue.h"

#include <gtest/gtest.h>

namespace larkmoor::gst
{

namespace
{

QueuedFrame Frame(std::size_t bytes, bool isKey, GstClockTime time = 0)
{
    QueuedFrame frame{BufferHold(gst_buffer_new_allocate(nullptr, bytes, nullptr)), nullptr, isKey};
    GST_BUFFER_PTS(frame.buffer.get()) = time;
    return frame;
}

constexpr std::size_t kHalf = FrameQueue::kMostBytes / 2;
constexpr std::chrono::milliseconds kAtOnce{0};

bool IsDiscontinuous(const FrameQueue::Got& got)
{
    return got.frame && GST_BUFFER_FLAG_IS_SET(got.frame->buffer.get(), GST_BUFFER_FLAG_DISCONT);
}

} // namespace

TEST(FrameQueue, WhenItIsFullDropsUpToTheNextKeyFrame)
{
    using enum FrameQueue::Taken;
    FrameQueue queue;
    EXPECT_EQ(queue.Put(Frame(10, true)), NotWanted) << "it is closed";
    queue.SetOpen(true);
    EXPECT_EQ(queue.Put(Frame(10, false)), NotWanted) << "what it depends on was not taken";
    EXPECT_EQ(queue.Put(Frame(kHalf, true)), Yes);
    EXPECT_EQ(queue.Put(Frame(kHalf, false)), Yes);
    EXPECT_EQ(queue.Put(Frame(1, false)), No);
    EXPECT_EQ(queue.Put(Frame(1, true)), No) << "a key frame has no room either";
    EXPECT_TRUE(IsDiscontinuous(queue.Take(kAtOnce)));
    EXPECT_EQ(queue.Put(Frame(1, false)), No) << "there is room, and nothing to build on";
    EXPECT_EQ(queue.Put(Frame(1, true)), Yes);
    EXPECT_FALSE(IsDiscontinuous(queue.Take(kAtOnce)));
    EXPECT_TRUE(IsDiscontinuous(queue.Take(kAtOnce))) << "the frame behind the dropped ones";
    EXPECT_EQ(queue.Dropped().frames, 3u);
    EXPECT_EQ(queue.Dropped().begun, 1u);
    EXPECT_EQ(queue.Dropped().ended, 1u);
}

TEST(FrameQueue, HoldsNoMoreThanSomeSeconds)
{
    FrameQueue queue;
    queue.SetOpen(true);
    EXPECT_EQ(queue.Put(Frame(1, true, 0)), FrameQueue::Taken::Yes);
    EXPECT_EQ(queue.Put(Frame(1, true, FrameQueue::kLongest)), FrameQueue::Taken::Yes);
    EXPECT_EQ(queue.Put(Frame(1, true, FrameQueue::kLongest + 1)), FrameQueue::Taken::No);
}

TEST(FrameQueue, KeepsTheCapsOfWhatWasNotTaken)
{
    FrameQueue queue;
    QueuedFrame frame = Frame(1, true);
    frame.caps.reset(gst_caps_new_empty_simple("image/jpeg"));
    queue.Put(std::move(frame));
    const FrameQueue::Got got = queue.Take(kAtOnce);
    EXPECT_FALSE(got.frame);
    EXPECT_TRUE(got.caps);
}

TEST(FrameQueue, AFlushEmptiesItAndAnEndComesBehindTheFrames)
{
    FrameQueue queue;
    queue.SetOpen(true);
    queue.Put(Frame(1, true));
    queue.SetFlushing(true);
    EXPECT_EQ(queue.Take(kAtOnce).end, FrameQueue::End::Flushing);
    queue.SetFlushing(false);
    EXPECT_EQ(queue.Put(Frame(1, false)), FrameQueue::Taken::NotWanted);
    EXPECT_EQ(queue.Put(Frame(1, true)), FrameQueue::Taken::Yes);
    queue.SetEos();
    EXPECT_EQ(queue.Put(Frame(1, true)), FrameQueue::Taken::NotWanted);
    EXPECT_TRUE(IsDiscontinuous(queue.Take(kAtOnce)));
    EXPECT_EQ(queue.Take(kAtOnce).end, FrameQueue::End::Eos);
}

} // namespace larkmoor::gst
