#pragma once

#include <atomic>
#include <cerrno>
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
    explicit Deadline(std::uint32_t timeoutMs) : infinite_(timeoutMs == kInfinite)
    {
        if (infinite_)
            return;
        clock_gettime(CLOCK_MONOTONIC, &at_);
        at_.tv_sec += timeoutMs / 1000;
        at_.tv_nsec += static_cast<long>(timeoutMs % 1000) * 1000000;
        if (at_.tv_nsec >= 1000000000)
        {
            ++at_.tv_sec;
            at_.tv_nsec -= 1000000000;
        }
    }

    const timespec* At() const { return infinite_ ? nullptr : &at_; }

    /// Milliseconds left, rounded up, for calls that take a span; `kInfinite` without an end.
    std::uint32_t LeftMs() const
    {
        if (infinite_)
            return kInfinite;
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        const std::int64_t left = (at_.tv_sec - now.tv_sec) * 1000000000LL + (at_.tv_nsec - now.tv_nsec);
        return left <= 0 ? 0 : static_cast<std::uint32_t>((left + 999999) / 1000000);
    }

private:
    bool infinite_;
    timespec at_{};
};

/// Sleeps while `word` holds `seen`. May return for no reason; gives false once the deadline has passed.
inline bool FutexWait(const std::atomic<std::uint32_t>& word, std::uint32_t seen, const Deadline& deadline)
{
    return syscall(SYS_futex, &word, FUTEX_WAIT_BITSET_PRIVATE, seen, deadline.At(), nullptr,
                   FUTEX_BITSET_MATCH_ANY) == 0 ||
           errno != ETIMEDOUT;
}

/// Wakes all who sleep on `word`. The word may be gone already: it is only an address here.
inline void FutexWakeAll(const std::atomic<std::uint32_t>* word)
{
    syscall(SYS_futex, word, FUTEX_WAKE_PRIVATE, 0x7FFFFFFF, nullptr, nullptr, 0);
}

} // namespace korvane::platform::posix
