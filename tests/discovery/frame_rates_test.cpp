#include "discovery/frame_rates.h"

#include <gtest/gtest.h>

namespace korvane
{

TEST(FrameRates, AreReadAndFilledUp)
{
    const struct
    {
        const char* name;
        std::vector<std::string> texts;
        std::size_t count;
        bool isNtsc;
        std::vector<std::uint32_t> list;
        FrameRateSet rates;
    } cases[] = {
        {"one for each size", {"15", "15"}, 2, true, {15, 15}, {1, 2, 3, 5, 8, 10, 15}},
        {"filled up on NTSC", {"10"}, 3, true, {10, 30, 30}, {1, 2, 3, 5, 8, 10, 15, 20, 25, 30}},
        {"filled up on PAL", {"12"}, 2, false, {12, 25}, {1, 2, 3, 5, 8, 10, 12, 15, 20, 25}},
        {"more than sizes", {"5", "2"}, 1, false, {5, 2}, {1, 2, 3, 5}},
        {"60 a second", {"60"}, 1, true, {60}, {1, 2, 3, 5, 8, 10, 15, 20, 25, 30, 60}},
        {"no numbers", {"fast", "0", "-3", "", "4x", "7"}, 1, true, {7}, {1, 2, 3, 5, 7}},
        {"nothing at all", {}, 0, true, {}, {}},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        FrameRateSet rates{99};
        EXPECT_EQ(ReadFrameRates(c.texts, c.count, c.isNtsc, rates), c.list);
        EXPECT_EQ(rates, c.rates);
    }
}

} // namespace korvane
