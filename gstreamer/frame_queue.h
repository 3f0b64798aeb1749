#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>

#include <gst/gst.h>

namespace larkmoor::gst
{

struct Unref
{
    void operator()(GstBuffer* buffer) const { gst_buffer_unref(buffer); }
    void operator()(GstCaps* caps) const { gst_caps_unref(caps); }
};
using BufferHold = std::unique_ptr<GstBuffer, Unref>;
using CapsHold = std::unique_ptr<GstCaps, Unref>;

/// A frame on its way to the pipeline, with its times in the buffer.
struct QueuedFrame
{
    BufferHold buffer;
    CapsHold caps; ///< only if they are new
    bool isKey = true;
};

/// Frames between a thread of the driver, which never waits here, and the thread that pushes them on. When it
/// is full, nothing is taken up to the next key frame for which there is room. Any thread.
class FrameQueue
{
public:
    static constexpr std::size_t kMostBytes = 32u << 20;
    static constexpr std::size_t kMostFrames = 2000;
    static constexpr GstClockTime kLongest = 6 * GST_SECOND; ///< G.726 of the same pipeline takes 4 s to come

    enum class Taken
    {
        Yes,
        No,        ///< the queue was, or is, full
        NotWanted, ///< it is closed, or what the frame depends on was
    };

    /// Frames for which there was no room.
    struct Drops
    {
        std::uint64_t frames = 0;
        std::uint64_t begun = 0; ///< times that it was full
        std::uint64_t ended = 0; ///< times that it went on behind that
    };

    enum class End
    {
        None,
        Flushing,
        Eos,
    };

    struct Got
    {
        std::optional<QueuedFrame> frame;
        CapsHold caps; ///< instead of a frame: those of frames that were not taken
        End end = End::None;
    };

    Taken Put(QueuedFrame frame);
    Got Take(std::chrono::milliseconds patience); ///< nothing when the time is over

    void SetOpen(bool isOpen);         ///< frames are taken only while it is open; closed at first
    void SetFlushing(bool isFlushing); ///< true empties it and wakes the taker
    void SetEos();                     ///< what is in it comes out, and then the end
    void Interrupt();                  ///< the next frame is marked DISCONT

    Drops Dropped() const;
    std::size_t Level() const; ///< frames in it

private:
    bool IsFull(const QueuedFrame& frame) const;

    mutable std::mutex lock_;
    std::condition_variable change_;
    std::deque<QueuedFrame> frames_;
    std::size_t bytes_ = 0;
    CapsHold caps_; // of frames that were not taken
    Drops drops_;
    bool isDropping_ = false;
    bool needsKey_ = true;
    bool isInterrupted_ = true;
    bool isOpen_ = false;
    bool isFlushing_ = false;
    bool isEos_ = false;
};

} // namespace larkmoor::gst
