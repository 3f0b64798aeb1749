#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace larkmoor::host
{

/// Delays in microseconds, kept in buckets of about 3 % width, so that hours of hundreds of streams need
/// a few kilobytes. Any thread may add; a reader sees a value that was true a moment ago.
class DelayHistogram
{
public:
    /// Counts one delay; what lies beyond 2^40 us counts as that.
    void Add(std::uint64_t microseconds)
    {
        buckets_[BucketOf(microseconds)].fetch_add(1, std::memory_order_relaxed);
    }

    std::uint64_t Count() const;

    /// The delay that `share` (0 to 1) of all delays don't exceed, in microseconds: the upper edge of the
    /// bucket. 0 when nothing was counted.
    std::uint64_t Quantile(double share) const;

    void Clear();

private:
    static constexpr unsigned kFineBits = 5; // 32 buckets for each power of two
    static constexpr unsigned kLargestBits = 40;
    static constexpr std::size_t kBuckets = std::size_t{kLargestBits - kFineBits + 1} << kFineBits;

    static std::size_t BucketOf(std::uint64_t value);
    static std::uint64_t UpperEdge(std::size_t bucket);

    std::array<std::atomic<std::uint64_t>, kBuckets> buckets_{};
};

} // namespace larkmoor::host
