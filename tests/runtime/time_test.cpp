#include "runtime/time.h"

#include <gtest/gtest.h>

#include "platform/clock.h"

namespace korvane
{

TEST(Time, TellsWhatHasGoneBySinceTheStamp)
{
    constexpr std::uint64_t kNow = 134432351999990000;
    platform::ManualClock clock(kNow);
    CTime time;
    const std::uint64_t stamp = time.Get();
    clock.AdvanceTicks(29999);
    EXPECT_EQ(time.GetElapsedMs(), 2u) << "cut, not rounded";
    clock.SetUtcTicks(kNow - 3600 * platform::kTicksPerSecond);
    EXPECT_EQ(time.GetElapsedMs(), 2u) << "the system's clock was set";
    EXPECT_EQ(CTime::ElapsedMsSince(stamp + 30'000), 0u) << "a stamp in the future";
    time.Update();
    EXPECT_EQ(time.Get(), stamp + 29'999);
    // 50 days are more milliseconds than 32 bits hold.
    clock.AdvanceTicks(50 * 86400 * platform::kTicksPerSecond);
    EXPECT_EQ(time.GetElapsedMs(), 25032704u);
}

} // namespace korvane
