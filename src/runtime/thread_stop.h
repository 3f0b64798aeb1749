#pragma once

#include "platform/thread.h"

#include <algorithm>
#include <cstdint>

namespace korvane
{

/// How every thread of the driver is ended, once its stop event or flag is set: calls `interrupt`, which ends
/// whatever the thread may be waiting in, and waits for the thread. It does so again every 100 ms, for the
/// thread may just have looked at its stop event and then begun another long call.
///
/// True when the thread has ended; false after `limitMs` (`platform::kInfinite`: never). What comes then is
/// up to the thread's owner: to give it up, or to wait on. No lock is held here; debug builds check that.
template <class Interrupt>
bool EndThread(platform::Thread& thread, std::uint32_t limitMs, Interrupt&& interrupt)
{
    constexpr std::uint32_t kStepMs = 100;
    for (std::uint32_t leftMs = limitMs;;)
    {
        interrupt();
        const std::uint32_t stepMs = std::min(leftMs, kStepMs);
        if (thread.Wait(stepMs) != platform::WaitResult::kTimeout)
            return true;
        if (limitMs != platform::kInfinite)
            leftMs -= stepMs;
        if (leftMs == 0)
            return false;
    }
}

} // namespace korvane
