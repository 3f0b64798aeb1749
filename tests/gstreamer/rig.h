#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include <gst/gst.h>

#include "support/camera_process.h"

namespace larkmoor::gst::test
{

using korvane::test::CameraProcess;

/// How long a test waits for what is bound to come.
inline constexpr std::chrono::seconds kPatience{40};

/// What a sink got.
struct Arrived
{
    GstClockTime time = GST_CLOCK_TIME_NONE;
    std::uint64_t running = 0; ///< of the pipeline when it came
    std::string md5;
    bool isDelta = false;
    bool isDiscontinuous = false;
};

/// One pad of the element with the sink that it was given.
struct Received
{
    std::vector<Arrived> frames;
    std::vector<std::string> caps;
    std::vector<GstClockTime> gapEnds;
    bool hasEnded = false;
};

/// A pipeline of a larkmoorsrc with a sink for each of its pads. One thread; what sinks and bus tell comes on
/// others.
class Rig
{
public:
    explicit Rig(const std::string& location);
    ~Rig();
    Rig(const Rig&) = delete;
    Rig& operator=(const Rig&) = delete;

    template <typename... Values>
    Rig& Set(const char* name, Values... values)
    {
        g_object_set(source_, name, values..., nullptr);
        return *this;
    }
    Rig& SetText(const char* name, const char* text); ///< also of a choice, by its nick

    GstElement* Source() const { return source_; }
    GstElement* Pipeline() const { return pipeline_; }

    /// Each sink calls this for each buffer, before it is noted. Before the first pad.
    void OnHandoff(GCallback call, gpointer data)
    {
        handoff_ = call;
        handoffData_ = data;
    }

    GstStateChangeReturn Go(GstState state); ///< of the pipeline
    double Seconds(GstState state);          ///< that this took

    /// Whether this becomes true within `kPatience`; it is asked at each thing that comes, with the lock
    /// held.
    bool WaitFor(const std::function<bool(const std::map<std::string, Received>&)>& condition);
    bool WaitForFrames(const std::string& pad, std::size_t count);
    bool WaitForMessage(const std::string& part); ///< an element message, as text

    bool WaitForError();

    Received Of(const std::string& pad) const;
    std::string Error() const; ///< the first one on the bus; empty for none

private:
    static void PadAdded(GstElement*, GstPad* pad, gpointer rig);
    static void Handoff(GstElement* sink, GstBuffer* buffer, GstPad*, gpointer rig);
    static GstPadProbeReturn Probe(GstPad* pad, GstPadProbeInfo* info, gpointer rig);
    static GstBusSyncReply BusTells(GstBus*, GstMessage* message, gpointer rig);

    GstElement* pipeline_;
    GstElement* source_;
    GCallback handoff_ = nullptr;
    gpointer handoffData_ = nullptr;
    mutable std::mutex lock_;
    std::condition_variable change_;
    std::map<std::string, Received> received_;
    std::vector<std::string> messages_;
    std::string error_;
};

/// A port to which connections are made, and which never answers.
class SilentPort
{
public:
    SilentPort();
    ~SilentPort();
    SilentPort(const SilentPort&) = delete;
    SilentPort& operator=(const SilentPort&) = delete;

    std::string Location() const;

private:
    int socket_;
    std::uint16_t port_ = 0;
};

} // namespace larkmoor::gst::test
