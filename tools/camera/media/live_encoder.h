#pragma once

#include "camera/media/encoded_frame.h"
#include "camera/media/scene.h"

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace larkmoor::camera
{

/// A thread that draws, encodes and gives away one stream in real time, from construction to destruction.
class LiveEncoder
{
public:
    /// Gets each frame on the encoder's thread; must not block and must not destroy the encoder. False says
    /// that there was no room for the frame, and asks for a key frame as soon as there is.
    using Output = std::function<bool(const MediaFrame&)>;

    /// `name` is shown in the picture.
    LiveEncoder(std::shared_ptr<const Scene> scene, std::string name, const VideoSettings& settings,
                Output output);

    /// Ends the thread, after the frame in hand: within some ten milliseconds.
    ~LiveEncoder();

    LiveEncoder(const LiveEncoder&) = delete;
    LiveEncoder& operator=(const LiveEncoder&) = delete;

    /// Changes size, rate, codec or quality with the next frame, which is then a key frame. Any thread.
    void Change(const VideoSettings& settings);

    /// Makes the next frame a key frame. Any thread.
    void RequestKey() { keyWanted_.store(true, std::memory_order_relaxed); }

private:
    void Run();

    const std::shared_ptr<const Scene> scene_;
    const std::string name_;
    const Output output_;
    std::mutex lock_; // guards what follows; innermost
    std::condition_variable wake_;
    VideoSettings settings_;
    bool changed_ = false;
    bool stop_ = false;
    std::atomic<bool> keyWanted_{false};
    std::thread thread_; // last: runs on all of the above
};

/// "640x480 25fps h264 q28": a stream's settings in a few letters, for the picture.
std::string NoteOf(const VideoSettings& settings);

} // namespace larkmoor::camera
