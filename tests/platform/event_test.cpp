#include "platform/event.h"

#include <array>
#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <vector>

#include "support/watched.h"

namespace korvane::platform
{

namespace
{

using test::kPatienceMs;

struct AutoEvent : Event
{
    AutoEvent() : Event(Kind::kAutoReset) {}
};

} // namespace

TEST(Event, AWaitForSeveralNamesTheFirstInArrayOrder)
{
    AutoEvent first, third;
    Event second(Event::Kind::kManualReset);
    Event* const events[] = {&first, &second, &third};

    EXPECT_EQ(Event::WaitForAny(events, 3, 0).result, WaitResult::kTimeout);
    EXPECT_EQ(Event::WaitForAny(events, 3, 1).result, WaitResult::kTimeout);
    third.Set();
    second.Set();
    EXPECT_EQ(Event::WaitForAny(events, 3, kInfinite).index, 1u);
    first.Set();
    EXPECT_EQ(Event::WaitForAny(events, 3, kInfinite).index, 0u);
    EXPECT_EQ(Event::WaitForAny(events, 3, 0).index, 1u);
    second.Reset();
    EXPECT_EQ(Event::WaitForAny(events, 3, 0).index, 2u) << "the waits before left it alone";
    EXPECT_EQ(Event::WaitForAny(events, 3, 0).result, WaitResult::kTimeout);
}

// Three setters, each of which waits for the answer to its set, against three threads that wait for all three
// events: no set may be lost, none may be taken twice, and none may be taken under another's name.
TEST(Event, EverySetIsTakenOnceUnderContention)
{
    constexpr std::size_t kSetters = 3;
    constexpr int kRounds = 2000;
    std::array<AutoEvent, kSetters> events, answers;
    Event stop(Event::Kind::kManualReset);
    std::array<std::atomic<int>, kSetters> taken{};
    int written[kSetters] = {}; // without a lock: an event orders what was written before its set

    std::vector<std::jthread> takers;
    for (std::size_t t = 0; t < 3; ++t)
    {
        takers.emplace_back(
            [&, t]
            {
                // Each in another order, so that the lists are joined in every order too.
                Event* waited[kSetters + 1] = {};
                for (std::size_t i = 0; i < kSetters; ++i)
                    waited[i] = &events[(i + t) % kSetters];
                waited[kSetters] = &stop;
                for (;;)
                {
                    const auto [result, index] = Event::WaitForAny(waited, kSetters + 1, kPatienceMs);
                    ASSERT_EQ(result, WaitResult::kSignalled);
                    if (index == kSetters)
                        return;
                    const std::size_t event = (index + t) % kSetters;
                    EXPECT_EQ(written[event], ++taken[event]);
                    answers[event].Set();
                }
            });
    }
    std::vector<std::jthread> setters;
    for (std::size_t s = 0; s < kSetters; ++s)
    {
        setters.emplace_back(
            [&, s]
            {
                for (int round = 0; round < kRounds; ++round)
                {
                    ++written[s];
                    events[s].Set();
                    ASSERT_EQ(answers[s].Wait(kPatienceMs), WaitResult::kSignalled) << "a set was lost";
                }
            });
    }
    setters.clear(); // joins them
    stop.Set();
    takers.clear();
    for (const auto& count : taken)
        EXPECT_EQ(count, kRounds);
}

TEST(Event, MayBeDestroyedByWhoSawItSet)
{
    for (int round = 0; round < 1000; ++round)
    {
        auto event = std::make_unique<Event>(Event::Kind::kManualReset);
        const std::jthread setter([pointer = event.get()] { pointer->Set(); });
        ASSERT_EQ(event->Wait(kPatienceMs), WaitResult::kSignalled);
        event.reset();
    }
}

} // namespace korvane::platform
