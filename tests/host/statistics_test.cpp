#include "host/base/delay_histogram.h"
#include "host/base/gap_detector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace larkmoor::host
{

TEST(DelayHistogram, KeepsQuantilesWithinThreePercent)
{
    std::mt19937_64 dice(7);
    for (const unsigned bits : {4u, 10u, 20u, 39u})
    {
        SCOPED_TRACE(bits);
        DelayHistogram histogram;
        std::vector<std::uint64_t> all;
        for (int i = 0; i < 5000; ++i)
        {
            all.push_back(dice() >> (64 - bits));
            histogram.Add(all.back());
        }
        std::sort(all.begin(), all.end());
        for (const double share : {0.01, 0.5, 0.99, 1.0})
        {
            const auto place = static_cast<std::size_t>(share * 5000) - 1;
            const std::uint64_t found = histogram.Quantile(share);
            EXPECT_GE(found, all[place]) << share;
            EXPECT_LE(static_cast<double>(found), static_cast<double>(all[place]) * 1.032) << share;
        }
    }
}

TEST(DelayHistogram, TakesWhatLiesOutside)
{
    DelayHistogram histogram;
    EXPECT_EQ(histogram.Quantile(0.5), 0u);
    histogram.Add(0);
    EXPECT_EQ(histogram.Quantile(1), 0u);
    histogram.Add(~std::uint64_t{0});
    EXPECT_EQ(histogram.Count(), 2u);
    EXPECT_GE(histogram.Quantile(1), (std::uint64_t{1} << 40) - 1);
}

// Feeds frames `distance` us apart; returns the missing ones that were seen.
std::uint64_t Feed(GapDetector& detector, std::int64_t& time, int frames, std::int64_t distance)
{
    std::uint64_t missing = 0;
    for (int i = 0; i < frames; ++i)
        missing += detector.Add(time += distance);
    return missing;
}

TEST(GapDetector, CountsWhatIsMissingAtTheRateThatWasLearnt)
{
    const std::int64_t kFrame = 40'000;
    const struct
    {
        const char* name;
        std::int64_t distance;
        std::uint64_t missing;
    } cases[] = {{"jitter", kFrame * 3 / 2, 0},
                 {"one frame lost", 2 * kFrame, 1},
                 {"a second lost", 25 * kFrame, 24},
                 {"time stands", 0, 0},
                 {"time goes back", -kFrame, 0}};
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        GapDetector detector;
        std::int64_t time = 1'000'000;
        EXPECT_EQ(Feed(detector, time, 20, kFrame), 0u);
        EXPECT_EQ(detector.Add(time += c.distance), c.missing);
        EXPECT_EQ(Feed(detector, time, 20, kFrame), 0u);
    }
}

TEST(GapDetector, LearnsANewRate)
{
    GapDetector detector;
    std::int64_t time = 0;
    Feed(detector, time, 100, 40'000);
    Feed(detector, time, 40, 200'000); // a camera that slows down in the dark: takes a while to be believed
    EXPECT_EQ(Feed(detector, time, 100, 200'000), 0u);
    detector.Reset();
    EXPECT_EQ(Feed(detector, time, 100, 1'000'000), 0u);
}

} // namespace larkmoor::host
