#pragma once

#include <atomic>
#include <cstdint>

#include "platform/clock.h"

namespace korvane
{

/// A stamp, to measure durations from, that one thread may renew while another reads it: a monotonic tick in
/// 100 ns, so that nothing is early or late when somebody sets the system's clock. A new one holds the
/// present moment.
class CTime
{
public:
    virtual ~CTime() = default;

    void Update() { value_ = platform::Clock::MonotonicTicks(); } ///< to the present moment
    std::uint64_t Get() const { return value_; }

    /// Milliseconds from the stamp to now, cut to 32 bits; 0 if the stamp lies at or after now.
    std::uint32_t GetElapsedMs() const { return ElapsedMsSince(Get()); }

    /// The same for a value of the caller's.
    static std::uint32_t ElapsedMsSince(std::uint64_t value)
    {
        const std::uint64_t now = platform::Clock::MonotonicTicks();
        return value >= now ? 0 : static_cast<std::uint32_t>((now - value) / platform::kTicksPerMs);
    }

private:
    std::atomic<std::uint64_t> value_{platform::Clock::MonotonicTicks()};
};

} // namespace korvane
