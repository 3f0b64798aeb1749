#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>

#include <larkmoor/system_time.h>

namespace korvane
{

/// The sum of the last values of a series. No lock.
template <class T>
class TStatisticsHelper
{
public:
    /// `windowSize` values are kept; 0 keeps only the newest.
    explicit TStatisticsHelper(std::uint32_t windowSize) : windowSize_(windowSize) {}
    virtual ~TStatisticsHelper() = default;

    void Add(T value)
    {
        while (!values_.empty() && windowSize_ <= values_.size())
        {
            sum_ -= static_cast<double>(values_.front());
            values_.pop_front();
        }
        sum_ += static_cast<double>(value);
        values_.push_back(value);
    }

    void Clear()
    {
        values_.clear();
        sum_ = 0;
    }

    double Sum() const { return sum_; }
    std::size_t Count() const { return values_.size(); }

private:
    std::deque<T> values_; // oldest first
    double sum_ = 0;
    std::uint32_t windowSize_;
};

/// Turns the RTP timestamp of each frame into wall-clock time: the clock of this machine at arrival, steered
/// by the spacing of the timestamps. The times run smoothly along the RTP clock while that keeps ahead of
/// arrival, take the local clock when a late frame finds them behind, and pay back a lead that a burst built
/// up by at most a tenth of each later step. The clock rate is measured after 100 frames, not assumed; a
/// local clock that was set does not disturb it. One that was set back by more than a second is taken at
/// once.
///
/// All times are 100 ns units of UTC. Belongs to the thread that builds the frames; no lock.
class CTimeStampConverter
{
public:
    CTimeStampConverter();
    virtual ~CTimeStampConverter() = default;

    /// Forgets the last frame and what was measured, so that the next frame takes the local clock.
    void Reset();

    /// Moves on to the frame with that RTP timestamp, which arrived just now.
    void Convert(std::uint32_t timestamp);

    /// The time of the last frame; the present time when there was none.
    void GetTime(SYSTEMTIME& time) const;

    std::uint64_t Current() const { return current_; } ///< the same in 100 ns since 1601; 0 for none

private:
    bool Advance(std::uint32_t ticks);
    std::uint64_t MeasuredStep(std::uint32_t ticks);
    void TakeLocalClock(std::uint32_t timestamp, std::uint64_t now);

    std::uint64_t current_ = 0;
    std::uint32_t lastTimestamp_ = 0;
    std::uint64_t lead_ = 0; // how far current_ had run ahead of the local clock when last noted
    TStatisticsHelper<std::uint32_t> timestampDeltas_;
    TStatisticsHelper<std::uint32_t> arrivalDeltas_;
    std::uint64_t lastArrival_ = 0;     // of the last frame
    std::uint64_t lastArrivalTick_ = 0; // the same moment, monotonic
};

} // namespace korvane
