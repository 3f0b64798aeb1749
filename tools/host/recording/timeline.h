#pragma once

#include <cstdint>
#include <optional>

namespace larkmoor::host
{

/// Turns the times of frames into those of a recording: milliseconds from 0, each later than the one before,
/// as containers demand. One thread.
class Timeline
{
public:
    /// The place of a frame with this time (microseconds since 1970). A time that isn't later than the last
    /// is put one millisecond behind it. After a leap of more than `kLeap` back, which a camera makes when
    /// its clock is set, the recording goes on at the distance that frames had before.
    std::int64_t Place(std::int64_t timeMicroseconds);

    /// Frames that didn't get the place that their time asked for.
    std::uint64_t Moved() const { return moved_; }

    static constexpr std::int64_t kLeap = 1000; ///< milliseconds

private:
    std::optional<std::int64_t> origin_; // milliseconds
    std::int64_t last_ = 0;
    std::int64_t distance_ = 40;
    std::uint64_t moved_ = 0;
};

} // namespace larkmoor::host
