#include "camera/media/canned_loop.h"

#include "camera/media/live_encoder.h"
#include "camera/media/test_picture.h"
#include "camera/media/video_encoder.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace larkmoor::camera
{

namespace
{

constexpr std::size_t kMostLoops = 16;        // of megabytes each; settings beyond that push out the oldest
constexpr std::uint32_t kLeastFrames = 50;    // shorter loops repeat visibly
constexpr std::uint32_t kMostFrames = 10'000; // whatever the key interval

std::shared_ptr<const CannedLoop> Encode(const VideoSettings& settings)
{
    const auto encoder = VideoEncoder::Open(settings);
    if (!encoder)
        return nullptr;
    const VideoSettings& actual = encoder->Settings();
    const std::uint32_t group = std::max(1u, actual.frameRate * actual.keyInterval / 1000);
    std::uint32_t count = 2 * group;
    while (count < kLeastFrames)
        count += 2 * group;
    count = std::min(count, kMostFrames);

    auto loop = std::make_shared<CannedLoop>();
    loop->interval = std::chrono::nanoseconds(std::chrono::seconds(1)) / actual.frameRate;
    TestPicture picture(static_cast<int>(actual.width), static_cast<int>(actual.height));
    const Scene scene("canned");
    const auto now = std::chrono::system_clock::now();
    for (std::uint32_t number = 0; number < count; ++number)
    {
        const auto time =
            now + std::chrono::duration_cast<std::chrono::system_clock::duration>(number * loop->interval);
        auto frame = encoder->Encode(picture.Draw(scene.State(), NoteOf(encoder->Settings()), number, time),
                                     number % group == 0);
        if (!frame)
            return nullptr;
        loop->frames.push_back(std::move(frame));
    }
    loop->parameterSets = encoder->Parameters();
    return loop;
}

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

std::shared_ptr<const CannedLoop> CannedLoops::Get(const VideoSettings& settings)
{
    for (const auto& [known, loop] : made_)
    {
        if (known == settings)
            return loop;
    }
    auto loop = Encode(settings);
    if (!loop)
        return nullptr;
    if (made_.size() == kMostLoops)
        made_.erase(made_.begin());
    made_.emplace_back(settings, loop);
    return loop;
}

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
