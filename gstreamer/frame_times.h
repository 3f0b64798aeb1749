#pragma once

#include <cstdint>
#include <optional>

#include <gst/gst.h>

namespace larkmoor::gst
{

/// Places the pictures of one stream on the pipeline's running time.
///
/// The driver stamps pictures in this machine's wall-clock time, at the device's pace. A picture was taken as
/// long before (or, in a burst, after) its arrival as its time is before the wall clock's. When a clock is
/// set, that can be hours: then the picture counts as taken on its arrival, and those behind it keep to that.
/// What comes out is always later than what came out before. One thread at a time.
class VideoTimes
{
public:
    struct Place
    {
        GstClockTime time;
        bool isStep; ///< pictures are missing in front of it, or a clock was set
    };

    static constexpr GstClockTimeDiff kLargestAge = 2 * GST_SECOND; ///< early or late
    static constexpr GstClockTime kLeast = GST_MSECOND;             ///< between two pictures

    /// `time` and `wallNow` are microseconds since 1970, `running` is the running time at `wallNow`.
    Place Put(std::int64_t time, std::int64_t wallNow, GstClockTime running);

    void Skip(GstClockTime until);                      ///< a gap up to there was told
    GstClockTime Interval() const { return interval_; } ///< between pictures, as learnt; 0 for not yet
    GstClockTime End() const { return end_; }           ///< nothing may come before it

private:
    bool Learn(std::int64_t time);

    std::optional<std::int64_t> lastTime_;
    GstClockTime interval_ = 0;
    unsigned strangers_ = 0; // distances in a row that are far from the usual one
    GstClockTimeDiff shift_ = 0;
    GstClockTime end_ = 0;
};

/// Places pieces of sound on the pipeline's running time. A piece is handed over when its last byte has come,
/// and began its own length before that. Pieces follow each other without a break, as the device's clock made
/// them; that clock is followed slowly. When more than `kSlip` is missing or too much, the next piece goes
/// where its own time wants it, but never before the piece in front. One thread at a time.
class AudioTimes
{
public:
    struct Place
    {
        std::optional<GstClockTime> time; ///< none: it began before the pipeline ran
        bool isStep;
    };

    static constexpr GstClockTimeDiff kSlip = 400 * GST_MSECOND;

    /// As `VideoTimes::Put`; `time` is the end of the piece.
    Place Put(std::int64_t time, std::int64_t wallNow, GstClockTime running, GstClockTime duration);

    void Skip(GstClockTime until);
    GstClockTime End() const { return next_.value_or(0); }

private:
    std::optional<GstClockTime> next_; // where the next piece begins, if nothing is missing
    GstClockTime least_ = 0;           // it can't begin earlier: after a hold-up several come at once
};

} // namespace larkmoor::gst
