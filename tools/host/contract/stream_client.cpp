#include "host/contract/stream_client.h"

#include "host/base/stopwatch.h"

#include <algorithm>
#include <utility>

namespace larkmoor::host
{

namespace
{

constexpr std::size_t kKeptMoments = 100;
constexpr std::uint32_t kRestart = 1u << 20; // a number this far ahead belongs to a camera that began anew

} // namespace

StreamClient::StreamClient(FrameAllocator& allocator, FaultList& faults, IFrameReceiver* receiver,
                           DelayHistogram* delays)
    : allocator_(allocator), faults_(faults), receiver_(receiver), delays_(delays)
{
}

StreamCounts StreamClient::Counts() const
{
    const std::lock_guard guard(lock_);
    return counts_;
}

void StreamClient::ForgetRate()
{
    const std::lock_guard guard(lock_);
    gaps_.Reset();
}

bool StreamClient::DeliverFrame(IHostFrame* frame)
{
    const std::int64_t wall = WallMicroseconds();
    FrameHold hold = allocator_.Hold(frame);
    if (!hold)
        return false;
    const auto stamp = FindStamp(hold->Data());
    if (stamp && delays_ != nullptr)
        delays_->Add(static_cast<std::uint64_t>(std::max<std::int64_t>(wall - stamp->sent, 0)));

    const Frame& seen = *hold; // the driver's own hold keeps it for the length of this call
    if (receiver_ != nullptr && !receiver_->TakeFrame(std::move(hold)))
    {
        const std::lock_guard guard(lock_);
        ++counts_.refused;
        return false;
    }
    const std::lock_guard guard(lock_);
    Count(seen, MonotonicSeconds(), stamp);
    return true;
}

void StreamClient::Count(const Frame& frame, double now, const std::optional<FrameStamp>& stamp)
{
    const FrameInfo& info = frame.Info();
    if (counts_.frames == 0)
        counts_.firstFrame = now;
    else
        counts_.longestPause = std::max(counts_.longestPause, now - counts_.lastFrame);
    counts_.lastFrame = now;
    ++counts_.frames;
    counts_.bytes += frame.Data().size();
    counts_.width = info.width;
    counts_.height = info.height;
    counts_.format = info.format;
    if (IsKeyFrame(info.format))
    {
        ++counts_.keyFrames;
        counts_.lastKeyFrame = now;
    }
    if (lastTime_ != 0 && info.time <= lastTime_)
        ++counts_.timesBack;
    lastTime_ = info.time;
    const std::uint64_t missing = gaps_.Add(info.time);
    counts_.gaps += missing == 0 ? 0 : 1;
    counts_.missingByTime += missing;
    if (stamp)
        CountStamp(*stamp);
}

void StreamClient::CountStamp(const FrameStamp& stamp)
{
    ++counts_.stamped;
    if (lastNumber_)
    {
        const std::uint32_t step = stamp.number - *lastNumber_;
        counts_.missingByStamp += step > 1 && step < kRestart ? step - 1 : 0;
    }
    lastNumber_ = stamp.number;
}

void StreamClient::SignalLost()
{
    const std::lock_guard guard(lock_);
    ++counts_.signalLostCount;
    if (counts_.signalLost.size() < kKeptMoments)
        counts_.signalLost.push_back(MonotonicSeconds());
}

} // namespace larkmoor::host
