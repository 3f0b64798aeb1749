#pragma once

#include "gstreamer/host_folder.h"
#include "gstreamer/problem.h"
#include "gstreamer/session.h"
#include "gstreamer/source_settings.h"
#include "gstreamer/stream.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gst/gst.h>

namespace larkmoor::gst
{

/// "running", "connecting" or "stopped", for a state of a video channel.
const char* ChannelStateName(std::uint32_t state);

/// What an element of the type `larkmoorsrc` does. The GObject around it is in `larkmoor_src.cpp`.
///
/// The application's threads change the state and the properties. While it is started, a thread of the
/// element's own tells the application what has happened, looks after the channel, and passes changes on.
class Source
{
public:
    explicit Source(GstElement* element) : element_(element) {}

    SourceSettings Settings() const;

    /// Changes the settings; a change of the picture reaches the device by itself.
    template <typename Change>
    void Set(const Change& change)
    {
        const std::lock_guard guard(settingsLock_);
        change(settings_);
    }

    GstStateChangeReturn Prepare(); ///< NULL to READY: what can be wrong is told here
    GstStateChangeReturn Start();   ///< READY to PAUSED; does not wait for the device
    void SetPlaying(bool isPlaying);
    void Stop();    ///< PAUSED to READY; within 2 s
    void Release(); ///< READY to NULL

    bool SendEvent(GstEvent* event); ///< flushes and EOS, from the application; takes the event
    bool AnswerUri(GstQuery* query) const;

    std::shared_ptr<Session> Running() const; ///< null if it is not started
    GstStructure* Statistics() const;         ///< as the caller's

private:
    using Streams = std::vector<std::shared_ptr<Stream>>;

    void Begin(SourceSettings settings); ///< throws `Problem`
    Streams Current() const;
    void Fail(const Problem& problem) const;

    void Watch(); // the element's own thread
    void Tell(const Notice& notice);
    void Post(GstStructure* structure) const;
    void FollowChannel(Session& session);
    void CheckPads();
    void CheckPatience();
    void CheckDrops();

    GstElement* const element_;
    mutable std::mutex settingsLock_;
    SourceSettings settings_;

    mutable std::mutex runLock_; // over what is set while it is started, not over its use
    std::shared_ptr<Session> session_;
    Streams streams_;

    std::shared_ptr<const DriverLibrary> library_;
    std::optional<HostFolder::Hold> hold_;
    std::shared_ptr<Notices> notices_;
    std::thread watcher_;
    std::atomic<bool> isEnding_{false};
    std::atomic<bool> isPlaying_{false};
    std::atomic<std::uint32_t> channelState_{kChannelStopped};
    std::atomic<std::uint64_t> reconnects_{0};
    std::atomic<std::uint64_t> signalLosses_{0};

    // Of the watcher.
    bool hasNoMorePads_ = false;
    bool hasFailed_ = false;
    gint64 waitingSince_ = 0; // for a frame; monotonic microseconds
    gint64 firstPadAt_ = 0;
    std::array<FrameQueue::Drops, 2> drops_; // by stream, as told so far
};

} // namespace larkmoor::gst
