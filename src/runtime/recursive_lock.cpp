#include "runtime/recursive_lock.h"

#include "platform/thread.h"

namespace korvane
{

namespace
{

constexpr std::uint32_t kSpinCount = 4000; // where another processor may free the lock meanwhile

std::uint32_t SpinCount()
{
    static const std::uint32_t count = platform::Thread::ProcessorCount() > 1 ? kSpinCount : 0;
    return count;
}

} // namespace

CRecursiveLock::CRecursiveLock(platform::LockPlace place) : place_(place), state_(std::make_unique<State>())
{
    state_->spinCount = SpinCount();
}

CRecursiveLock::~CRecursiveLock() = default;

void CRecursiveLock::Take(std::uint32_t thread)
{
    state_->ownerThread.store(thread, std::memory_order_relaxed);
    state_->recursionCount = 1;
    platform::HeldLocks::Take(place_);
}

bool CRecursiveLock::TryEnter()
{
    State& state = *state_;
    const std::uint32_t self = platform::Thread::CurrentId();
    const std::uint32_t spinCount = state.spinCount;
    for (std::uint32_t round = 0;; ++round)
    {
        // Looking before each further try leaves the cache line with the owner, who needs it to leave.
        std::uint32_t expected = 0;
        if ((round == 0 || state.lockCount.load(std::memory_order_relaxed) == 0) &&
            state.lockCount.compare_exchange_strong(expected, 1, std::memory_order_acquire,
                                                    std::memory_order_relaxed))
        {
            Take(self);
            return true;
        }
        if (state.ownerThread.load(std::memory_order_relaxed) == self)
        {
            state.lockCount.fetch_add(1, std::memory_order_relaxed);
            ++state.recursionCount;
            return true;
        }
        if (round == spinCount)
            return false;
    }
}

void CRecursiveLock::Enter()
{
    if (TryEnter())
        return;
    State& state = *state_;
    const std::uint32_t self = platform::Thread::CurrentId();
    if (state.lockCount.fetch_add(1, std::memory_order_acquire) == 0)
    {
        Take(self);
        return;
    }
    // Not the owner, or the tries above had told. The one who leaves sets the event for one waiter.
    {
        const platform::HeldLocks::WaitForLock allowed;
        wakeUp_.Wait(kWaitForever);
    }
    Take(self);
}

void CRecursiveLock::Leave()
{
    State& state = *state_;
    if (--state.recursionCount > 0)
    {
        state.lockCount.fetch_sub(1, std::memory_order_relaxed);
        return;
    }
    platform::HeldLocks::Release(place_);
    state.ownerThread.store(0, std::memory_order_relaxed);
    if (state.lockCount.fetch_sub(1, std::memory_order_release) > 1)
        wakeUp_.Set();
}

} // namespace korvane
