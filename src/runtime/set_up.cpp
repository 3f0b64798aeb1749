#include "runtime/set_up.h"

#include "platform/clock.h"
#include "runtime/forever.h"
#include "runtime/recursive_lock.h"
#include "runtime/text.h"

#include <algorithm>
#include <string>

namespace korvane
{

namespace
{

using platform::Shortage;

constexpr std::uint32_t kFirstDelayMs = 5'000;
constexpr std::uint32_t kLongestDelayMs = 60'000;

/// The channels that wait for what the process has not, the longest first.
struct Queue
{
    CRecursiveLock lock;
    std::list<CSetUp*> waiting;
};

Queue& TheQueue()
{
    static TForever<Queue> queue;
    return queue.value;
}

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

} // namespace

CSetUp::~CSetUp()
{
    Close();
}

bool CSetUp::IsDue()
{
    if (platform::Clock::Milliseconds() - sinceMs_ >= delayMs_)
        delayMs_ = 0;
    return delayMs_ == 0;
}

bool CSetUp::WaitForStop(CManualEvent& stopEvent, std::uint32_t waitMs)
{
    CEvent* const events[] = {&stopEvent, &dueEvent_};
    const int woken = CEvent::WaitForAny(events, 2, waitMs);
    if (woken == 1)
        MakeDue();
    return woken == 0;
}

void CSetUp::Begin()
{
    Leave();
    dueEvent_.Reset();
    delayMs_ = 0;
    wasOpen_ = std::exchange(isOpen_, false);
    isTrying_ = true;
    reserve_.Begin();
}

void CSetUp::End(bool isDone)
{
    if (!isTrying_)
        return;
    isTrying_ = false;
    isOpen_ = isDone;
    reserve_.GiveBack(!isDone);
    const bool isShort = !isDone && reserve_.Missing() != Shortage::kNone;
    const bool wasWoken = isWoken_.exchange(false);
    if (isDone)
        lastDelayMs_ = 0;
    else if (wasOpen_ || (wasWoken && !isShort))
        PassOn(); // what it held, or did not need, serves another
    if (!isShort)
        return;
    lastDelayMs_ = std::clamp(2 * lastDelayMs_, kFirstDelayMs, kLongestDelayMs);
    delayMs_ = lastDelayMs_;
    sinceMs_ = platform::Clock::Milliseconds();
    {
        const CLockGuard guard(TheQueue().lock);
        TheQueue().waiting.splice(TheQueue().waiting.end(), place_);
    }
    TellShortage();
}

void CSetUp::TellShortage() const
{
    const auto tell = [this]
    {
        const std::string next = Utils::FormatString("next attempt in %u s", delayMs_ / 1000);
        debug_->DebugMessage(kLevelError, "%s: No %s left for a stream of device %s, %s",
                             "korvane::CSetUp::TellShortage", NameOf(reserve_.Missing()),
                             debug_->GetDeviceName().c_str(),
                             isPrepared_ ? next.c_str() : "the channel is not started");
        return true;
    };
    Guarded(false, tell); // there may be no memory for the line
}

void CSetUp::Leave()
{
    const CLockGuard guard(TheQueue().lock);
    std::list<CSetUp*>& waiting = TheQueue().waiting;
    if (place_.empty())
        place_.splice(place_.end(), waiting, std::ranges::find(waiting, this));
}

void CSetUp::Close()
{
    Leave();
    isTrying_ = false;
    reserve_.GiveBack(true);
    if (std::exchange(isOpen_, false) || isWoken_.exchange(false))
        PassOn();
}

// What has become free makes the set-up due that has waited longest.
void CSetUp::PassOn()
{
    const CLockGuard guard(TheQueue().lock);
    std::list<CSetUp*>& waiting = TheQueue().waiting;
    if (waiting.empty())
        return;
    CSetUp& next = *waiting.front();
    next.place_.splice(next.place_.end(), waiting, waiting.begin());
    next.isWoken_ = true;
    next.dueEvent_.Set();
}

} // namespace korvane
