#include "host/hostile/hostile_frames.h"

#include <sys/syscall.h>
#include <unistd.h>

namespace larkmoor::host
{

using namespace korvane::ipcapture;

template <typename Body>
void HostileFrame::Use(Operation operation, const Body& body)
{
    side_.Call(operation,
               [&]
               {
                   if (IHostFrame* const frame = frame_.load(); frame != nullptr)
                       body(*frame);
                   else
                       side_.Fault("use of a frame after its release");
               });
}

void HostileFrame::SetData(const std::uint8_t* data, std::uint32_t sizeBytes)
{
    Use(Operation::SetData, [&](IHostFrame& frame) { frame.SetData(data, sizeBytes); });
}

std::uint8_t* HostileFrame::GetData()
{
    IHostFrame* const frame = frame_.load();
    if (frame == nullptr)
        side_.Fault("use of a frame after its release");
    return side_.Call<std::uint8_t*>(Operation::GetData, nullptr,
                                     [&] { return frame == nullptr ? nullptr : frame->GetData(); });
}

void HostileFrame::SetDataSize(std::uint32_t sizeBytes)
{
    Use(Operation::SetDataSize, [&](IHostFrame& frame) { frame.SetDataSize(sizeBytes); });
}

void HostileFrame::SetTimeNow()
{
    Use(Operation::SetTime, [](IHostFrame& frame) { frame.SetTimeNow(); });
}

void HostileFrame::SetTime(const SYSTEMTIME* captureTime)
{
    Use(Operation::SetTime, [&](IHostFrame& frame) { frame.SetTime(captureTime); });
}

void HostileFrame::SetFormat(std::uint32_t formatCode)
{
    Use(Operation::SetFormat, [&](IHostFrame& frame) { frame.SetFormat(formatCode); });
}

void HostileFrame::SetCodecConfig(std::uint32_t sizeBytes, const std::uint8_t* config)
{
    Use(Operation::DescribeFrame, [&](IHostFrame& frame) { frame.SetCodecConfig(sizeBytes, config); });
}

void HostileFrame::SetHeight(std::uint32_t pixels)
{
    Use(Operation::DescribeFrame, [&](IHostFrame& frame) { frame.SetHeight(pixels); });
}

void HostileFrame::SetAudioBitRate(std::uint32_t bitsPerSecond)
{
    Use(Operation::DescribeFrame, [&](IHostFrame& frame) { frame.SetAudioBitRate(bitsPerSecond); });
}

void HostileFrame::SetWidth(std::uint32_t pixels)
{
    Use(Operation::DescribeFrame, [&](IHostFrame& frame) { frame.SetWidth(pixels); });
}

void HostileFrame::SetAudioInput(std::uint8_t audioInput)
{
    Use(Operation::DescribeFrame, [&](IHostFrame& frame) { frame.SetAudioInput(audioInput); });
}

void HostileFrame::SetSizeClass(std::uint32_t sizeClass)
{
    Use(Operation::DescribeFrame, [&](IHostFrame& frame) { frame.SetSizeClass(sizeClass); });
}

void HostileFrame::SetAudioFormat(std::uint32_t sampleRate, std::uint8_t reserved, bool stereo)
{
    Use(Operation::DescribeFrame,
        [&](IHostFrame& frame) { frame.SetAudioFormat(sampleRate, reserved, stereo); });
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
    side_.Call(Operation::ReleaseAudioFrame, [] {});
}

void HostileAllocator::ReleaseFrame(IHostFrame* frame)
{
    if (IHostFrame* const inner = TakeBack(frame); inner != nullptr)
        frames_.ReleaseFrame(inner);
    side_.Call(Operation::ReleaseFrame, [] {});
}

} // namespace larkmoor::host
