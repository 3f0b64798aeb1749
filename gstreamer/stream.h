#pragma once

#include "gstreamer/frame_queue.h"
#include "gstreamer/frame_times.h"
#include "gstreamer/media_frame.h"
#include "gstreamer/notices.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include <gst/base/gstflowcombiner.h>
#include <gst/gst.h>

namespace larkmoor::gst
{

/// What the streams of one element share: the group that they say they are of, and whether any of them is
/// still of use downstream. Any thread.
class StreamGroup
{
public:
    explicit StreamGroup(std::size_t streams) : missing_(streams), combiner_(gst_flow_combiner_new()) {}
    ~StreamGroup() { gst_flow_combiner_free(combiner_); }
    StreamGroup(const StreamGroup&) = delete;
    StreamGroup& operator=(const StreamGroup&) = delete;

    guint Id() const { return id_; }
    void Add(GstPad* pad);

    /// Of all pads together. A pad that nothing is linked to may be of no interest, and is no error before
    /// the others have come.
    GstFlowReturn Update(GstPad* pad, GstFlowReturn flow);
    void Reset();

private:
    const guint id_ = gst_util_group_id_next();
    std::mutex lock_;
    std::size_t missing_; // streams that have pushed nothing so far
    GstFlowCombiner* const combiner_;
};

/// One stream of a device on its way into the pipeline: its pad, which the element gets with the first frame,
/// the frames that wait, and the pad's task, which pushes them on.
///
/// `Deliver` is called by the driver, and never waits for the pipeline. All else is called by the element.
class Stream
{
public:
    enum class Kind
    {
        Video,
        Audio,
    };

    struct Counts
    {
        std::uint64_t frames = 0; ///< that the driver delivered
        std::uint64_t keyFrames = 0;
        std::uint64_t bytes = 0;
        std::uint64_t dropped = 0;
        std::uint64_t discontinuities = 0;
        std::uint64_t gaps = 0;
        std::uint64_t queued = 0;
        GstClockTime latency = 0;
    };

    /// `element` outlives the time between `Start` and `Stop`.
    Stream(GstElement* element, Kind kind, std::uint32_t channel, std::shared_ptr<Notices> notices,
           std::shared_ptr<StreamGroup> group);
    ~Stream();
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    void Start();
    void Stop(); ///< waits for the task; the pad leaves the element. `Deliver` does nothing from then on

    bool Deliver(MediaFrame& frame); ///< the buffer is taken out of it

    void SetPlaying(bool isPlaying);
    void FlushStart(GstEvent* event);
    void FlushStop(GstEvent* event);
    void SetEos();
    void Interrupt() { queue_.Interrupt(); } ///< the next frame is marked DISCONT

    bool IsExposed() const { return isExposed_; } ///< the element has the pad
    bool OwnsPad(const GstPad* pad) const { return pad == pad_; }
    GstClockTime Latency() const;
    FrameQueue::Drops Dropped() const { return queue_.Dropped(); }
    gint64 LastDelivery() const; ///< monotonic microseconds; 0 for none
    Counts Count() const;
    const std::string& Name() const { return name_; }

private:
    static gboolean ActivateMode(GstPad* pad, GstObject* parent, GstPadMode mode, gboolean active);
    static gboolean Query(GstPad* pad, GstObject* parent, GstQuery* query);
    static gboolean Event(GstPad* pad, GstObject* parent, GstEvent* event);
    static void Run(gpointer stream) { static_cast<Stream*>(stream)->Loop(); }

    void Loop();
    void Expose(GstCaps* caps);
    void Push(QueuedFrame frame);
    void PushGap();
    bool IsNew(const FrameInfo& info);
    bool Stamp(const FrameInfo& info, GstBuffer* buffer);
    void NoteLateness(GstClockTime running, GstClockTime time);
    GstClockTime RunningTime() const;

    GstElement* const element_;
    const Kind kind_;
    const std::string name_;
    const std::shared_ptr<Notices> notices_;
    const std::shared_ptr<StreamGroup> group_;
    GstPad* pad_ = nullptr;
    FrameQueue queue_;
    std::atomic<bool> isExposed_{false};
    bool needsSegment_ = true; // of the task, or while it rests
    bool isInGroup_ = false;   // of the task

    mutable std::mutex
        lock_; // over what follows; never held during a call into the pipeline but for the time
    bool isStopped_ = true;
    bool isPlaying_ = false;
    VideoTimes videoTimes_;
    AudioTimes audioTimes_;
    FrameInfo described_; // what the caps say
    GstClockTime latency_;
    GstClockTime lastArrival_ = GST_CLOCK_TIME_NONE; // running time
    GstClockTime lastDuration_ = 0;
    gint64 lastDelivery_ = 0;
    Counts counts_;
};

} // namespace larkmoor::gst
