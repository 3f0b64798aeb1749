#include "gstreamer/frame_queue.h"

#include <utility>

namespace larkmoor::gst
{

bool FrameQueue::IsFull(const QueuedFrame& frame) const
{
    return frames_.size() >= kMostFrames || bytes_ + gst_buffer_get_size(frame.buffer.get()) > kMostBytes ||
           (!frames_.empty() &&
            GST_BUFFER_PTS(frame.buffer.get()) > GST_BUFFER_PTS(frames_.front().buffer.get()) + kLongest);
}

FrameQueue::Taken FrameQueue::Put(QueuedFrame frame)
{
    const std::lock_guard guard(lock_);
    if (frame.caps)
    {
        caps_ = std::move(frame.caps);
        change_.notify_one();
    }
    if (!isOpen_ || isFlushing_ || isEos_)
    {
        needsKey_ = isInterrupted_ = true;
        return Taken::NotWanted;
    }
    if (IsFull(frame) || (isDropping_ && !frame.isKey))
    {
        needsKey_ = isInterrupted_ = true;
        ++drops_.frames;
        drops_.begun += std::exchange(isDropping_, true) ? 0 : 1;
        return Taken::No;
    }
    if (needsKey_ && !frame.isKey)
        return Taken::NotWanted;
    if (isInterrupted_)
        GST_BUFFER_FLAG_SET(frame.buffer.get(), GST_BUFFER_FLAG_DISCONT);
    needsKey_ = isInterrupted_ = false;
    drops_.ended += std::exchange(isDropping_, false) ? 1 : 0;
    frame.caps = std::move(caps_);
    bytes_ += gst_buffer_get_size(frame.buffer.get());
    frames_.push_back(std::move(frame));
    change_.notify_one();
    return Taken::Yes;
}

FrameQueue::Got FrameQueue::Take(std::chrono::milliseconds patience)
{
    std::unique_lock guard(lock_);
    change_.wait_for(guard, patience, [this] { return !frames_.empty() || caps_ || isFlushing_ || isEos_; });
    Got got;
    if (isFlushing_)
        got.end = End::Flushing;
    else if (!frames_.empty())
    {
        bytes_ -= gst_buffer_get_size(frames_.front().buffer.get());
        got.frame = std::move(frames_.front());
        frames_.pop_front();
    }
    else if (caps_)
        got.caps = std::move(caps_);
    else if (isEos_)
        got.end = End::Eos;
    return got;
}

void FrameQueue::SetOpen(bool isOpen)
{
    const std::lock_guard guard(lock_);
    isOpen_ = isOpen;
}

void FrameQueue::SetFlushing(bool isFlushing)
{
    const std::lock_guard guard(lock_);
    isFlushing_ = isFlushing;
    if (isFlushing_)
    {
        // The newest caps stay, for what comes next.
        for (; !frames_.empty(); frames_.pop_back())
            if (!caps_)
                caps_ = std::move(frames_.back().caps);
        bytes_ = 0;
        needsKey_ = isInterrupted_ = true;
        drops_.ended += std::exchange(isDropping_, false) ? 1 : 0;
        isEos_ = false;
    }
    change_.notify_all();
}

void FrameQueue::SetEos()
{
    const std::lock_guard guard(lock_);
    isEos_ = true;
    change_.notify_all();
}

void FrameQueue::Interrupt()
{
    const std::lock_guard guard(lock_);
    isInterrupted_ = true;
}

FrameQueue::Drops FrameQueue::Dropped() const
{
    const std::lock_guard guard(lock_);
    return drops_;
}

std::size_t FrameQueue::Level() const
{
    const std::lock_guard guard(lock_);
    return frames_.size();
}

} // namespace larkmoor::gst
