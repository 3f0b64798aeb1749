#include "transport/time_stamp_converter.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <random>
#include <vector>

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
    struct Step
    {
        std::uint64_t clock;
        std::uint32_t timestamp;
        std::int64_t time;
    };
    const struct
    {
        const char* name;
        std::vector<Step> steps;
    } cases[] = {
        {"a tick counts 111 units at first", {{0, 1000, 0}, {0, 4600, 399'600}, {0, 8200, 799'200}}},
        {"never behind the local clock", {{0, 1000, 0}, {400'000, 4600, 400'000}, {400'000, 8200, 800'000}}},
        {"a step of just below a second", {{0, 1, 0}, {0, 90'091, 9'999'990}}},
        {"a step of a second takes the local clock",
         {{0, 1, 0}, {0, 3601, 399'600}, {500'000, 93'692, 500'000}}},
        {"the same timestamp again",
         {{0, 9000, 0}, {0, 9000, 10'000}, {5000, 9000, 20'000}, {90'000, 9000, 95'000}}},
        {"a wrap", {{0, 0xFFFFFFF0, 0}, {0, 100, 10'000}, {0, 3700, 409'600}}},
        {"timestamp 0 starts anew", {{0, 0, 0}, {7, 3600, 7}, {0, 7200, 399'607}}},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        ManualClock clock(kStart);
        CTimeStampConverter converter;
        for (const Step& step : c.steps)
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
    const struct
    {
        int frame;
        std::int64_t lead;
    } expected[] = {{99, 950'400},  {100, 960'000}, {101, 921'000}, {102, 882'000},
                    {110, 570'000}, {125, 0},       {126, 0}};
    ManualClock clock(kStart);
    CTimeStampConverter converter;
    converter.Convert(1);
    int frame = 0;
    for (const auto& e : expected)
    {
        for (; frame < e.frame; ++frame)
        {
            clock.AdvanceTicks(390'000);
            converter.Convert(static_cast<std::uint32_t>(3600 * (frame + 1) + 1));
        }
        EXPECT_EQ(e.lead, Since(converter) - 390'000 * frame) << "frame " << frame;
    }
}

TEST(TimeStampConverter, PaysBackTheLeadOfABurst)
{
    ManualClock clock(kStart);
    CTimeStampConverter converter;
    std::uint32_t timestamp = 1;
    const auto frame = [&](std::uint64_t units)
    {
        clock.AdvanceTicks(units);
        converter.Convert(timestamp += 3600);
        return static_cast<std::int64_t>(converter.Current() - korvane::platform::Clock::UtcTicks());
    };
    for (int i = 0; i < 500; ++i)
        EXPECT_EQ(0, frame(400'000)); // 25 frames a second
    std::int64_t lead = 0;
    for (int i = 0; i < 20; ++i)
        lead = frame(0);
    EXPECT_GT(lead, 7'000'000); // twenty frames of 40 ms, less what was paid back meanwhile
    EXPECT_LT(lead, 8'000'000);

    std::int64_t before = lead;
    int frames = 0;
    while (lead > 0 && frames < 400)
    {
        lead = frame(400'000);
        EXPECT_LT(lead, before);
        EXPECT_LE(before - lead, 55'000); // a tenth of a step, and what the burst did to the mean
        before = lead;
        ++frames;
    }
    EXPECT_GT(frames, 100);
    EXPECT_LT(frames, 400);
}

/// An hour of 25 frames a second: the clock of the camera, and when its frames arrive.
struct Hour
{
    const char* name;
    double ppm;     // by which the camera's clock is fast
    bool disturbed; // jitter, bursts and late frames
};

class SimulatedHour : public testing::TestWithParam<Hour>
{
};

TEST_P(SimulatedHour, NeverStepsBackAndStaysNear)
{
    constexpr int kFrames = 25 * 3600;
    constexpr std::int64_t kInterval = 40 * kMs;
    const Hour& hour = GetParam();
    std::mt19937 dice(20'090'101);
    const auto roll = [&dice](std::int64_t sides)
    { return static_cast<std::int64_t>(dice() % static_cast<std::uint32_t>(sides)); };

    ManualClock clock(kStart);
    CTimeStampConverter converter;
    std::int64_t now = 0;
    std::int64_t heldUntil = 0; // frames before that arrive together then
    std::int64_t last = -1;
    std::int64_t stepBack = 0;
    std::int64_t distance = 0; // of a frame's time from that of its capture
    std::int64_t delay = 0;    // the longest on the way
    std::int64_t sum = 0;
    for (int i = 0; i < kFrames; ++i)
    {
        const std::int64_t captured = i * kInterval;
        std::int64_t arrived = captured + 5 * kMs;
        if (hour.disturbed)
        {
            arrived += roll(30 * kMs);
            if (roll(500) == 0)
                heldUntil = captured + 100 * kMs + roll(900 * kMs); // a burst of up to 25 frames
            if (roll(300) == 0)
                arrived += roll(300 * kMs); // one late frame
        }
        arrived = std::max({arrived, heldUntil, now});
        delay = std::max(delay, arrived - captured);
        clock.AdvanceTicks(static_cast<std::uint64_t>(arrived - now));
        now = arrived;

        const double ticks = i * 3600.0 * (1 + hour.ppm / 1e6);
        converter.Convert(
            static_cast<std::uint32_t>(4'194'967'296u + static_cast<std::uint64_t>(ticks))); // wraps
        const std::int64_t time = Since(converter);
        stepBack = std::max(stepBack, last - time);
        distance = std::max(distance, std::abs(time - captured));
        sum += time - captured;
        last = time;
    }
    std::printf("%-24s largest step back %.1f ms, largest distance %.1f ms, mean %.1f ms\n", hour.name,
                static_cast<double>(stepBack) / kMs, static_cast<double>(distance) / kMs,
                static_cast<double>(sum) / kFrames / kMs);
    EXPECT_LE(stepBack, 0);
    EXPECT_LE(distance, delay + kInterval); // no time is much worse than the network alone makes it
}

INSTANTIATE_TEST_SUITE_P(Clocks, SimulatedHour,
                         testing::Values(Hour{"exact", 0, false}, Hour{"disturbed", 0, true},
                                         Hour{"200 ppm fast", 200, true}, Hour{"200 ppm slow", -200, true}),
                         [](const auto& instance) { return std::to_string(instance.index); });

} // namespace
