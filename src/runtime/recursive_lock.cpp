#include "runtime/recursive_lock.h"

#include "platform/thread.h"

#include <thread>

namespace korvane
{

void CRecursiveLock::Take(std::uint32_t thread)
{
    owner_.store(thread, std::memory_order_relaxed);
    depth_ = 1;
    platform::HeldLocks::Take(place_);
}

bool CRecursiveLock::TryEnter()
{
    const std::uint32_t self = platform::Thread::CurrentId();
    if (owner_.load(std::memory_order_relaxed) == self)
    {
        ++depth_;
        return true;
    }
    for (std::uint32_t round = 0;; ++round)
    {
        // Looking before each further try leaves the cache line with the owner, who needs it to leave.
        std::uint32_t expected = 0;
        if ((round == 0 || threads_.load(std::memory_order_relaxed) == 0) &&
            threads_.compare_exchange_strong(expected, 1, std::memory_order_acquire,
                                             std::memory_order_relaxed))
        {
            Take(self);
            return true;
        }
        // Where another processor may free the lock meanwhile.
        static const std::uint32_t spinCount = std::thread::hardware_concurrency() > 1 ? 4000 : 0;
        if (round == spinCount)
            return false;
    }
}

void CRecursiveLock::Enter()
{
    if (TryEnter())
        return;
    if (threads_.fetch_add(1, std::memory_order_acquire) != 0)
    {
        const platform::HeldLocks::WaitForLock allowed;
        wakeUp_.Wait(kWaitForever); // the one who leaves sets it for one waiter, who is the owner then
    }
    Take(platform::Thread::CurrentId());
}

void CRecursiveLock::Leave()
{
    if (--depth_ > 0)
        return;
    platform::HeldLocks::Release(place_);
    owner_.store(0, std::memory_order_relaxed);
    if (threads_.fetch_sub(1, std::memory_order_release) > 1)
        wakeUp_.Set();
}

} // namespace korvane
