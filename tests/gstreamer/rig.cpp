#include "gstreamer/rig.h"

#include <gtest/gtest.h>

#include <algorithm>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

namespace larkmoor::gst::test
{

Rig::Rig(const std::string& location)
    : pipeline_(gst_pipeline_new(nullptr)), source_(gst_element_factory_make("larkmoorsrc", nullptr))
{
    gst_object_ref(source_);
    gst_bin_add(GST_BIN(pipeline_), source_);
    Set("location", location.c_str());
    g_signal_connect(source_, "pad-added", G_CALLBACK(PadAdded), this);
    GstBus* const bus = gst_element_get_bus(pipeline_);
    gst_bus_set_sync_handler(bus, &Rig::BusTells, this, nullptr);
    gst_object_unref(bus);
}

Rig::~Rig()
{
    gst_element_set_state(pipeline_, GST_STATE_NULL);
    gst_object_unref(source_);
    gst_object_unref(pipeline_);
}

Rig& Rig::SetText(const char* name, const char* text)
{
    gst_util_set_object_arg(G_OBJECT(source_), name, text);
    return *this;
}

GstStateChangeReturn Rig::Go(GstState state)
{
    return gst_element_set_state(pipeline_, state);
}

double Rig::Seconds(GstState state)
{
    const auto begin = std::chrono::steady_clock::now();
    Go(state);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

bool Rig::WaitFor(const std::function<bool(const std::map<std::string, Received>&)>& condition)
{
    std::unique_lock guard(lock_);
    return change_.wait_for(guard, kPatience, [&] { return condition(received_); });
}

bool Rig::WaitForFrames(const std::string& pad, std::size_t count)
{
    return WaitFor(
        [&](const auto& received)
        {
            const auto found = received.find(pad);
            return found != received.end() && found->second.frames.size() >= count;
        });
}

bool Rig::WaitForError()
{
    std::unique_lock guard(lock_);
    return change_.wait_for(guard, kPatience, [&] { return !error_.empty(); });
}

bool Rig::WaitForMessage(const std::string& part)
{
    std::unique_lock guard(lock_);
    const auto holds = [&](const std::string& message) { return message.find(part) != std::string::npos; };
    return change_.wait_for(guard, kPatience, [&] { return std::ranges::any_of(messages_, holds); });
}

Received Rig::Of(const std::string& pad) const
{
    const std::lock_guard guard(lock_);
    const auto found = received_.find(pad);
    return found == received_.end() ? Received() : found->second;
}

std::string Rig::Error() const
{
    const std::lock_guard guard(lock_);
    return error_;
}

void Rig::PadAdded(GstElement*, GstPad* pad, gpointer data)
{
    auto* const rig = static_cast<Rig*>(data);
    GstElement* const sink = gst_element_factory_make("fakesink", GST_OBJECT_NAME(pad));
    g_object_set(sink, "signal-handoffs", TRUE, "sync", FALSE, "async", FALSE, nullptr);
    if (rig->handoff_ != nullptr)
        g_signal_connect(sink, "handoff", rig->handoff_, rig->handoffData_);
    g_signal_connect(sink, "handoff", G_CALLBACK(Handoff), rig);
    gst_bin_add(GST_BIN(rig->pipeline_), sink);
    GstPad* const entry = gst_element_get_static_pad(sink, "sink");
    gst_pad_add_probe(entry, GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM, &Rig::Probe, rig, nullptr);
    gst_pad_link(pad, entry);
    gst_object_unref(entry);
    gst_element_sync_state_with_parent(sink);
}

void Rig::Handoff(GstElement* sink, GstBuffer* buffer, GstPad*, gpointer data)
{
    auto* const rig = static_cast<Rig*>(data);
    Arrived arrived;
    arrived.time = GST_BUFFER_PTS(buffer);
    arrived.isDelta = GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_DELTA_UNIT);
    arrived.isDiscontinuous = GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_DISCONT);
    if (GstClock* const clock = gst_element_get_clock(sink))
    {
        arrived.running = gst_clock_get_time(clock) - gst_element_get_base_time(sink);
        gst_object_unref(clock);
    }
    GstMapInfo map;
    gst_buffer_map(buffer, &map, GST_MAP_READ);
    char* const md5 = g_compute_checksum_for_data(G_CHECKSUM_MD5, map.data, map.size);
    arrived.md5 = md5;
    g_free(md5);
    gst_buffer_unmap(buffer, &map);
    const std::lock_guard guard(rig->lock_);
    rig->received_[GST_OBJECT_NAME(sink)].frames.push_back(arrived);
    rig->change_.notify_all();
}

GstPadProbeReturn Rig::Probe(GstPad* pad, GstPadProbeInfo* info, gpointer data)
{
    auto* const rig = static_cast<Rig*>(data);
    GstEvent* const event = GST_PAD_PROBE_INFO_EVENT(info);
    const std::lock_guard guard(rig->lock_);
    Received& received = rig->received_[GST_OBJECT_NAME(GST_OBJECT_PARENT(pad))];
    if (GST_EVENT_TYPE(event) == GST_EVENT_CAPS)
    {
        GstCaps* caps = nullptr;
        gst_event_parse_caps(event, &caps);
        char* const text = gst_caps_to_string(caps);
        received.caps.emplace_back(text);
        g_free(text);
    }
    else if (GST_EVENT_TYPE(event) == GST_EVENT_GAP)
    {
        GstClockTime begin = 0;
        GstClockTime length = 0;
        gst_event_parse_gap(event, &begin, &length);
        received.gapEnds.push_back(begin + length);
    }
    else if (GST_EVENT_TYPE(event) == GST_EVENT_EOS)
        received.hasEnded = true;
    rig->change_.notify_all();
    return GST_PAD_PROBE_OK;
}

GstBusSyncReply Rig::BusTells(GstBus*, GstMessage* message, gpointer data)
{
    auto* const rig = static_cast<Rig*>(data);
    const std::lock_guard guard(rig->lock_);
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR && rig->error_.empty())
    {
        GError* error = nullptr;
        gst_message_parse_error(message, &error, nullptr);
        rig->error_ = error->message;
        g_error_free(error);
    }
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ELEMENT)
    {
        char* const text = gst_structure_to_string(gst_message_get_structure(message));
        rig->messages_.emplace_back(text);
        g_free(text);
    }
    rig->change_.notify_all();
    gst_message_unref(message);
    return GST_BUS_DROP;
}

SilentPort::SilentPort() : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto* const any = reinterpret_cast<sockaddr*>(&address);
    EXPECT_EQ(bind(socket_, any, length), 0);
    EXPECT_EQ(listen(socket_, 64), 0);
    EXPECT_EQ(getsockname(socket_, any, &length), 0);
    port_ = ntohs(address.sin_port);
}

SilentPort::~SilentPort()
{
    close(socket_);
}

std::string SilentPort::Location() const
{
    return "larkmoor://127.0.0.1:" + std::to_string(port_) + "/?rtsp-port=" + std::to_string(port_);
}

} // namespace larkmoor::gst::test
