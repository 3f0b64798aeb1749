#include "camera/media/canned_player.h"

#include <cmath>
#include <numbers>

namespace larkmoor::camera
{
namespace
{

/// Frames that are due this soon go out with the present ones: a wake-up for each would cost more than it
/// gives.
constexpr std::chrono::microseconds kSlack{500};

/// Behind by more than this, the clock starts afresh instead of sending a heap of frames at once.
constexpr std::chrono::milliseconds kLargestFileLag{1000};

/// Shares of a frame's time that lie far from each other for any number of listeners (the golden section).
double PhaseOf(CannedPlayer::Id id)
{
    const double turns = static_cast<double>(id) * (std::numbers::phi - 1);
    return turns - std::floor(turns);
}

} // namespace

CannedPlayer::Id CannedPlayer::Start(std::shared_ptr<const CannedLoop> loop, Output output)
{
    const Id id = ++lastId_;
    Play play;
    play.due = Clock::now() + std::chrono::duration_cast<Clock::duration>(PhaseOf(id) * loop->interval);
    play.loop = std::move(loop);
    play.output = std::move(output);
    if (paced_)
        queue_.emplace(play.due, id);
    plays_.emplace(id, std::move(play));
    Schedule();
    return id;
}

void CannedPlayer::Change(Id id, std::shared_ptr<const CannedLoop> loop)
{
    const auto play = plays_.find(id);
    if (play == plays_.end())
        return;
    play->second.loop = std::move(loop);
    play->second.at = 0;
}

void CannedPlayer::Pull(Id id)
{
    if (!paced_)
        Give(id);
}

void CannedPlayer::Give(Id id)
{
    const auto found = plays_.find(id);
    if (found == plays_.end())
        return;
    Play& play = found->second;
    play.next.encoded = play.loop->frames[play.at];
    play.next.captured = std::chrono::system_clock::now();
    const MediaFrame frame = play.next;
    play.at = (play.at + 1) % play.loop->frames.size();
    play.next.mediaTime += play.loop->interval;
    ++play.next.number;
    const Output output = play.output; // the call may stop this play
    output(frame);
}

void CannedPlayer::Schedule()
{
    if (queue_.empty() || queue_.begin()->first >= armed_)
        return;
    armed_ = queue_.begin()->first;
    timer_.expires_at(armed_);
    timer_.async_wait(
        [this](const boost::system::error_code& error)
        {
            if (!error)
                OnTimer();
        });
}

void CannedPlayer::OnTimer()
{
    armed_ = Clock::time_point::max();
    const auto now = Clock::now();
    while (!queue_.empty() && queue_.begin()->first <= now + kSlack)
    {
        const Id id = queue_.begin()->second;
        queue_.erase(queue_.begin());
        Give(id);
        const auto play = plays_.find(id);
        if (play == plays_.end())
            continue;
        play->second.due += play->second.loop->interval;
        if (play->second.due + kLargestFileLag < now)
            play->second.due = now + play->second.loop->interval;
        queue_.emplace(play->second.due, id);
    }
    Schedule();
}

} // namespace larkmoor::camera
