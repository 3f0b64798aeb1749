#pragma once

#include "camera/device/profile.h"
#include "camera/media/canned_loop.h"
#include "camera/media/live_encoder.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>

#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace larkmoor::camera
{

/// Whoever wants the frames of a stream: an RTP sender, an HTTP response.
class FrameSubscriber
{
public:
    virtual ~FrameSubscriber() = default;

    /// On the thread of the hub's io_context. May unsubscribe any subscriber, itself included. A subscriber
    /// that cannot send on at once keeps a bounded number of frames, and drops whole ones.
    virtual void OnFrame(const MediaFrame& frame) = 0;
};

/// Where frames come from.
enum class VideoSource
{
    Live,   ///< one encoder for each stream in use, all subscribers get the same frames at the same time
    Canned, ///< loops encoded beforehand, each subscriber with a phase of its own
    Flood,  ///< canned loops without a clock: a frame whenever a subscriber pulls one
};

/// One encoded stream of a device. It runs while it has subscribers. Except for Configure, Settings and
/// RequestKey, which any thread may call, everything happens on the thread of the io_context.
class VideoStream : public std::enable_shared_from_this<VideoStream>
{
public:
    /// `loops` and `player` outlive the stream.
    VideoStream(boost::asio::io_context& context, StreamId id, std::shared_ptr<const Scene> scene,
                VideoSource source, CannedLoops& loops, CannedPlayer& player);

    /// Settings for the frames to come; a running stream changes in mid-stream. Any thread.
    void Configure(const VideoSettings& settings);
    VideoSettings Settings() const; ///< Any thread.

    /// The parameter sets that frames with the present settings need, for descriptions; null if no encoder
    /// takes the settings. May encode a picture to find out.
    std::shared_ptr<const ParameterSets> Parameters();

    /// `subscriber` gets the frames from now on, the next one being a key frame if the stream is live. It
    /// must unsubscribe before it goes.
    void Subscribe(FrameSubscriber& subscriber);
    void Unsubscribe(FrameSubscriber& subscriber);

    /// For Flood: gives `subscriber` its next frame before it returns.
    void Pull(FrameSubscriber& subscriber);

    /// Asks the encoder for a key frame. Any thread.
    void RequestKey();

    StreamId Id() const { return id_; }

private:
    struct Subscription
    {
        FrameSubscriber* subscriber = nullptr; // null once it has left in the middle of a round
        CannedPlayer::Id play = 0;
    };

    std::shared_ptr<LiveEncoder> Live() const;
    void StartLive();
    void ChangeLoop();
    void Publish(const MediaFrame& frame);
    void Sweep();

    boost::asio::io_context& context_;
    const StreamId id_;
    const std::shared_ptr<const Scene> scene_;
    const VideoSource source_;
    CannedLoops& loops_;
    CannedPlayer& player_;

    mutable std::mutex lock_; // guards the settings and live_'s pointer; innermost
    VideoSettings settings_;
    std::shared_ptr<LiveEncoder> live_;

    std::vector<Subscription> subscriptions_;
    bool publishing_ = false;
    using Work = boost::asio::executor_work_guard<boost::asio::io_context::executor_type>;
    std::optional<Work> work_; // held while the encoder runs: its frames come from outside
    std::optional<VideoSettings> describedSettings_;
    std::shared_ptr<const ParameterSets> described_;
};

} // namespace larkmoor::camera
