#include "camera/fault/dice.h"
#include "camera/fault/fault_plan.h"

#include "support/table.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

using namespace larkmoor::camera;
using korvane::test::Table;
using namespace std::chrono_literals;

namespace
{

class FaultPlanTest : public testing::Test
{
protected:
    bool Add(const char* text)
    {
        std::string error;
        const bool added = plan.Add(text, error);
        EXPECT_EQ(added, error.empty()) << error;
        return added;
    }

    FaultPlan::Clock::time_point now{1000s};
    FaultPlan plan{[this] { return now; }};
};

} // namespace

TEST_F(FaultPlanTest, RefusesWhatItDoesNotKnow)
{
    for (const char* text : {"", "frieze", "freeze=1", "freeze@5x", "freeze@5s+0", "freeze@1e300", "rtp-loss",
                             "rtp-loss=1.1", "rtp-loss=nan", "reset=0", "mjpeg-odd=none", "freeze,,reset"})
        EXPECT_FALSE(Add(text)) << text;
    plan.Begin();
    EXPECT_FALSE(plan.Active("freeze")) << "a list with one bad fault adds none";
}

TEST_F(FaultPlanTest, KeepsToItsWindows)
{
    ASSERT_TRUE(Add("freeze@5s+3s,rtp-loss=0.25@500ms,reboot@1m,auth-refuse"));
    EXPECT_FALSE(plan.Active("auth-refuse")) << "nothing before the camera begins";
    now += 10s;
    plan.Begin();
    const auto begin = now;
    for (const auto& [at, freeze, loss, reboot] : Table<FaultPlan::Clock::duration, bool, bool, bool>{
             {499ms, false, false, false},
             {500ms, false, true, false},
             {4999ms, false, true, false},
             {5s, true, true, false},
             {7999ms, true, true, false},
             {8s, false, true, false},
             {62999ms, false, true, true},
             {63s, false, true, false},
         })
    {
        now = begin + at;
        SCOPED_TRACE(at.count());
        EXPECT_TRUE(plan.Active("auth-refuse"));
        EXPECT_EQ(plan.Active("freeze"), freeze);
        EXPECT_EQ(plan.Number("rtp-loss", -1), loss ? 0.25 : -1);
        EXPECT_EQ(plan.Active("reboot"), reboot);
    }

    ASSERT_TRUE(Add("freeze@1s")) << "counts from now while the camera runs";
    EXPECT_FALSE(plan.Active("freeze"));
    now += 1s;
    EXPECT_TRUE(plan.Active("freeze"));
}

TEST_F(FaultPlanTest, ComesAgainAndAgain)
{
    for (const auto& [fault, at3, at5, at13] :
         Table<const char*, std::uint32_t, std::uint32_t, std::uint32_t>{
             {"reset", 0, 1, 2},          // every 5 s
             {"reset@3s", 1, 1, 1},       // once
             {"reset=5s@3s", 1, 1, 3},    // at 3, 8, 13
             {"reset=2s@3s+3s", 1, 2, 2}, // at 3, 5
         })
    {
        SCOPED_TRACE(fault);
        plan.Remove("reset");
        ASSERT_TRUE(Add(fault));
        plan.Begin();
        const auto begin = now;
        for (const auto& [at, count] : {std::pair(3s, at3), {5s, at5}, {13s, at13}})
        {
            now = begin + at;
            EXPECT_EQ(plan.Occurrences("reset"), count) << at.count();
        }
    }
}

TEST(FaultList, StandsInTheGuideForUsers)
{
    std::ifstream file(std::string(LARKMOOR_SOURCE_DIR) + "/docs/camera.md");
    const std::string guide{std::istreambuf_iterator<char>(file), {}};
    for (const FaultDescription& fault : FaultPlan::All())
        EXPECT_NE(guide.find("`" + std::string(fault.name) + "`"), std::string::npos) << fault.name;
}

TEST(FaultList, NamesTrialsThatTheCameraAccepts)
{
    std::istringstream trials(FaultPlan::Trials());
    std::size_t count = 0;
    for (std::string trial, error; trials >> trial; ++count)
    {
        EXPECT_TRUE(FaultPlan().Add(std::string_view(trial).substr(trial.find(':') + 1), error)) << error;
        EXPECT_EQ(trial.substr(0, trial.find(':') == std::string::npos ? 0 : trial.find(':'))
                      .find_first_not_of("hutcdbspm"),
                  std::string::npos)
            << trial;
    }
    EXPECT_GT(count, FaultPlan::All().size());
}
