#pragma once

#include <chrono>
#include <cstdint>

namespace larkmoor::host
{

/// Seconds on a clock that only goes forward.
inline double MonotonicSeconds()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

/// Microseconds since 1970 on the clock of the wall.
inline std::int64_t WallMicroseconds()
{
    using namespace std::chrono;
    return duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
}

} // namespace larkmoor::host
