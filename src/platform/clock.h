#pragma once

#include <cstdint>

#include <larkmoor/system_time.h>

namespace korvane::platform
{

inline constexpr std::uint64_t kTicksPerMs = 10000;        ///< of the 100 ns ticks below
inline constexpr std::uint64_t kTicksPerSecond = 10000000; ///< of the 100 ns ticks below

/// The time, for all code of the driver. Any thread, without a lock.
class Clock
{
public:
    /// UTC in 100 ns ticks since 1 January 1601.
    static std::uint64_t UtcTicks();

    /// 100 ns ticks since some moment in the past, for durations: nobody can set them back.
    static std::uint64_t MonotonicTicks();

    /// The same in milliseconds; wraps after 49.7 days.
    static std::uint32_t Milliseconds() { return static_cast<std::uint32_t>(MonotonicTicks() / kTicksPerMs); }
};

/// Calendar fields of `ticks` (100 ns since 1601). False, with all zero in `out`, from 2^63 ticks on (in the
/// year 30828).
bool ToSystemTime(std::uint64_t ticks, SYSTEMTIME& out);

/// While one exists, `Clock` tells the time that it is told: for tests. One at a time.
class ManualClock
{
public:
    explicit ManualClock(std::uint64_t utcTicks, std::uint32_t milliseconds = 1000);
    ~ManualClock();
    ManualClock(const ManualClock&) = delete;
    ManualClock& operator=(const ManualClock&) = delete;

    void AdvanceTicks(std::uint64_t ticks); ///< both clocks
    void AdvanceMs(std::uint32_t ms) { AdvanceTicks(ms * kTicksPerMs); }
    void SetUtcTicks(std::uint64_t utcTicks); ///< as when somebody sets the system's clock: the other runs on
};

} // namespace korvane::platform
