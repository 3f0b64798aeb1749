#include "host/base/gap_detector.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace larkmoor::host
{

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

} // namespace larkmoor::host
