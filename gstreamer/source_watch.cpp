// What the element's own thread does while it is started.

#include "gstreamer/larkmoor_src.h"
#include "gstreamer/problem.h"
#include "gstreamer/source.h"

#include <larkmoor/capture_io.h>

#include <algorithm>
#include <utility>

GST_DEBUG_CATEGORY_EXTERN(larkmoor_src_debug);
#define GST_CAT_DEFAULT larkmoor_src_debug

namespace larkmoor::gst
{

namespace
{

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds kTick = 100ms;
constexpr gint64 kPadPatience =
    5 * G_TIME_SPAN_SECOND; // for sound behind the picture, or the other way round

GstDebugLevel DebugLevel(std::uint32_t level)
{
    return level <= 2 ? GST_LEVEL_WARNING : GST_LEVEL_INFO;
}

} // namespace

void Source::Watch()
{
    const std::shared_ptr<Session> session = Running();
    PictureWish asked = Settings().picture;
    if (LarkmoorSrcHearsInputs(element_))
        session->Control().StartIO();
    while (!isEnding_)
    {
        for (const Notice& notice : notices_->Take(kTick))
            Tell(notice);
        if (isEnding_)
            return;
        FollowChannel(*session);
        CheckPads();
        CheckDrops();
        CheckPatience();
        // The properties of one change are set one by one: it goes out when they have been still for a turn.
        const PictureWish wish = Settings().picture;
        if (wish == asked)
            session->Change(wish);
        asked = wish;
    }
}

void Source::Post(GstStructure* structure) const
{
    gst_element_post_message(element_, gst_message_new_element(GST_OBJECT(element_), structure));
}

void Source::Tell(const Notice& notice)
{
    switch (notice.kind)
    {
    case Notice::Kind::Log:
        GST_CAT_LEVEL_LOG(GST_CAT_DEFAULT, DebugLevel(notice.number), element_, "%s", notice.text.c_str());
        Post(gst_structure_new("larkmoor-log", "level", G_TYPE_UINT, notice.number, "text", G_TYPE_STRING,
                               notice.text.c_str(), nullptr));
        break;
    case Notice::Kind::SignalLost:
        ++signalLosses_;
        Post(gst_structure_new("larkmoor-signal-lost", "channel", G_TYPE_UINT, notice.number, nullptr));
        break;
    case Notice::Kind::Input:
        LarkmoorSrcEmitInput(element_, notice.number, notice.value == korvane::ipcapture::kSignalHigh);
        break;
    case Notice::Kind::Latency:
        gst_element_post_message(element_, gst_message_new_latency(GST_OBJECT(element_)));
        break;
    case Notice::Kind::Ended:
        // Without a pad the end can't be passed on, and a pipeline would wait for it for ever.
        if (!std::exchange(hasFailed_, true))
            Fail(Problem(GST_RESOURCE_ERROR_READ, notice.text + " was ended before anything had come"));
        break;
    }
}

void Source::FollowChannel(Session& session)
{
    const std::uint32_t state = session.ChannelState();
    const std::uint32_t before = channelState_.exchange(state);
    if (state == before)
        return;
    if (before == kChannelRunning)
    {
        ++reconnects_;
        for (const auto& stream : Current())
            stream->Interrupt();
    }
    Post(gst_structure_new("larkmoor-channel-state", "channel", G_TYPE_UINT, session.Channel(), "state",
                           G_TYPE_STRING, ChannelStateName(state), nullptr));
}

void Source::CheckPads()
{
    if (hasNoMorePads_)
        return;
    bool isAll = true;
    bool isAny = false;
    for (const auto& stream : Current())
    {
        isAll = isAll && stream->IsExposed();
        isAny = isAny || stream->IsExposed();
    }
    const gint64 now = g_get_monotonic_time();
    if (isAny && firstPadAt_ == 0)
        firstPadAt_ = now;
    if (!isAny || (!isAll && now - firstPadAt_ < kPadPatience))
        return;
    hasNoMorePads_ = true;
    gst_element_no_more_pads(element_);
}

void Source::CheckDrops()
{
    const Streams streams = Current();
    for (std::size_t i = 0; i < streams.size(); ++i)
    {
        const FrameQueue::Drops drops = streams[i]->Dropped();
        const FrameQueue::Drops before = std::exchange(drops_[i], drops);
        const char* const pad = streams[i]->Name().c_str();
        if (drops.begun != before.begun)
        {
            GST_WARNING_OBJECT(element_, "%s: the pipeline is too slow, frames are dropped", pad);
            Post(gst_structure_new("larkmoor-dropping", "pad", G_TYPE_STRING, pad, nullptr));
        }
        if (drops.ended != before.ended)
            Post(gst_structure_new("larkmoor-dropped", "pad", G_TYPE_STRING, pad, "frames", G_TYPE_UINT64,
                                   guint64{drops.frames}, nullptr));
    }
}

void Source::CheckPatience()
{
    const gint64 now = g_get_monotonic_time();
    const gint64 patience = static_cast<gint64>(Settings().failAfterSeconds) * G_TIME_SPAN_SECOND;
    const Streams streams = Current();
    if (!isPlaying_ || streams.empty() || waitingSince_ == 0)
        waitingSince_ = now;
    if (streams.empty() || patience == 0 || hasFailed_)
        return;
    if (now - std::max(streams[0]->LastDelivery(), waitingSince_) < patience)
        return;
    hasFailed_ = true;
    Fail(Problem(GST_RESOURCE_ERROR_READ, "no picture has come for " +
                                              std::to_string(patience / G_TIME_SPAN_SECOND) +
                                              " s, which is what fail-after allows"));
}

} // namespace larkmoor::gst
