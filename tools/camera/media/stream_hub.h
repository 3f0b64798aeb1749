#pragma once

#include "camera/media/audio_stream.h"
#include "camera/media/video_stream.h"

#include <map>
#include <memory>
#include <mutex>
#include <vector>

namespace larkmoor::camera
{

/// All encoded streams of a device, and the scenes in front of its video inputs. The hub is made before and
/// goes after everything that sends its frames, and after the io_context has run for the last time.
class StreamHub
{
public:
    /// Frames are given on the thread that runs `context`; one thread only.
    StreamHub(boost::asio::io_context& context, VideoSource source) : context_(context), source_(source) {}

    /// The stream, made at its first use with default settings. Any thread.
    std::shared_ptr<VideoStream> Stream(StreamId id);

    /// The sound of a stream, made at its first use with default settings. Any thread.
    std::shared_ptr<AudioStream> Audio(StreamId id);

    /// The same, or null if the stream has no sound: nobody has asked for it by Audio. Any thread.
    std::shared_ptr<AudioStream> FindAudio(StreamId id) const;

    /// The scene of a video input, made at its first use. Any thread.
    std::shared_ptr<Scene> SceneOf(std::uint32_t channel);

    /// The streams that were used so far. Any thread.
    std::vector<std::shared_ptr<VideoStream>> Streams() const;

    VideoSource Source() const { return source_; }

private:
    std::shared_ptr<Scene> SceneLocked(std::uint32_t channel);

    boost::asio::io_context& context_;
    const VideoSource source_;
    CannedLoops loops_;
    CannedPlayer player_{context_, source_ == VideoSource::Canned};
    mutable std::mutex lock_; // guards the maps; a stream's lock may come behind it
    std::map<StreamId, std::shared_ptr<VideoStream>> streams_;
    std::map<StreamId, std::shared_ptr<AudioStream>> audio_;
    std::map<std::uint32_t, std::shared_ptr<Scene>> scenes_;
};

} // namespace larkmoor::camera
