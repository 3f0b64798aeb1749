#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "platform/event.h"

/// The one primitive beneath events and thread ends: sleeping on a word (futex(2)).
namespace korvane::platform::posix
{

static_assert(sizeof(std::atomic<std::uint32_t>) == sizeof(std::uint32_t));

/// A moment on the monotonic clock, or none for `kInfinite`.
class Deadline
{
public:
    explicit Deadline(std::uint32_t timeoutMs)
        : infinite_(timeoutMs == kInfinite), at_(Clock::now() + std::chrono::milliseconds(timeoutMs))
    {
    }

    /// Milliseconds left, rounded up, for calls that take a span; `kInfinite` without an end.
    std::uint32_t LeftMs() const
    {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(at_ - Clock::now()).count();
        return infinite_ ? kInfinite : static_cast<std::uint32_t>(std::max<std::int64_t>(left, 0));
    }

private:
    using Clock = std::chrono::steady_clock;
    bool infinite_;
    Clock::time_point at_;
};

/// Sleeps while `word` holds `seen`. False if it still does after `timeoutMs`.
inline bool FutexWait(const std::atomic<std::uint32_t>& word, std::uint32_t seen, std::uint32_t timeoutMs)
{
    const Deadline deadline(timeoutMs);
    while (word.load(std::memory_order_acquire) == seen)
    {
        const std::uint32_t leftMs = deadline.LeftMs();
        if (leftMs == 0)
            return false;
        const timespec span{leftMs / 1000, static_cast<long>(leftMs % 1000) * 1000000};
        syscall(SYS_futex, &word, FUTEX_WAIT_PRIVATE, seen, leftMs == kInfinite ? nullptr : &span, nullptr,
                0);
    }
    return true;
}

/// Wakes all who sleep on `word`. The word may be gone already: it is only an address here.
inline void FutexWakeAll(const std::atomic<std::uint32_t>* word)
{
    syscall(SYS_futex, word, FUTEX_WAKE_PRIVATE, 0x7FFFFFFF, nullptr, nullptr, 0);
}

} // namespace korvane::platform::posix
