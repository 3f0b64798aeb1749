#include "host/base/delay_histogram.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace larkmoor::host
{

std::size_t DelayHistogram::BucketOf(std::uint64_t value)
{
    value = std::min(value, (std::uint64_t{1} << kLargestBits) - 1);
    const unsigned bits = static_cast<unsigned>(std::bit_width(value));
    if (bits <= kFineBits)
        return static_cast<std::size_t>(value); // exact below 32
    const unsigned shift = bits - kFineBits - 1;
    return (std::size_t{shift} << kFineBits) + static_cast<std::size_t>(value >> shift);
}

std::uint64_t DelayHistogram::UpperEdge(std::size_t bucket)
{
    const std::size_t row = bucket >> kFineBits;
    if (row <= 1)
        return bucket;
    const std::size_t shift = row - 1;
    const std::uint64_t lower = std::uint64_t{bucket - (shift << kFineBits)} << shift;
    return lower + (std::uint64_t{1} << shift) - 1;
}

std::uint64_t DelayHistogram::Count() const
{
    std::uint64_t count = 0;
    for (const auto& bucket : buckets_)
        count += bucket.load(std::memory_order_relaxed);
    return count;
}

std::uint64_t DelayHistogram::Quantile(double share) const
{
    const std::uint64_t count = Count();
    if (count == 0)
        return 0;
    const double wanted =
        std::clamp(std::ceil(share * static_cast<double>(count)), 1.0, static_cast<double>(count));
    std::uint64_t seen = 0;
    for (std::size_t i = 0; i < kBuckets; ++i)
    {
        seen += buckets_[i].load(std::memory_order_relaxed);
        if (static_cast<double>(seen) >= wanted)
            return UpperEdge(i);
    }
    return UpperEdge(kBuckets - 1);
}

void DelayHistogram::Clear()
{
    for (auto& bucket : buckets_)
        bucket.store(0, std::memory_order_relaxed);
}

} // namespace larkmoor::host
