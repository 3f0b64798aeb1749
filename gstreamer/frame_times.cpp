#include "gstreamer/frame_times.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace larkmoor::gst
{

namespace
{

constexpr unsigned kBelieved = 8;                     // so many strange distances are the new usual one
constexpr GstClockTimeDiff kLatestSound = GST_SECOND; // a piece is handed over at once
constexpr GstClockTimeDiff kFollow = 16;              // the part of a deviation that is corrected at once
constexpr GstClockTimeDiff kFastest = 500;            // and at most this part of a piece

GstClockTimeDiff Age(std::int64_t time, std::int64_t wallNow)
{
    return (wallNow - time) * static_cast<GstClockTimeDiff>(GST_USECOND);
}

} // namespace

bool VideoTimes::Learn(std::int64_t time)
{
    const std::optional<std::int64_t> last = std::exchange(lastTime_, time);
    if (!last)
        return false;
    if (time <= *last)
        return true;
    const auto distance = static_cast<GstClockTime>(time - *last) * GST_USECOND;
    const bool isUsual = interval_ != 0 && distance * 2 <= interval_ * 3 && distance * 2 >= interval_;
    if (isUsual)
        interval_ = (interval_ * 7 + distance) / 8;
    strangers_ = isUsual ? 0 : strangers_ + 1;
    const bool isStep = interval_ != 0 && distance * 2 > interval_ * 3;
    if (interval_ == 0 || strangers_ == kBelieved)
    {
        interval_ = distance;
        strangers_ = 0;
    }
    return isStep;
}

VideoTimes::Place VideoTimes::Put(std::int64_t time, std::int64_t wallNow, GstClockTime running)
{
    bool isStep = Learn(time);
    const auto now = static_cast<GstClockTimeDiff>(running);
    const auto end = static_cast<GstClockTimeDiff>(end_);
    const GstClockTimeDiff own = now - std::clamp(Age(time, wallNow), -G_MAXINT64 / 4, G_MAXINT64 / 4);
    const auto isNear = [now](GstClockTimeDiff place) { return std::llabs(now - place) <= kLargestAge; };
    if (shift_ != 0 && isNear(own) && own >= end)
        shift_ = 0;
    if (!isNear(own + shift_))
    {
        shift_ = std::max(now, end) - own;
        isStep = true;
    }
    const auto place = static_cast<GstClockTime>(std::max({own + shift_, end, GstClockTimeDiff{0}}));
    end_ = place + kLeast;
    return {place, isStep};
}

void VideoTimes::Skip(GstClockTime until)
{
    end_ = std::max(end_, until);
    lastTime_.reset();
}

AudioTimes::Place AudioTimes::Put(std::int64_t time, std::int64_t wallNow, GstClockTime running,
                                  GstClockTime duration)
{
    const GstClockTimeDiff age = std::clamp<GstClockTimeDiff>(Age(time, wallNow), 0, kLatestSound);
    const auto length = static_cast<GstClockTimeDiff>(duration);
    const GstClockTimeDiff own = static_cast<GstClockTimeDiff>(running) - age - length;
    if (!next_ && own < 0)
        return {std::nullopt, true};
    const auto next = static_cast<GstClockTimeDiff>(next_.value_or(0));
    const bool isStep = !next_ || std::llabs(own - next) > kSlip;
    const GstClockTimeDiff follow = std::clamp((own - next) / kFollow, -length / kFastest, length / kFastest);
    const auto begin = static_cast<GstClockTime>(
        std::max(isStep ? own : next + follow, static_cast<GstClockTimeDiff>(least_)));
    least_ = begin + VideoTimes::kLeast;
    next_ = begin + duration;
    return {begin, isStep};
}

void AudioTimes::Skip(GstClockTime until)
{
    least_ = std::max(least_, until);
    next_ = std::max(next_.value_or(0), until);
}

} // namespace larkmoor::gst
