#include "platform/event.h"

#include <array>
#include <gtest/gtest.h>
#include <thread>

#include "support/watched.h"

namespace korvane::platform
{

namespace
{

using test::kPatienceMs;

struct AutoEvent : Event
{
    AutoEvent() : Event(false) {}
};

} // namespace

TEST(Event, AWaitForSeveralNamesTheFirstInArrayOrder)
{
    AutoEvent first, third;
    Event second(true);
    Event* const events[] = {&first, &second, &third};

    EXPECT_EQ(Event::WaitForAny(events, 3, 0), -1);
    EXPECT_EQ(Event::WaitForAny(events, 3, 1), -1);
    third.Set();
    second.Set();
    EXPECT_EQ(Event::WaitForAny(events, 3, kInfinite), 1);
    first.Set();
    EXPECT_EQ(Event::WaitForAny(events, 3, kInfinite), 0);
    EXPECT_EQ(Event::WaitForAny(events, 3, 0), 1);
    second.Reset();
    EXPECT_EQ(Event::WaitForAny(events, 3, 0), 2) << "the waits before left it alone";
    EXPECT_EQ(Event::WaitForAny(events, 3, 0), -1);
}

// Three setters, each of which waits for the answer to its set, against three threads that wait for all three
// events: no set may be lost, none may be taken twice, and none may be taken under another's name.
TEST(Event, EverySetIsTakenOnceUnderContention)
{
    constexpr std::size_t kSetters = 3;
    constexpr int kRounds = 2000;
    std::array<AutoEvent, kSetters> events, answers;
    Event stop(true);
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
                    const int index = Event::WaitForAny(waited, kSetters + 1, kPatienceMs);
                    ASSERT_GE(index, 0);
                    if (index == static_cast<int>(kSetters))
                        return;
                    const std::size_t event = (static_cast<std::size_t>(index) + t) % kSetters;
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
                    ASSERT_TRUE(answers[s].Wait(kPatienceMs)) << "a set was lost";
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
        auto event = std::make_unique<Event>(true);
        const std::jthread setter([pointer = event.get()] { pointer->Set(); });
        ASSERT_TRUE(event->Wait(kPatienceMs));
        event.reset();
    }
}

} // namespace korvane::platform
