#pragma once

#include <cstdint>

#include "runtime/recursive_lock.h"

namespace korvane
{

/// A stamp of the wall clock that one thread may renew while another reads it: UTC in 100 ns ticks since
/// 1601, or 0 if the system could not tell. A new one holds the present time.
class CTime
{
public:
    CTime();
    virtual ~CTime() = default;
    CTime(const CTime&) = delete;
    CTime& operator=(const CTime&) = delete;

    void Update(); ///< to the present time
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
