#include "runtime/time.h"

#include "platform/clock.h"

namespace korvane
{

CTime::CTime() : value_(platform::Clock::MonotonicTicks()) {}

void CTime::Update()
{
    const std::uint64_t now = platform::Clock::MonotonicTicks();
    const CLockGuard guard(lock_);
    value_ = now;
}

std::uint64_t CTime::Get() const
{
    const CLockGuard guard(lock_);
    return value_;
}

std::uint32_t CTime::GetElapsedMs() const
{
    return ElapsedMsSince(Get());
}

std::uint32_t CTime::ElapsedMsSince(std::uint64_t value)
{
    const std::uint64_t now = platform::Clock::MonotonicTicks();
    return value >= now ? 0 : static_cast<std::uint32_t>((now - value) / platform::kTicksPerMs);
}

} // namespace korvane
