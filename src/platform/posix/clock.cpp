#include "platform/clock.h"

#include <atomic>
#include <chrono>
#include <ratio>

namespace korvane::platform
{

namespace
{

constexpr std::uint64_t kTicksTo1970 = 116444736000000000; // from 1601
constexpr std::int64_t kDaysTo1970 = 134774;
constexpr std::uint64_t kTicksPerDay = 86400 * kTicksPerSecond;
constexpr std::uint64_t kTicksEnd = std::uint64_t{1} << 63;

using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, kTicksPerSecond>>;

std::atomic<bool> isManual{false};
std::atomic<std::uint64_t> manualUtcTicks{0};
std::atomic<std::uint64_t> manualMonotonicTicks{0};

} // namespace

std::uint64_t Clock::UtcTicks()
{
    if (isManual.load(std::memory_order_acquire))
        return manualUtcTicks.load(std::memory_order_relaxed);
    const auto since1970 = std::chrono::system_clock::now().time_since_epoch();
    return kTicksTo1970 + static_cast<std::uint64_t>(std::chrono::duration_cast<Ticks>(since1970).count());
}

std::uint64_t Clock::MonotonicTicks()
{
    if (isManual.load(std::memory_order_acquire))
        return manualMonotonicTicks.load(std::memory_order_relaxed);
    const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(std::chrono::duration_cast<Ticks>(sinceStart).count());
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
