#include "transport/read_turn.h"

#include <gtest/gtest.h>

namespace korvane
{

TEST(ReadTurn, GoesToTheHelperWhenTheUserIsBusyTwiceInARow)
{
    CReadTurn turn;
    turn.Reset();
    turn.Look();
    EXPECT_TRUE(turn.TryBeginReading());
    turn.Look();
    turn.EndReading();
    turn.Look();
    EXPECT_FALSE(turn.IsHelpers()) << "it read in between";
    turn.Look();
    EXPECT_TRUE(turn.IsHelpers());

    turn.GiveBackIfWanted();
    EXPECT_TRUE(turn.IsHelpers()) << "the user is still busy";
    EXPECT_FALSE(turn.TryBeginReading());
    EXPECT_FALSE(turn.Event().Wait(0));
    turn.GiveBackIfWanted();
    EXPECT_FALSE(turn.IsHelpers());
    EXPECT_TRUE(turn.Event().Wait(0));
    turn.Look();
    EXPECT_TRUE(turn.TryBeginReading());
    turn.EndReading();
    turn.Look();
    EXPECT_TRUE(turn.IsHelpers()) << "what it read was not seen by any look";
}

} // namespace korvane
