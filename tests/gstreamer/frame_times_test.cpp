#include "gstreamer/frame_times.h"

#include <gtest/gtest.h>

namespace larkmoor::gst
{

namespace
{

constexpr std::int64_t kWall = 1'700'000'000'000'000;
constexpr std::int64_t kHour = 3600'000'000;
constexpr std::int64_t kMs = 1000;

GstClockTime Running(std::int64_t ms)
{
    return static_cast<GstClockTime>(ms) * GST_MSECOND;
}

} // namespace

// Each row is one picture: when it arrived, in milliseconds since the beginning, what the wall clock and its
// own time were then, beyond that, and where it belongs.
TEST(FrameTimes, PutsPicturesWhereTheyWereTakenAndNeverBack)
{
    struct Row
    {
        const char* name;
        std::int64_t arrival, wallBeyond, timeBeyond;
        std::int64_t place;
        bool isStep;
    };
    VideoTimes times;
    for (const Row& row : {
             Row{"the first one, taken 20 ms before", 1000, 0, -20 * kMs, 980, false},
             Row{"the second", 1040, 0, -20 * kMs, 1020, false},
             Row{"late, and yet in its place", 1160, 0, -100 * kMs, 1060, false},
             Row{"from a burst, ahead of its arrival", 1161, 0, -61 * kMs, 1100, false},
             Row{"two are missing", 1240, 0, -20 * kMs, 1220, true},
             Row{"the device's clock was put ahead", 1280, 0, kHour, 1280, true},
             Row{"and goes on there", 1320, 0, kHour, 1320, false},
             Row{"it was put back", 1360, 0, -kHour, 1360, true},
             Row{"this machine's clock was put ahead", 1400, kHour, -kHour, 1400, true},
             Row{"its times have followed", 1440, kHour, kHour, 1440, true},
             Row{"the same place a second time", 1441, kHour, kHour - kMs, 1441, true},
         })
    {
        SCOPED_TRACE(row.name);
        const std::int64_t moment = kWall + row.arrival * kMs;
        const VideoTimes::Place place =
            times.Put(moment + row.timeBeyond, moment + row.wallBeyond, Running(row.arrival));
        EXPECT_EQ(place.time / GST_MSECOND, static_cast<GstClockTime>(row.place));
        EXPECT_EQ(place.isStep, row.isStep);
    }
}

TEST(FrameTimes, DoesNotGoBehindAGapThatWasTold)
{
    VideoTimes times;
    times.Put(kWall, kWall, Running(1000));
    times.Skip(Running(3000));
    EXPECT_EQ(times.Put(kWall + 1900 * kMs, kWall + 2000 * kMs, Running(3000)).time, Running(3000));
}

TEST(FrameTimes, PutsSoundItsOwnLengthBeforeItsEnd)
{
    AudioTimes times;
    EXPECT_FALSE(times.Put(kWall, kWall, Running(400), GST_SECOND).time)
        << "it began before the pipeline ran";
    EXPECT_EQ(times.Put(kWall, kWall, Running(1400), GST_SECOND).time, Running(400));
    // 30 ms late, which the network does: followed by a sixteenth
    const AudioTimes::Place late = times.Put(kWall, kWall, Running(2430), GST_SECOND);
    EXPECT_GE(*late.time, Running(1400));
    EXPECT_LE(*late.time, Running(1402));
    EXPECT_FALSE(late.isStep);
    // two seconds are missing
    const AudioTimes::Place missing = times.Put(kWall, kWall, Running(5400), GST_SECOND);
    EXPECT_EQ(missing.time, Running(4400));
    EXPECT_TRUE(missing.isStep);
    // a hold-up, and then what was held up at once: it does not go back, and is soon in its place again
    GstClockTime last = Running(4400);
    for (const std::int64_t arrival : {8400, 8401, 8402, 9400, 10400})
    {
        const AudioTimes::Place place = times.Put(kWall, kWall, Running(arrival), GST_SECOND);
        EXPECT_GT(*place.time, last);
        last = *place.time;
    }
    EXPECT_NEAR(static_cast<double>(last), static_cast<double>(Running(9400)), 100.0 * GST_MSECOND);
}

TEST(FrameTimes, FollowsAClockThatRunsFast)
{
    AudioTimes times;
    // 200 parts in a million for ten minutes: 120 ms, if nobody followed
    GstClockTime end = 0;
    GstClockTime running = 0;
    for (int second = 1; second <= 600; ++second)
    {
        running = static_cast<GstClockTime>(second) * (GST_SECOND - 200 * GST_USECOND) + GST_SECOND;
        end = *times.Put(kWall, kWall, running, GST_SECOND).time + GST_SECOND;
    }
    EXPECT_NEAR(static_cast<double>(end), static_cast<double>(running), 20.0 * GST_MSECOND);
}

} // namespace larkmoor::gst
