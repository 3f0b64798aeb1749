#include "platform/event.h"

#include <algorithm>

#include "platform/posix/futex.h"
#include "platform/posix/thread_state.h"

namespace korvane::platform
{

// One wait, on the stack of the thread that waits. Whoever changes the word from `kWaiting` decides it.
class Event::Waiter
{
public:
    bool Decide(std::uint32_t value)
    {
        std::uint32_t expected = kWaiting;
        return word_.compare_exchange_strong(expected, value, std::memory_order_acq_rel);
    }

    std::uint32_t Decision() const { return word_.load(std::memory_order_acquire); }

    // A thread that was given up takes no signal any more, though its waits stay where they were.
    bool CanBeWoken() const { return thread_ == nullptr || !thread_->IsGivenUp(); }

    const std::atomic<std::uint32_t>* Word() const { return &word_; }

    void Sleep(std::uint32_t timeoutMs) const
    {
        const AwayScope away; // from here on only this object, on the thread's own stack
        posix::FutexWait(word_, kWaiting, timeoutMs);
    }

    static constexpr std::uint32_t kWaiting = 0;
    static constexpr std::uint32_t kTimedOut = 0xFFFFFFFF; // all others: the event's index + 1

private:
    std::atomic<std::uint32_t> word_{kWaiting};
    ThreadState* const thread_ = ThreadState::CurrentUnlessAway();
};

// A wait's place in the list of one event.
struct Event::Link
{
    Waiter* waiter;
    std::uint32_t decision; // what this event writes to the waiter
    Link* previous;
    Link* next;
};

bool Event::Set()
{
    std::uint32_t state = state_.load(std::memory_order_relaxed);
    // Also when it is set already: whoever takes it must see what was written before this call.
    while ((state & kHasWaiters) == 0)
    {
        if (state_.compare_exchange_weak(state, state | kSignalled, std::memory_order_acq_rel))
            return true;
    }
    const std::atomic<std::uint32_t>* wake = nullptr;
    {
        const std::lock_guard guard(mutex_);
        wake = HandOver();
    }
    // Outside the lock, which the woken thread needs next. Its wait may have ended meanwhile: an address.
    if (wake != nullptr)
        posix::FutexWakeAll(wake);
    return true;
}

const std::atomic<std::uint32_t>* Event::HandOver()
{
    if (manual_)
        state_.fetch_or(kSignalled, std::memory_order_acq_rel);
    const std::atomic<std::uint32_t>* wake = nullptr;
    for (Link* link = first_; link != nullptr; link = link->next)
    {
        if (!link->waiter->CanBeWoken() || !link->waiter->Decide(link->decision))
            continue;
        if (wake != nullptr)
            posix::FutexWakeAll(wake);
        wake = link->waiter->Word();
        if (!manual_)
            return wake;
    }
    if (!manual_)
        state_.fetch_or(kSignalled, std::memory_order_acq_rel);
    return wake;
}

bool Event::Reset()
{
    state_.fetch_and(~kSignalled, std::memory_order_acq_rel);
    return true;
}

bool Event::TryTake()
{
    std::uint32_t state = state_.load(std::memory_order_acquire);
    while ((state & kSignalled) != 0)
    {
        if (manual_ || state_.compare_exchange_weak(state, state & ~kSignalled, std::memory_order_acq_rel,
                                                    std::memory_order_acquire))
            return true;
    }
    return false;
}

// Puts the wait into the list. False if it is decided already, by this event or by one joined before.
bool Event::Join(Link& link)
{
    const std::lock_guard guard(mutex_);
    link.previous = last_;
    link.next = nullptr;
    (last_ == nullptr ? first_ : last_->next) = &link;
    last_ = &link;
    state_.fetch_or(kHasWaiters, std::memory_order_acq_rel);

    if (link.waiter->Decision() != Waiter::kWaiting)
        return false;
    if (!TryTake())
        return true;
    if (!link.waiter->Decide(link.decision))
    {
        // Another event was faster: what was taken here goes to the next one who waits for it.
        if (const auto* wake = HandOver())
            posix::FutexWakeAll(wake);
    }
    return false;
}

void Event::Leave(Link& link)
{
    const std::lock_guard guard(mutex_);
    (link.previous == nullptr ? first_ : link.previous->next) = link.next;
    (link.next == nullptr ? last_ : link.next->previous) = link.previous;
    if (first_ == nullptr)
        state_.fetch_and(~kHasWaiters, std::memory_order_acq_rel);
}

bool Event::Wait(std::uint32_t timeoutMs)
{
    Event* const self = this;
    return TryTake() || (timeoutMs != 0 && WaitForAny(&self, 1, timeoutMs) == 0);
}

int Event::WaitForAny(Event* const* events, std::size_t count, std::uint32_t timeoutMs)
{
    if (events == nullptr || count == 0 || count > kMostEvents ||
        std::find(events, events + count, nullptr) != events + count)
        return -1;
    for (std::size_t i = 0; i < count; ++i)
    {
        if (events[i]->TryTake())
            return static_cast<int>(i);
    }
    if (timeoutMs == 0)
        return -1;

    Waiter waiter;
    Link links[kMostEvents]; // filled as far as they are used
    std::size_t joined = 0;
    bool waiting = true;
    while (waiting && joined < count)
    {
        links[joined].waiter = &waiter;
        links[joined].decision = static_cast<std::uint32_t>(joined) + 1;
        waiting = events[joined]->Join(links[joined]);
        ++joined;
    }
    if (waiting)
        waiter.Sleep(timeoutMs);
    waiter.Decide(Waiter::kTimedOut);
    // Also from the event that decided it: when its lock can be had, its `Set` is through with this wait.
    for (std::size_t i = 0; i < joined; ++i)
        events[i]->Leave(links[i]);

    const std::uint32_t decision = waiter.Decision();
    return decision == Waiter::kTimedOut ? -1 : static_cast<int>(decision) - 1;
}

} // namespace korvane::platform
