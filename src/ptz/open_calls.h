#pragma once

#include "runtime/event.h"

#include <atomic>
#include <cstdint>

namespace korvane
{

/// The calls of a host that are inside an object, so that its end can wait for them. Shared with each
/// caller's stack: a host may end the object from within such a call, by way of a log line. Any thread.
class COpenCalls
{
public:
    /// True until `Shut`, and then a `Leave` has to follow.
    bool Enter()
    {
        ++count_;
        if (!shut_)
            return true;
        Leave();
        return false;
    }

    void Leave()
    {
        --count_;
        left_.Set();
    }

    void Shut() { shut_ = true; } ///< from here on nobody gets in

    /// Waits, `limitMs` at most, until nobody is inside: a thread that was given up inside never leaves.
    /// Calls `interrupt` at once and every 100 ms until then.
    template <class Interrupt>
    void Wait(std::uint32_t limitMs, Interrupt interrupt)
    {
        constexpr std::uint32_t kStepMs = 100;
        for (std::uint32_t waitedMs = 0; count_ != 0 && waitedMs < limitMs; waitedMs += kStepMs)
        {
            interrupt();
            left_.Wait(kStepMs);
        }
    }

private:
    std::atomic<std::uint32_t> count_{0};
    std::atomic<bool> shut_{false};
    CEvent left_{false};
};

} // namespace korvane
