#include "host/base/gap_detector.h"

#include <algorithm>

namespace larkmoor::host
{

std::int64_t GapDetector::Median() const
{
    auto sorted = distances_;
    const auto end = sorted.begin() + static_cast<std::ptrdiff_t>(known_);
    const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(known_ / 2);
    std::nth_element(sorted.begin(), middle, end);
    return *middle;
}

void GapDetector::Learn(std::int64_t distance)
{
    distances_[next_] = distance;
    next_ = (next_ + 1) % kWindow;
    known_ = std::min(known_ + 1, kWindow);
}

std::uint64_t GapDetector::Add(std::int64_t timeMicroseconds)
{
    const std::int64_t distance = timeMicroseconds - last_;
    const bool usable = hasLast_ && distance > 0;
    last_ = timeMicroseconds;
    hasLast_ = true;
    if (!usable)
        return 0;

    const std::int64_t usual = known_ >= kEnough ? Median() : 0;
    // A hole is learnt as well: a camera that has become slower shows a run of "holes" until it is the
    // median.
    Learn(distance);
    if (usual == 0 || distance * 4 < usual * 7)
        return 0;
    return static_cast<std::uint64_t>((distance + usual / 2) / usual - 1);
}

void GapDetector::Reset()
{
    known_ = 0;
    next_ = 0;
    hasLast_ = false;
}

} // namespace larkmoor::host
