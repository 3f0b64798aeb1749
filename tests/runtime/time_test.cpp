#include "runtime/time.h"

#include <gtest/gtest.h>
#include <thread>
#include <vector>

#include "platform/clock.h"
#include "runtime/smart_ptr.h"
#include "runtime/statistics_helper.h"

namespace korvane
{

TEST(Time, TellsWhatHasGoneBySinceTheStamp)
{
    constexpr std::uint64_t kNow = 134432351999990000;
    platform::ManualClock clock(kNow);
    CTime time;
    EXPECT_EQ(time.Get(), kNow);
    clock.AdvanceTicks(29999);
    EXPECT_EQ(time.GetElapsedMs(), 2u) << "cut, not rounded";
    clock.SetUtcTicks(kNow - 1);
    EXPECT_EQ(time.GetElapsedMs(), 0u) << "a stamp in the future";
    EXPECT_EQ(CTime::ElapsedMsSince(kNow - 1), 0u);
    time.Update();
    EXPECT_EQ(time.Get(), kNow - 1);
    // 50 days are more milliseconds than 32 bits hold.
    clock.AdvanceTicks(50 * 86400 * platform::kTicksPerSecond);
    EXPECT_EQ(time.GetElapsedMs(), 25032704u);
    clock.SetUtcTicks(0);
    EXPECT_EQ(time.GetElapsedMs(), 0u) << "the system can't tell";
}

TEST(Time, MayBeRenewedWhileItIsRead)
{
    CTime time;
    const std::uint64_t first = time.Get();
    std::thread writer(
        [&]
        {
            for (int i = 0; i < 2000; ++i)
                time.Update();
        });
    std::uint64_t last = first;
    for (int i = 0; i < 2000; ++i)
    {
        const std::uint64_t now = time.Get();
        EXPECT_GE(now, last);
        last = now;
    }
    writer.join();
}

TEST(StatisticsHelper, HoldsTheSumOfItsWindow)
{
    TStatisticsHelper<std::uint32_t> statistics(1000);
    for (std::uint32_t value = 1; value <= 1001; ++value)
        statistics.Add(value);
    EXPECT_EQ(statistics.Count(), 1000u);
    EXPECT_EQ(statistics.Sum(), 501500.0); // 2 + ... + 1001
    for (int i = 0; i < 5000; ++i)
        statistics.Add(0xFFFFFFFF);
    EXPECT_EQ(statistics.Sum(), 1000 * 4294967295.0);
    statistics.Clear();
    EXPECT_EQ(statistics.Count(), 0u);
    EXPECT_EQ(statistics.Sum(), 0.0);
}

namespace
{

struct Counted
{
    explicit Counted(int& countOf) : count(countOf) { ++count; }
    virtual ~Counted() { --count; }
    int& count;
};

} // namespace

TEST(SmartPtr, DeletesTheObjectOnceWithItsLastOwner)
{
    int count = 0;
    {
        TSmartPtr<Counted> first(new Counted(count));
        TSmartPtr<Counted> second(first);
        TSmartPtr<Counted> third;
        third = second;
        EXPECT_EQ(first.Get(), third.Get());
        first.Release();
        second = TSmartPtr<Counted>();
        EXPECT_EQ(count, 1);
        third = *&third;
        EXPECT_EQ(count, 1);
        TSmartPtr<Counted> fourth(std::move(third));
        EXPECT_FALSE(third);
        fourth.Reset(new Counted(count));
        EXPECT_EQ(count, 1);
        TSmartPtr<Counted> ofEmpty(third);
        EXPECT_FALSE(ofEmpty);
        ofEmpty.Release();
    }
    EXPECT_EQ(count, 0);
}

TEST(SmartPtr, HasRoomFor127Owners)
{
    int count = 0;
    TSmartPtr<Counted> first(new Counted(count));
    std::vector<TSmartPtr<Counted>> owners(126, first);
    EXPECT_TRUE(owners.back());
    TSmartPtr<Counted> tooMany(first);
    EXPECT_FALSE(tooMany);
    owners.pop_back();
    tooMany = first;
    EXPECT_TRUE(tooMany);
    owners.clear();
    first.Release();
    EXPECT_EQ(count, 1);
    tooMany.Release();
    EXPECT_EQ(count, 0);
}

} // namespace korvane
