#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace larkmoor::host
{

/// Finds the holes in a stream by the times of its frames alone, for cameras that don't number them.
/// A camera seldom keeps to the rate that it was asked for, so the usual distance is learnt: the median of
/// the last distances. A distance of 1.75 of that is a hole. One thread at a time.
class GapDetector
{
public:
    /// Takes the time of the next frame in microseconds. Returns how many frames seem to be missing in
    /// front of it; 0 while too few are known, and for a time that doesn't go forward.
    std::uint64_t Add(std::int64_t timeMicroseconds);

    /// Forgets what was learnt: the rate is about to change.
    void Reset();

private:
    static constexpr std::size_t kWindow = 31;
    static constexpr std::size_t kEnough = 5;

    std::int64_t Median() const;
    void Learn(std::int64_t distance);

    std::array<std::int64_t, kWindow> distances_{};
    std::size_t known_ = 0;
    std::size_t next_ = 0;
    std::int64_t last_ = 0;
    bool hasLast_ = false;
};

} // namespace larkmoor::host
