#include "transport/read_turn.h"

#include <atomic>
#include <thread>
#include <utility>

#include <gtest/gtest.h>

namespace korvane
{

// The three sides as fast as they can: the user hands packets out, the watch takes the socket away whenever
// two of its looks find the same packet, the socket's thread gives it back. What stands for the socket is an
// ordinary number: the thread sanitizer tells when two have it at once, the sum tells when it is lost.
TEST(ReadTurn, IsHandedOverAndStoppedWithoutALoss)
{
    constexpr int kRuns = 200;       // of which every other one is stopped early
    constexpr int kHandOvers = 1000; // of each of the others: 100,000 in all
    CReadTurn turn;
    std::uint64_t socket = 0; // reads so far, by whose turn it is
    std::uint64_t reads = 0;
    for (int run = 0; run < kRuns; ++run)
    {
        turn.Reset();
        std::atomic<bool> stop{false};
        CManualEvent stopped;
        std::uint64_t ownReads = 0;
        std::thread ownThread(
            [&]
            {
                CEvent* const events[] = {&stopped, &turn.Taken()};
                while (!stop)
                {
                    if (!turn.IsTaken())
                    {
                        CEvent::WaitForAny(events, 2, kWaitForever);
                        continue;
                    }
                    ++socket;
                    ++ownReads;
                    turn.GiveBackIfWanted();
                    std::this_thread::yield();
                }
            });
        std::uint64_t userReads = 0;
        int handOvers = 0;
        std::thread user(
            [&]
            {
                CEvent* const events[] = {&stopped, &turn.GivenBack()};
                bool wasTaken = false;
                while (!stop && handOvers < kHandOvers)
                {
                    if (!turn.TryBeginReading())
                    {
                        wasTaken = true;
                        CEvent::WaitForAny(events, 2, kWaitForever); // for good, if nobody gives it back
                        continue;
                    }
                    handOvers += std::exchange(wasTaken, false) ? 1 : 0;
                    ++socket;
                    if (++userReads % 64 == 0)
                        turn.BeginPacket();
                    turn.EndReading();
                    std::this_thread::yield();
                }
            });
        std::thread watch(
            [&]
            {
                while (!stop)
                {
                    turn.Look();
                    std::this_thread::yield();
                }
            });
        if (run % 2 == 0)
            user.join();
        stop = true;
        stopped.Set();
        if (user.joinable())
            user.join();
        ownThread.join();
        watch.join();
        reads += ownReads + userReads;
        EXPECT_TRUE(run % 2 != 0 || handOvers == kHandOvers);
    }
    EXPECT_EQ(socket, reads);
}

} // namespace korvane
