#include "host/contract/audio_client.h"

#include "host/base/stopwatch.h"

#include <array>

namespace larkmoor::host
{

namespace
{

constexpr std::size_t kMostStates = 100;
constexpr std::array<const char*, 6> kStates = {"stopped",  "starting", "streaming",
                                                "stopping", "error",    "signal lost"};

} // namespace

std::string AudioStateName(std::uint32_t state)
{
    return state < kStates.size() ? kStates[state] : std::to_string(state);
}

AudioClient::AudioClient(FrameAllocator& allocator, FaultList& faults, IFrameReceiver* receiver,
                         const std::vector<std::uint32_t>& formats)
    : allocator_(allocator), faults_(faults), receiver_(receiver)
{
    for (const std::uint32_t code : formats)
        items_.emplace_back(code, faults);
}

AudioCounts AudioClient::Counts() const
{
    const std::lock_guard guard(lock_);
    return counts_;
}

bool AudioClient::AudioFrame(IHostFrame* frame)
{
    FrameHold hold = allocator_.Hold(frame);
    if (!hold)
        return false;
    if (!hold->Info().isAudio)
        faults_.Add("a picture was delivered as sound");
    const FrameInfo info = hold->Info();
    const std::size_t size = hold->Data().size();
    const bool isTaken = receiver_ == nullptr || receiver_->TakeFrame(std::move(hold));
    const double now = MonotonicSeconds();
    const std::lock_guard guard(lock_);
    if (!isTaken)
    {
        ++counts_.refused;
        return false;
    }
    ++counts_.frames;
    counts_.bytes += size;
    counts_.firstFrame = counts_.firstFrame == 0 ? now : counts_.firstFrame;
    counts_.lastFrame = now;
    counts_.info = info;
    return true;
}

void AudioClient::StateChanged(std::uint32_t, std::uint32_t state)
{
    const std::lock_guard guard(lock_);
    counts_.state = state;
    if (counts_.states.size() < kMostStates)
        counts_.states.emplace_back(MonotonicSeconds(), state);
}

} // namespace larkmoor::host
