#include "parsers/time_stamp_converter.h"

#include "support/table.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <utility>

#include <gtest/gtest.h>

#include "platform/clock.h"

namespace
{

using korvane::CTimeStampConverter;
using korvane::platform::ManualClock;

constexpr std::uint64_t kStart = 133'000'000'000'000'000;
constexpr std::int64_t kMs = 10'000;

std::int64_t Since(const CTimeStampConverter& converter)
{
    return static_cast<std::int64_t>(converter.Current() - kStart);
}

TEST(TimeStampConverter, FollowsTheWrittenSteps)
{
    // Each step: the clock moves by so many units, a frame comes with that timestamp, and has that time.
    struct FrameStep
    {
        std::uint64_t clock;
        std::uint32_t timestamp;
        std::int64_t time;
    };
    for (const auto& [name, steps] : korvane::test::Table<const char*, std::vector<FrameStep>>{
             {"a tick counts 111 units at first", {{0, 1000, 0}, {0, 4600, 399'600}, {0, 8200, 799'200}}},
             {"never behind the local clock",
              {{0, 1000, 0}, {400'000, 4600, 400'000}, {400'000, 8200, 800'000}}},
             {"a step of just below a second", {{0, 1, 0}, {0, 90'091, 9'999'990}}},
             {"a step of a second takes the local clock",
              {{0, 1, 0}, {0, 3601, 399'600}, {500'000, 93'692, 500'000}}},
             {"the same timestamp again",
              {{0, 9000, 0}, {0, 9000, 10'000}, {5000, 9000, 20'000}, {90'000, 9000, 95'000}}},
             {"a wrap", {{0, 0xFFFFFFF0, 0}, {0, 100, 10'000}, {0, 3700, 409'600}}},
             {"timestamp 0 starts anew", {{0, 0, 0}, {7, 3600, 7}, {0, 7200, 399'607}}},
         })
    {
        SCOPED_TRACE(name);
        ManualClock clock(kStart);
        CTimeStampConverter converter;
        for (const FrameStep& step : steps)
        {
            clock.AdvanceTicks(step.clock);
            converter.Convert(step.timestamp);
            EXPECT_EQ(step.time, Since(converter)) << "timestamp " << step.timestamp;
        }
    }
}

TEST(TimeStampConverter, MeasuresTheClockRateAfterAHundredFrames)
{
    // Frames of 40 ms by their timestamps come every 39 ms: the assumed rate runs ahead by 9,600 units each
    // until the hundredth, the measured one stays level and pays back a tenth of each step.
    ManualClock clock(kStart);
    CTimeStampConverter converter;
    converter.Convert(1);
    int frame = 0;
    for (const auto& [last, lead] : korvane::test::Table<int, std::int64_t>{{99, 950'400},
                                                                            {100, 960'000},
                                                                            {101, 921'000},
                                                                            {102, 882'000},
                                                                            {110, 570'000},
                                                                            {125, 0},
                                                                            {126, 0}})
    {
        for (; frame < last; ++frame)
        {
            clock.AdvanceTicks(390'000);
            converter.Convert(static_cast<std::uint32_t>(3600 * (frame + 1) + 1));
        }
        EXPECT_EQ(lead, Since(converter) - 390'000 * frame) << "frame " << frame;
    }
}

TEST(TimeStampConverter, TakesALocalClockThatWasSet)
{
    constexpr std::int64_t kHour = 3'600'000 * kMs;
    for (const std::int64_t by : {-kHour, kHour})
    {
        SCOPED_TRACE(by);
        ManualClock clock(kStart);
        CTimeStampConverter converter;
        std::int64_t distance = 0; // from the local clock
        for (std::uint32_t frame = 0; frame < 400; ++frame)
        {
            clock.AdvanceTicks(400'000);
            if (frame == 200)
                clock.SetUtcTicks(korvane::platform::Clock::UtcTicks() + static_cast<std::uint64_t>(by));
            converter.Convert(3600 * (frame + 1));
            distance = std::max(distance, std::abs(static_cast<std::int64_t>(
                                              converter.Current() - korvane::platform::Clock::UtcTicks())));
        }
        EXPECT_LE(distance, 250 * kMs);
    }
}

TEST(TimeStampConverter, NeverStepsBackInAnHourAndStaysNear)
{
    constexpr std::int64_t kInterval = 40 * kMs;
    for (const double ppm : {0.0, 200.0, -200.0}) // by which the camera's clock is fast
    {
        SCOPED_TRACE(ppm);
        std::mt19937 dice(20'090'101);
        ManualClock clock(kStart);
        CTimeStampConverter converter;
        std::int64_t now = 0;
        std::int64_t last = -1;
        std::int64_t stepBack = 0;
        std::int64_t distance = 0; // of a frame's time from that of its capture
        std::int64_t delay = 0;    // the longest on the way
        for (int i = 0; i < 25 * 3600; ++i)
        {
            // Jitter; now and then a late frame, behind which others come in a burst.
            const std::int64_t captured = i * kInterval;
            const std::int64_t onItsWay = dice() % (dice() % 400 == 0 ? 1000 : 35) * kMs;
            const std::int64_t before = std::exchange(now, std::max(now, captured + onItsWay));
            clock.AdvanceTicks(static_cast<std::uint64_t>(now - before));
            delay = std::max(delay, now - captured);
            const double ticks = i * 3600.0 * (1 + ppm / 1e6);
            converter.Convert(
                static_cast<std::uint32_t>(4'194'967'296u + static_cast<std::uint64_t>(ticks))); // wraps
            const std::int64_t previous = std::exchange(last, Since(converter));
            stepBack = std::max(stepBack, previous - last);
            distance = std::max(distance, std::abs(last - captured));
        }
        EXPECT_LE(stepBack, 0);
        EXPECT_LE(distance, delay + kInterval); // no time is much worse than the network alone makes it
    }
}

} // namespace
