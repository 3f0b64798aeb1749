#pragma once

#include <cstdint>

#include "runtime/recursive_lock.h"

namespace korvane
{

/// A stamp, to measure durations from, that one thread may renew while another reads it: a monotonic tick in
/// 100 ns, so that nothing is early or late when somebody sets the system's clock. A new one holds the
/// present moment.
class CTime
{
public:
    CTime();
    virtual ~CTime() = default;
    CTime(const CTime&) = delete;
    CTime& operator=(const CTime&) = delete;

    void Update(); ///< to the present moment
    std::uint64_t Get() const;

    /// Milliseconds from the stamp to now, cut to 32 bits; 0 if the stamp lies at or after now.
    std::uint32_t GetElapsedMs() const;

    /// The same for a value of the caller's.
    static std::uint32_t ElapsedMsSince(std::uint64_t value);

private:
    mutable CRecursiveLock lock_; // guards the value
    std::uint64_t value_;
};

} // namespace korvane
