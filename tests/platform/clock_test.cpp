#include "platform/clock.h"

#include <chrono>
#include <gtest/gtest.h>

#include "support/table.h"

namespace korvane::platform
{

namespace
{

auto Fields(const SYSTEMTIME& t)
{
    return std::make_tuple(t.year, t.month, t.day, t.hour, t.minute, t.second, t.milliseconds, t.dayOfWeek);
}

} // namespace

TEST(Clock, TurnsTicksIntoCalendarTime)
{
    // Seconds since 1970 by date(1), plus the 11,644,473,600 from 1601 on, in ticks; the day of the week too.
    // SYSTEMTIME has year, month, day of week, day, hour, minute, second and milliseconds.
    for (const auto& [ticks, calendar] : test::Table<std::uint64_t, SYSTEMTIME>{
             {0, {1601, 1, 1, 1, 0, 0, 0, 0}},
             {116444736000000000, {1970, 1, 4, 1, 0, 0, 0, 0}},
             {125963012967890000, {2000, 2, 2, 29, 12, 34, 56, 789}},
             {134432351999990000, {2026, 12, 4, 31, 23, 59, 59, 999}},
             {252190368000000000, {2400, 2, 2, 29, 0, 0, 0, 0}},
             {9223149887999990000, {30827, 12, 5, 31, 23, 59, 59, 999}},
         })
    {
        SCOPED_TRACE(ticks);
        SYSTEMTIME fields{};
        ASSERT_TRUE(ToSystemTime(ticks + 9999, fields)); // less than a millisecond is cut off
        EXPECT_EQ(Fields(fields), Fields(calendar));
    }
    SYSTEMTIME fields{1, 1, 1, 1, 1, 1, 1, 1};
    EXPECT_FALSE(ToSystemTime(std::uint64_t{1} << 63, fields));
    EXPECT_EQ(Fields(fields), Fields(SYSTEMTIME{}));
}

} // namespace korvane::platform
