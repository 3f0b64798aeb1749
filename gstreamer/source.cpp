#include "gstreamer/source.h"

#include "gstreamer/device_choice.h"
#include "gstreamer/problem.h"

#include <utility>

GST_DEBUG_CATEGORY_EXTERN(larkmoor_src_debug);
#define GST_CAT_DEFAULT larkmoor_src_debug

namespace larkmoor::gst
{

namespace
{

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds kStopPatience = 1800ms;

SettingsClaim ClaimOf(GstElement* element, const SourceSettings& settings, const host::Device& device)
{
    SettingsClaim claim;
    char* const name = gst_object_get_path_string(GST_OBJECT(element));
    claim.element = name;
    g_free(name);
    claim.address = device.address;
    claim.port = device.port;
    claim.transport =
        settings.transport == TransportChoice::Http ? TransportChoice::Auto : settings.transport;
    claim.audio = settings.audio;
    claim.settingsFile = settings.settingsFile;
    return claim;
}

} // namespace

const char* ChannelStateName(std::uint32_t state)
{
    return state == kChannelRunning ? "running" : state == kChannelStopped ? "stopped" : "connecting";
}

SourceSettings Source::Settings() const
{
    const std::lock_guard guard(settingsLock_);
    return settings_;
}

void Source::Fail(const Problem& problem) const
{
    gst_element_message_full(element_, GST_MESSAGE_ERROR, GST_RESOURCE_ERROR, problem.Code(),
                             g_strdup(problem.what()), nullptr, __FILE__, GST_FUNCTION, __LINE__);
}

GstStateChangeReturn Source::Prepare()
try
{
    SourceSettings settings = Settings();
    ChooseDevice(settings);
    HostFolder::Prepare(); // before the driver is loaded, which looks for its folder once
    library_ = DriverLibrary::Load(settings.library);
    return GST_STATE_CHANGE_SUCCESS;
}
catch (const Problem& problem)
{
    Fail(problem);
    return GST_STATE_CHANGE_FAILURE;
}

void Source::Begin(SourceSettings settings)
{
    host::Device device = ChooseDevice(settings);
    hold_.emplace(ClaimOf(element_, settings, device));
    notices_ = std::make_shared<Notices>();
    const auto group = std::make_shared<StreamGroup>(settings.audio == AudioChoice::None ? 1 : 2);
    Streams streams = {
        std::make_shared<Stream>(element_, Stream::Kind::Video, settings.channel, notices_, group)};
    if (settings.audio != AudioChoice::None)
        streams.push_back(
            std::make_shared<Stream>(element_, Stream::Kind::Audio, settings.channel, notices_, group));
    const std::shared_ptr<Stream> sound = streams.size() > 1 ? streams[1] : nullptr;
    auto session =
        std::make_shared<Session>(library_, std::move(device), settings, streams[0], sound, notices_);
    {
        const std::lock_guard guard(runLock_);
        streams_ = streams;
        session_ = session;
    }
    for (const auto& stream : streams)
        stream->Start();
    session->Start();
}

GstStateChangeReturn Source::Start()
try
{
    hasNoMorePads_ = hasFailed_ = false;
    waitingSince_ = firstPadAt_ = 0;
    drops_ = {};
    reconnects_ = signalLosses_ = 0;
    channelState_ = kChannelStopped;
    isEnding_ = false;
    Begin(Settings());
    watcher_ = std::thread([this] { Watch(); });
    return GST_STATE_CHANGE_NO_PREROLL;
}
catch (const Problem& problem)
{
    Fail(problem);
    Stop();
    return GST_STATE_CHANGE_FAILURE;
}

void Source::SetPlaying(bool isPlaying)
{
    isPlaying_ = isPlaying;
    for (const auto& stream : Current())
        stream->SetPlaying(isPlaying);
}

void Source::Stop()
{
    isEnding_ = true;
    isPlaying_ = false;
    Streams streams;
    std::shared_ptr<Session> session;
    {
        const std::lock_guard guard(runLock_);
        streams.swap(streams_);
        session.swap(session_);
    }
    for (const auto& stream : streams)
        stream->Stop();
    if (watcher_.joinable())
    {
        notices_->Wake();
        watcher_.join();
    }
    if (session != nullptr && !Session::Close(std::move(session), kStopPatience))
        GST_INFO_OBJECT(element_, "the driver takes longer to stop, in the background");
    hold_.reset();
    channelState_ = kChannelStopped;
}

void Source::Release()
{
    library_.reset();
}

Source::Streams Source::Current() const
{
    const std::lock_guard guard(runLock_);
    return streams_;
}

std::shared_ptr<Session> Source::Running() const
{
    const std::lock_guard guard(runLock_);
    return session_;
}

bool Source::SendEvent(GstEvent* event)
{
    const Streams streams = Current();
    const GstEventType type = GST_EVENT_TYPE(event);
    for (const auto& stream : streams)
    {
        if (type == GST_EVENT_FLUSH_START)
            stream->FlushStart(event);
        else if (type == GST_EVENT_FLUSH_STOP)
            stream->FlushStop(event);
        else
            stream->SetEos();
    }
    gst_event_unref(event);
    return !streams.empty();
}

bool Source::AnswerUri(GstQuery* query) const
{
    const SourceSettings settings = Settings();
    if (settings.location.empty())
        return false;
    gst_query_set_uri(query, settings.location.c_str());
    return true;
}

GstStructure* Source::Statistics() const
{
    GstStructure* const structure = gst_structure_new(
        "larkmoor-stats", "channel-state", G_TYPE_STRING, ChannelStateName(channelState_), "reconnects",
        G_TYPE_UINT64, guint64{reconnects_}, "signal-losses", G_TYPE_UINT64, guint64{signalLosses_}, nullptr);
    for (const auto& stream : Current())
    {
        const Stream::Counts counts = stream->Count();
        GstStructure* const part = gst_structure_new(
            "stream", "frames", G_TYPE_UINT64, guint64{counts.frames}, "key-frames", G_TYPE_UINT64,
            guint64{counts.keyFrames}, "bytes", G_TYPE_UINT64, guint64{counts.bytes}, "dropped",
            G_TYPE_UINT64, guint64{counts.dropped}, "discontinuities", G_TYPE_UINT64,
            guint64{counts.discontinuities}, "gaps", G_TYPE_UINT64, guint64{counts.gaps}, "queued",
            G_TYPE_UINT64, guint64{counts.queued}, "latency", G_TYPE_UINT64, guint64{counts.latency},
            nullptr);
        gst_structure_set(structure, stream->Name().c_str(), GST_TYPE_STRUCTURE, part, nullptr);
        gst_structure_free(part);
    }
    return structure;
}

} // namespace larkmoor::gst
