#include "gstreamer/stream.h"

#include "gstreamer/media_format.h"

#include <algorithm>
#include <utility>

namespace larkmoor::gst
{

namespace
{

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds kIdle = 250ms;        // how often an idle task looks for a gap
constexpr GstClockTime kFirstLatency = 100 * GST_MSECOND; // before anything was measured
constexpr GstClockTime kLatencyStep = 50 * GST_MSECOND;   // so that a pipeline is not set up at each frame
constexpr GstClockTime kShortestGap = GST_SECOND;

std::string PadName(Stream::Kind kind, std::uint32_t channel)
{
    return (kind == Stream::Kind::Video ? "video_" : "audio_") + std::to_string(channel);
}

std::uint32_t KeyFormat(std::uint32_t format)
{
    using namespace korvane::ipcapture;
    return format == kFormatH264Delta    ? kFormatH264Key
           : format == kFormatMpeg4Delta ? kFormatMpeg4Key
                                         : format;
}

} // namespace

void StreamGroup::Add(GstPad* pad)
{
    const std::lock_guard guard(lock_);
    gst_flow_combiner_add_pad(combiner_, pad);
    --missing_;
}

GstFlowReturn StreamGroup::Update(GstPad* pad, GstFlowReturn flow)
{
    const std::lock_guard guard(lock_);
    const GstFlowReturn all = gst_flow_combiner_update_pad_flow(combiner_, pad, flow);
    return all == GST_FLOW_NOT_LINKED && missing_ != 0 ? GST_FLOW_OK : all;
}

void StreamGroup::Reset()
{
    const std::lock_guard guard(lock_);
    gst_flow_combiner_reset(combiner_);
}

Stream::Stream(GstElement* element, Kind kind, std::uint32_t channel, std::shared_ptr<Notices> notices,
               std::shared_ptr<StreamGroup> group)
    : element_(element),
      kind_(kind),
      name_(PadName(kind, channel)),
      notices_(std::move(notices)),
      group_(std::move(group)),
      latency_(kFirstLatency)
{
}

Stream::~Stream()
{
    if (pad_ != nullptr)
        gst_object_unref(pad_);
}

void Stream::Start()
{
    GstPadTemplate* const shape = gst_element_class_get_pad_template(
        GST_ELEMENT_GET_CLASS(element_), kind_ == Kind::Video ? "video_%u" : "audio_%u");
    pad_ = gst_pad_new_from_template(shape, name_.c_str());
    gst_object_ref_sink(pad_);
    gst_pad_set_element_private(pad_, this);
    gst_pad_set_activatemode_function(pad_, &Stream::ActivateMode);
    gst_pad_set_query_function(pad_, &Stream::Query);
    gst_pad_set_event_function(pad_, &Stream::Event);
    gst_pad_use_fixed_caps(pad_);
    {
        const std::lock_guard guard(lock_);
        isStopped_ = false;
    }
    gst_pad_set_active(pad_, TRUE);
}

void Stream::Stop()
{
    {
        const std::lock_guard guard(lock_);
        isStopped_ = true;
        isPlaying_ = false;
    }
    queue_.SetOpen(false);
    gst_pad_set_active(pad_, FALSE);
    if (isExposed_.exchange(false))
        gst_element_remove_pad(element_, pad_);
}

gboolean Stream::ActivateMode(GstPad* pad, GstObject*, GstPadMode mode, gboolean active)
{
    auto* const self = static_cast<Stream*>(gst_pad_get_element_private(pad));
    if (mode != GST_PAD_MODE_PUSH)
        return FALSE;
    self->queue_.SetFlushing(active == FALSE);
    return active ? gst_pad_start_task(pad, &Stream::Run, self, nullptr) : gst_pad_stop_task(pad);
}

void Stream::SetPlaying(bool isPlaying)
{
    const std::lock_guard guard(lock_);
    isPlaying_ = isPlaying;
    queue_.SetOpen(isPlaying);
}

GstClockTime Stream::RunningTime() const
{
    GstClock* const clock = gst_element_get_clock(element_);
    if (clock == nullptr)
        return 0;
    const GstClockTime now = gst_clock_get_time(clock);
    gst_object_unref(clock);
    const GstClockTime base = gst_element_get_base_time(element_);
    return now > base ? now - base : 0;
}

bool Stream::IsNew(const FrameInfo& info)
{
    const std::uint32_t format = KeyFormat(info.format);
    if (described_.format == format && described_.width == info.width && described_.height == info.height &&
        described_.sampleRate == info.sampleRate && described_.isStereo == info.isStereo &&
        described_.bitRate == info.bitRate && described_.codecConfig == info.codecConfig)
        return false;
    described_ = info;
    described_.format = format;
    return true;
}

void Stream::NoteLateness(GstClockTime running, GstClockTime time)
{
    lastArrival_ = running;
    if (running <= time + latency_)
        return;
    latency_ = (running - time + kLatencyStep - 1) / kLatencyStep * kLatencyStep;
    notices_->Put({Notice::Kind::Latency, 0, 0, name_});
}

bool Stream::Stamp(const FrameInfo& info, GstBuffer* buffer)
{
    const std::int64_t wall = g_get_real_time();
    const GstClockTime running = RunningTime();
    bool isStep = false;
    if (kind_ == Kind::Video)
    {
        const VideoTimes::Place place = videoTimes_.Put(info.time, wall, running);
        GST_BUFFER_PTS(buffer) = GST_BUFFER_DTS(buffer) = place.time;
        isStep = place.isStep;
    }
    else
    {
        lastDuration_ = DurationOf(info, gst_buffer_get_size(buffer));
        const AudioTimes::Place place = audioTimes_.Put(info.time, wall, running, lastDuration_);
        if (!place.time)
            return false;
        GST_BUFFER_PTS(buffer) = GST_BUFFER_DTS(buffer) = *place.time;
        GST_BUFFER_DURATION(buffer) = lastDuration_;
        isStep = place.isStep;
    }
    if (isStep)
    {
        GST_BUFFER_FLAG_SET(buffer, GST_BUFFER_FLAG_DISCONT);
        ++counts_.discontinuities;
    }
    NoteLateness(running, GST_BUFFER_PTS(buffer));
    return true;
}

bool Stream::Deliver(MediaFrame& frame)
{
    const std::lock_guard guard(lock_);
    const FrameInfo info = frame.Info();
    QueuedFrame queued{BufferHold(frame.TakeBuffer()), nullptr, info.IsKey()};
    if (isStopped_)
        return true;
    lastDelivery_ = g_get_monotonic_time();
    ++counts_.frames;
    counts_.keyFrames += queued.isKey ? 1 : 0;
    counts_.bytes += gst_buffer_get_size(queued.buffer.get());
    if (IsNew(info))
        queued.caps.reset(CapsOf(info));
    if (isPlaying_ && !Stamp(info, queued.buffer.get()))
        return true;
    if (!queued.isKey)
        GST_BUFFER_FLAG_SET(queued.buffer.get(), GST_BUFFER_FLAG_DELTA_UNIT);
    if (info.format == korvane::ipcapture::kFormatG726)
    {
        GstMapInfo map;
        if (gst_buffer_map(queued.buffer.get(), &map, GST_MAP_READWRITE))
        {
            PutIntoForm(info, {map.data, map.size});
            gst_buffer_unmap(queued.buffer.get(), &map);
        }
    }
    queue_.Put(std::move(queued));
    return true; // also when there was no room: the driver would take a stream that is refused for lost
}

void Stream::Expose(GstCaps* caps)
{
    char* const id = gst_pad_create_stream_id(pad_, element_, name_.c_str());
    GstEvent* const start = gst_event_new_stream_start(id);
    g_free(id);
    gst_event_set_group_id(start, group_->Id());
    gst_pad_push_event(pad_, start);
    gst_pad_push_event(pad_, gst_event_new_caps(caps));
    isExposed_ = true;
    gst_element_add_pad(element_, pad_);
    notices_->Wake();
}

void Stream::Loop()
{
    FrameQueue::Got got = queue_.Take(kIdle);
    if (got.end == FrameQueue::End::Flushing)
    {
        gst_pad_pause_task(pad_);
        return;
    }
    if (got.end == FrameQueue::End::Eos)
    {
        gst_pad_pause_task(pad_);
        if (isExposed_)
            gst_pad_push_event(pad_, gst_event_new_eos());
        else
            notices_->Put({Notice::Kind::Ended, 0, 0, name_});
        return;
    }
    const CapsHold caps = std::move(got.frame ? got.frame->caps : got.caps);
    if (caps && !isExposed_)
        Expose(caps.get());
    else if (caps)
        gst_pad_push_event(pad_, gst_event_new_caps(caps.get()));
    if (!isExposed_)
        return;
    if (got.frame)
        Push(std::move(*got.frame));
    else if (!caps)
        PushGap();
}

void Stream::Push(QueuedFrame frame)
{
    if (std::exchange(needsSegment_, false))
    {
        GstSegment segment;
        gst_segment_init(&segment, GST_FORMAT_TIME);
        gst_pad_push_event(pad_, gst_event_new_segment(&segment));
    }
    const GstFlowReturn own = gst_pad_push(pad_, frame.buffer.release());
    if (!std::exchange(isInGroup_, true)) // not before: until now it was a pad without a link
        group_->Add(pad_);
    const GstFlowReturn flow = group_->Update(pad_, own);
    if (own != GST_FLOW_FLUSHING && own != GST_FLOW_EOS && flow == GST_FLOW_OK)
        return; // also of a pad that nothing is linked to, while another one is
    gst_pad_pause_task(pad_);
    if (own == GST_FLOW_FLUSHING)
        return;
    queue_.SetEos(); // nothing more is wanted: what comes now is not lost
    if (flow == GST_FLOW_NOT_LINKED || flow < GST_FLOW_EOS)
        GST_ELEMENT_FLOW_ERROR(element_, flow);
    gst_pad_push_event(pad_, gst_event_new_eos());
}

void Stream::PushGap()
{
    GstClockTime begin = 0;
    GstClockTime length = 0;
    {
        const std::lock_guard guard(lock_);
        if (!isPlaying_ || isStopped_ || lastArrival_ == GST_CLOCK_TIME_NONE)
            return;
        const bool isVideo = kind_ == Kind::Video;
        const GstClockTime silence =
            isVideo ? std::max(kShortestGap, 3 * videoTimes_.Interval()) : kShortestGap + 2 * lastDuration_;
        const GstClockTime now = RunningTime();
        begin = isVideo ? videoTimes_.End() : audioTimes_.End();
        if (now < lastArrival_ + silence || now < begin + latency_ + kLatencyStep)
            return;
        length = now - latency_ - begin;
        isVideo ? videoTimes_.Skip(begin + length) : audioTimes_.Skip(begin + length);
        ++counts_.gaps;
    }
    queue_.Interrupt();
    if (!needsSegment_)
        gst_pad_push_event(pad_, gst_event_new_gap(begin, length));
}

void Stream::FlushStart(GstEvent* event)
{
    queue_.SetFlushing(true);
    if (isExposed_)
        gst_pad_push_event(pad_, gst_event_ref(event));
    gst_pad_pause_task(pad_); // waits for the push in hand, which the flush ends
}

void Stream::FlushStop(GstEvent* event)
{
    gboolean isReset = FALSE;
    gst_event_parse_flush_stop(event, &isReset);
    if (isExposed_)
        gst_pad_push_event(pad_, gst_event_ref(event));
    {
        const std::lock_guard guard(lock_);
        needsSegment_ = true;
        if (isReset)
        {
            videoTimes_ = VideoTimes();
            audioTimes_ = AudioTimes();
            lastArrival_ = GST_CLOCK_TIME_NONE;
        }
        queue_.SetOpen(isPlaying_);
    }
    group_->Reset();
    queue_.SetFlushing(false);
    gst_pad_start_task(pad_, &Stream::Run, this, nullptr);
}

void Stream::SetEos()
{
    queue_.SetEos();
}

gboolean Stream::Query(GstPad* pad, GstObject* parent, GstQuery* query)
{
    const auto* const self = static_cast<Stream*>(gst_pad_get_element_private(pad));
    if (GST_QUERY_TYPE(query) == GST_QUERY_LATENCY)
    {
        const GstClockTime latency = self->Latency();
        gst_query_set_latency(query, TRUE, latency, latency + FrameQueue::kLongest);
        return TRUE;
    }
    if (GST_QUERY_TYPE(query) == GST_QUERY_SCHEDULING)
    {
        gst_query_set_scheduling(query, GST_SCHEDULING_FLAG_SEQUENTIAL, 1, -1, 0);
        gst_query_add_scheduling_mode(query, GST_PAD_MODE_PUSH);
        return TRUE;
    }
    if (GST_QUERY_TYPE(query) == GST_QUERY_URI && parent != nullptr)
        return gst_element_query(GST_ELEMENT(parent), query);
    return gst_pad_query_default(pad, parent, query);
}

gboolean Stream::Event(GstPad* pad, GstObject* parent, GstEvent* event)
{
    // What sinks send up to a source: it has nothing to do for these, and it has heard them.
    const GstEventType type = GST_EVENT_TYPE(event);
    if (type != GST_EVENT_LATENCY && type != GST_EVENT_QOS && type != GST_EVENT_RECONFIGURE)
        return gst_pad_event_default(pad, parent, event);
    gst_event_unref(event);
    return TRUE;
}

GstClockTime Stream::Latency() const
{
    const std::lock_guard guard(lock_);
    return latency_;
}

gint64 Stream::LastDelivery() const
{
    const std::lock_guard guard(lock_);
    return lastDelivery_;
}

Stream::Counts Stream::Count() const
{
    const std::lock_guard guard(lock_);
    Counts counts = counts_;
    counts.dropped = queue_.Dropped().frames;
    counts.queued = queue_.Level();
    counts.latency = latency_;
    return counts;
}

} // namespace larkmoor::gst
