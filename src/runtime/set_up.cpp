#include "runtime/set_up.h"

#include "platform/clock.h"
#include "runtime/guarded.h"

#include <algorithm>
#include <atomic>
#include <new>
#include <utility>

namespace korvane
{

namespace
{

using platform::Reserve;
using platform::Shortage;

constexpr std::uint32_t kFirstDelayMs = 5'000;
constexpr std::uint32_t kLongestDelayMs = 60'000;

/// Held beside the stream's own until its first set-up is over: in a small address space their stacks keep
/// the room that its heap will need.
constexpr std::uint32_t kSpareThreads = 2;

std::atomic<std::uint32_t> ends{0}; // of streams and their set-ups in this process: something may be free

const char* NameOf(Shortage shortage)
{
    switch (shortage)
    {
    case Shortage::kDescriptors:
        return "file descriptors";
    case Shortage::kThreads:
        return "threads";
    case Shortage::kPorts:
        return "free pair of UDP ports";
    default:
        return "memory";
    }
}

/// What `work` gives; false if it throws, which is noted if it was for want of memory.
bool Succeeds(const std::function<bool()>& work)
{
    try
    {
        return work();
    }
    catch (const std::bad_alloc&)
    {
        Reserve::Note(Shortage::kMemory);
    }
    catch (...)
    {
        // a failure as any other
    }
    return false;
}

} // namespace

bool CSetUp::StartThread(const std::function<Needs()>& read, const std::function<bool()>& start)
{
    const Reserve::Use use(&reserve_);
    const auto work = [&]
    {
        reserve_.Begin(0);
        needs_ = read();
        return reserve_.TakeThreads(1 + needs_.threads + kSpareThreads) && start();
    };
    if (Succeeds(work))
        return true;
    reserve_.GiveBack(true);
    if (reserve_.Missing() != Shortage::kNone)
        TellShortage(false);
    return false;
}

bool CSetUp::IsDue()
{
    if (isShort_ && platform::Clock::Milliseconds() - sinceMs_ >= delayMs_)
        isShort_ = false;
    const std::uint32_t now = ends;
    if (isShort_ && std::exchange(seenEnds_, now) != now)
        isShort_ = !HoldsAll();
    return !isShort_;
}

// Quietly: a look that finds too little is no attempt.
bool CSetUp::HoldsAll()
{
    const Reserve::Use use(&reserve_);
    if (Succeeds([this] { return reserve_.Begin(needs_.descriptors) && TakeThreads(); }))
        return true;
    reserve_.GiveBack(true);
    return false;
}

bool CSetUp::Try(const std::function<bool()>& work)
{
    const Reserve::Use use(&reserve_);
    seenEnds_ = ends;
    const bool wasOpen = std::exchange(isOpen_, false);
    const bool isDone = Succeeds([&] { return reserve_.Begin(needs_.descriptors) && work(); });
    if (isDone)
        Succeed();
    else if (!isOpen_)
        Fail(wasOpen);
    return isDone;
}

bool CSetUp::TakeThreads(bool keep)
{
    return reserve_.TakeThreads(keep ? std::min(needs_.threads, 1u) : needs_.threads);
}

void CSetUp::Succeed()
{
    isOpen_ = true;
    delayMs_ = 0;
    reserve_.GiveBack(false);
}

// What it held serves another, unless that was too little for itself.
void CSetUp::Fail(bool wasOpen)
{
    reserve_.GiveBack(true);
    isShort_ = reserve_.Missing() != Shortage::kNone;
    if (wasOpen || !isShort_)
        ++ends;
    if (!isShort_)
        return;
    delayMs_ = std::clamp(2 * delayMs_, kFirstDelayMs, kLongestDelayMs);
    sinceMs_ = platform::Clock::Milliseconds();
    TellShortage(true);
}

void CSetUp::TellShortage(bool isStarted) const
{
    const auto tell = [&]
    {
        constexpr const char* kFunction = "korvane::CSetUp::TellShortage";
        const char* const what = NameOf(reserve_.Missing());
        const std::string device = debug_->GetDeviceName();
        if (isStarted)
            debug_->DebugMessage(kLevelError,
                                 "%s: No %s left for a stream of device %s, next attempt in %u s", kFunction,
                                 what, device.c_str(), delayMs_ / 1000);
        else
            debug_->DebugMessage(kLevelError,
                                 "%s: No %s left for a stream of device %s, the channel is not started",
                                 kFunction, what, device.c_str());
    };
    Guarded(tell); // there may be no memory for the line
}

void CSetUp::Close()
{
    isOpen_ = false;
    reserve_.GiveBack(true);
    ++ends;
}

} // namespace korvane
