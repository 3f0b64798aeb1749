#pragma once

#include "camera/media/encoded_frame.h"
#include "camera/media/scene.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace larkmoor::camera
{

/// A few seconds of a stream encoded beforehand, to be played round and round: any number of streams then
/// costs only their sending. It begins with a key frame and holds an even number of groups of pictures, so
/// that the ids of neighbouring IDR pictures differ at the seam too (ITU-T H.264, 7.4.3).
struct CannedLoop
{
    std::vector<std::shared_ptr<const EncodedFrame>> frames; ///< never empty
    std::shared_ptr<const ParameterSets> parameterSets;      ///< never null
    std::chrono::nanoseconds interval;                       ///< between frames
};

/// The loops made so far; streams with the same settings share one. One thread at a time.
class CannedLoops
{
public:
    /// Encodes the loop when it is asked for the first time, which takes as long as encoding some seconds of
    /// video does. Null if no encoder takes the settings.
    std::shared_ptr<const CannedLoop> Get(const VideoSettings& settings);

private:
    std::vector<std::pair<VideoSettings, std::shared_ptr<const CannedLoop>>> made_;
};

/// Plays canned loops to any number of listeners, each with a phase of its own, as so many cameras would
/// send: not all frames in the same moment. One timer serves all. All of it runs on the thread of the
/// io_context.
class CannedPlayer
{
public:
    using Output = std::function<void(const MediaFrame&)>;
    using Id = std::uint64_t;

    /// With `paced` false no clock drives the frames: each is given by Pull.
    CannedPlayer(boost::asio::io_context& context, bool paced) : timer_(context), paced_(paced) {}

    /// Calls `output` with the loop's frames in turn, the first within one frame's time. `output` may Stop
    /// itself.
    Id Start(std::shared_ptr<const CannedLoop> loop, Output output);

    /// Goes on with the first frame of another loop; numbers and times continue.
    void Change(Id id, std::shared_ptr<const CannedLoop> loop);

    /// No call of the output comes any more.
    void Stop(Id id) { plays_.erase(id); }

    /// Gives the next frame now; without effect while frames are paced or for an id that was stopped.
    void Pull(Id id);

private:
    using Clock = std::chrono::steady_clock;

    struct Play
    {
        std::shared_ptr<const CannedLoop> loop;
        std::size_t at = 0; // in the loop
        MediaFrame next;
        Output output;
        Clock::time_point due;
    };

    void Give(Id id);
    void Schedule();
    void OnTimer();

    boost::asio::steady_timer timer_;
    const bool paced_;
    Id lastId_ = 0;
    std::map<Id, Play> plays_;
    std::multimap<Clock::time_point, Id>
        queue_; // by due time; ids that were stopped fall out when they come up
    Clock::time_point armed_ = Clock::time_point::max();
};

} // namespace larkmoor::camera
