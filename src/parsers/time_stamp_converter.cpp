#include "parsers/time_stamp_converter.h"

#include <algorithm>
#include <cmath>

#include "platform/clock.h"

namespace korvane
{

namespace
{

constexpr std::uint32_t kWindow = 1000;       // frames
constexpr std::size_t kMeasuredAfter = 100;   // frames
constexpr std::uint64_t kUnitsPerTick = 111;  // of a 90 kHz clock, in 100 ns
constexpr std::uint64_t kMillisecond = 10000; // in 100 ns
constexpr std::uint64_t kLongestAssumedStep = 1000 * kMillisecond;
constexpr std::uint64_t kClockWasSetBack = 1000 * kMillisecond; // from the last arrival
constexpr std::uint64_t kNotableLead = 250 * kMillisecond;
constexpr std::uint64_t kLeastLeadToPay = kMillisecond;
constexpr std::uint64_t kLeastStepToPayFrom = 4 * kMillisecond;
constexpr std::uint64_t kPaidShare = 10; // a tenth of a step

double Mean(const TStatisticsHelper<std::uint32_t>& values)
{
    return values.Count() == 0 ? 0.0 : values.Sum() / static_cast<double>(values.Count());
}

} // namespace

CTimeStampConverter::CTimeStampConverter() : timestampDeltas_(kWindow), arrivalDeltas_(kWindow) {}

void CTimeStampConverter::Reset()
{
    current_ = 0;
    lastTimestamp_ = 0;
    timestampDeltas_.Clear();
    arrivalDeltas_.Clear();
}

void CTimeStampConverter::TakeLocalClock(std::uint32_t timestamp, std::uint64_t now)
{
    current_ = now;
    lead_ = 0;
    lastArrival_ = now;
    lastArrivalTick_ = platform::Clock::MonotonicTicks();
    lastTimestamp_ = timestamp;
}

void CTimeStampConverter::Convert(std::uint32_t timestamp)
{
    const std::uint64_t now = platform::Clock::UtcTicks();
    if (now == 0 || current_ == 0 || lastTimestamp_ == 0 || now + kClockWasSetBack < lastArrival_)
        return TakeLocalClock(timestamp, now);

    bool notesLead = true;
    if (timestamp > lastTimestamp_)
        notesLead = Advance(timestamp - lastTimestamp_);
    else // a wrap, a leap back, or a second frame of one timestamp
        current_ = std::max(current_ + kMillisecond, now);

    if (current_ <= now)
        return TakeLocalClock(timestamp, now);
    if (notesLead || current_ - now > kNotableLead)
        lead_ = current_ - now;
    lastArrival_ = now;
    lastArrivalTick_ = platform::Clock::MonotonicTicks();
    lastTimestamp_ = timestamp;
}

/// True when the lead is to be noted whatever it is.
bool CTimeStampConverter::Advance(std::uint32_t ticks)
{
    timestampDeltas_.Add(ticks);
    arrivalDeltas_.Add(static_cast<std::uint32_t>(platform::Clock::MonotonicTicks() - lastArrivalTick_));

    if (timestampDeltas_.Count() > kMeasuredAfter)
    {
        current_ += MeasuredStep(ticks);
        return false;
    }
    const std::uint64_t assumed = ticks * kUnitsPerTick;
    current_ = assumed < kLongestAssumedStep ? current_ + assumed : 0; // 0: the local clock is taken
    return timestampDeltas_.Count() == kMeasuredAfter;
}

/// The step by the measured clock rate, less what it pays back of the lead. Never more than the duration of
/// the whole window, since `ticks` is one of the values that the mean is of.
std::uint64_t CTimeStampConverter::MeasuredStep(std::uint32_t ticks)
{
    auto step =
        static_cast<std::uint64_t>(std::floor(ticks * Mean(arrivalDeltas_) / Mean(timestampDeltas_) + 0.5));
    if (lead_ > kLeastLeadToPay && step > kLeastStepToPayFrom)
    {
        const std::uint64_t share = step / kPaidShare;
        const std::uint64_t paid = share < kMillisecond ? kMillisecond : std::min(lead_, share);
        step -= paid;
        lead_ -= paid;
    }
    return step;
}

void CTimeStampConverter::GetTime(SYSTEMTIME& time) const
{
    const bool isSet = current_ != 0 && lastTimestamp_ != 0;
    if (!isSet || !platform::ToSystemTime(current_, time))
        platform::ToSystemTime(platform::Clock::UtcTicks(), time);
}

} // namespace korvane
