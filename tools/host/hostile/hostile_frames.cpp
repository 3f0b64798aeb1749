#include "host/hostile/hostile_frames.h"

#include <sys/syscall.h>
#include <unistd.h>

namespace larkmoor::host
{

IHostFrame* HostileFrame::Inner()
{
    IHostFrame* const frame = frame_.load();
    if (frame == nullptr)
        side_.Fault("use of a frame after its release");
    return frame;
}

std::uint8_t* HostileFrame::GetData()
{
    IHostFrame* const frame = Inner();
    return side_.Answer(Operation::GetData, frame == nullptr ? nullptr : frame->GetData());
}

HostileAllocator::~HostileAllocator()
{
    for (const auto& [key, frame] : all_) // what a thread holds that was given up
        if (IHostFrame* const inner = frame->frame_.exchange(nullptr); inner != nullptr)
            frames_.ReleaseFrame(inner);
}

bool HostileAllocator::Holds(const IHostFrame* frame) const
{
    const std::lock_guard guard(lock_);
    const auto found = all_.find(frame);
    return found != all_.end() && found->second->frame_.load() != nullptr;
}

std::vector<HeldFrame> HostileAllocator::Held() const
{
    std::vector<HeldFrame> held;
    const std::lock_guard guard(lock_);
    for (const auto& [key, frame] : all_)
        if (frame->frame_.load() != nullptr)
            held.push_back({frame->thread_, frame->sizeBytes_});
    return held;
}

IHostFrame* HostileAllocator::Wrap(IHostFrame* frame, std::uint32_t sizeBytes)
{
    if (frame == nullptr)
        return nullptr;
    const auto thread = static_cast<pid_t>(syscall(SYS_gettid));
    auto wrapped = std::make_unique<HostileFrame>(side_, frame, sizeBytes, thread);
    IHostFrame* const result = wrapped.get();
    const std::lock_guard guard(lock_);
    all_.emplace(result, std::move(wrapped));
    return result;
}

IHostFrame* HostileAllocator::TakeBack(IHostFrame* frame)
{
    IHostFrame* inner = nullptr;
    {
        const std::lock_guard guard(lock_);
        if (const auto found = all_.find(frame); found != all_.end())
            inner = found->second->frame_.exchange(nullptr);
    }
    if (inner == nullptr)
        side_.Fault("release of a frame that the driver does not hold");
    return inner;
}

IHostFrame* HostileAllocator::AllocateVideoFrame(std::uint32_t formatCode, std::uint32_t sizeBytes,
                                                 const char* driverName)
{
    return side_.Call<IHostFrame*>(
        Operation::AllocateVideoFrame, nullptr,
        [&] { return Wrap(frames_.AllocateVideoFrame(formatCode, sizeBytes, driverName), sizeBytes); });
}

IHostFrame* HostileAllocator::AllocateAudioFrame(std::uint32_t formatCode, std::uint32_t sizeBytes,
                                                 const char* driverName)
{
    return side_.Call<IHostFrame*>(
        Operation::AllocateAudioFrame, nullptr,
        [&] { return Wrap(frames_.AllocateAudioFrame(formatCode, sizeBytes, driverName), sizeBytes); });
}

// A release counts whatever comes of the call.
void HostileAllocator::ReleaseAudioFrame(IHostFrame* frame)
{
    if (IHostFrame* const inner = TakeBack(frame); inner != nullptr)
        frames_.ReleaseAudioFrame(inner);
    side_.Hear(Operation::ReleaseAudioFrame);
}

void HostileAllocator::ReleaseFrame(IHostFrame* frame)
{
    if (IHostFrame* const inner = TakeBack(frame); inner != nullptr)
        frames_.ReleaseFrame(inner);
    side_.Hear(Operation::ReleaseFrame);
}

} // namespace larkmoor::host
