#include "platform/clock.h"

#include <atomic>
#include <chrono>
#include <ctime>

namespace korvane::platform
{

namespace
{

constexpr std::uint64_t kTicksTo1970 = 116444736000000000; // from 1601
constexpr std::int64_t kDaysTo1970 = 134774;
constexpr std::uint64_t kTicksPerDay = 86400 * kTicksPerSecond;
constexpr std::uint64_t kTicksEnd = std::uint64_t{1} << 63;

std::atomic<bool> isManual{false};
std::atomic<std::uint64_t> manualUtcTicks{0};
std::atomic<std::uint64_t> manualMonotonicTicks{0};

} // namespace

std::uint64_t Clock::UtcTicks()
{
    if (isManual.load(std::memory_order_acquire))
        return manualUtcTicks.load(std::memory_order_relaxed);
    timespec now{};
    if (clock_gettime(CLOCK_REALTIME, &now) != 0 || now.tv_sec < 0)
        return 0;
    return kTicksTo1970 + static_cast<std::uint64_t>(now.tv_sec) * kTicksPerSecond +
           static_cast<std::uint64_t>(now.tv_nsec) / 100;
}

std::uint64_t Clock::MonotonicTicks()
{
    if (isManual.load(std::memory_order_acquire))
        return manualMonotonicTicks.load(std::memory_order_relaxed);
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * kTicksPerSecond +
           static_cast<std::uint64_t>(now.tv_nsec) / 100;
}

bool ToSystemTime(std::uint64_t ticks, SYSTEMTIME& out)
{
    out = SYSTEMTIME{};
    if (ticks >= kTicksEnd)
        return false;
    using namespace std::chrono;
    const sys_days day{days{static_cast<std::int64_t>(ticks / kTicksPerDay) - kDaysTo1970}};
    const year_month_day date{day};
    const std::uint64_t ofDay = ticks % kTicksPerDay;
    const std::uint64_t seconds = ofDay / kTicksPerSecond;
    out.year = static_cast<std::uint16_t>(static_cast<int>(date.year()));
    out.month = static_cast<std::uint16_t>(static_cast<unsigned>(date.month()));
    out.dayOfWeek = static_cast<std::uint16_t>(weekday{day}.c_encoding());
    out.day = static_cast<std::uint16_t>(static_cast<unsigned>(date.day()));
    out.hour = static_cast<std::uint16_t>(seconds / 3600);
    out.minute = static_cast<std::uint16_t>(seconds / 60 % 60);
    out.second = static_cast<std::uint16_t>(seconds % 60);
    out.milliseconds = static_cast<std::uint16_t>(ofDay % kTicksPerSecond / kTicksPerMs);
    return true;
}

ManualClock::ManualClock(std::uint64_t utcTicks, std::uint32_t milliseconds)
{
    manualUtcTicks = utcTicks;
    manualMonotonicTicks = milliseconds * kTicksPerMs;
    isManual.store(true, std::memory_order_release);
}

ManualClock::~ManualClock()
{
    isManual.store(false, std::memory_order_release);
}

void ManualClock::AdvanceTicks(std::uint64_t ticks)
{
    manualUtcTicks += ticks;
    manualMonotonicTicks += ticks;
}

void ManualClock::SetUtcTicks(std::uint64_t utcTicks)
{
    manualUtcTicks = utcTicks;
}

} // namespace korvane::platform
