#pragma once

#include "camera/media/canned_loop.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <functional>
#include <map>

namespace larkmoor::camera
{

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
