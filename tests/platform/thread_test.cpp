#include "platform/thread.h"

#include <array>
#include <gtest/gtest.h>
#include <thread>

#include "platform/socket.h"
#include "support/table.h"
#include "support/thread_watch.h"
#include "support/watched.h"

namespace korvane::platform
{

namespace
{

using test::kPatienceMs;

std::atomic<int> cameBack{0}; // bodies that ran on after they had been given up

// What a thread works on; freed right after the thread was given up.
struct Work
{
    void (*body)(Work&) = nullptr;
    Event blocked{true};
    std::atomic<bool>* hostIsDone = nullptr; // the host's own, which lives on
    Socket socket;
    std::array<std::uint8_t, 2000> buffer{};
    std::uint64_t counter = 0;
};

std::uint32_t DoTheWork(void* context)
{
    auto* work = static_cast<Work*>(context);
    work->body(*work);
    ++work->counter; // freed memory, if it is reached
    ++cameBack;
    return 1;
}

void StayInTheHost(Work& work)
{
    std::atomic<bool>& hostIsDone = *work.hostIsDone;
    const AwayScope outer;
    const AwayScope inner; // as when the host calls back into a wait
    hostIsDone.wait(false);
}

void RunInCircles(Work& work)
{
    for (;;)
    {
        // The naps are for the thread sanitizer, which holds signals back until a thread calls the system.
        if (++work.counter % 4096 == 0)
            std::this_thread::sleep_for(std::chrono::microseconds(1));
    }
}

void GoAwayAgainAndAgain(Work& work)
{
    for (;;)
    {
        ++work.counter;
        const AwayScope away;
    }
}

} // namespace

TEST(Thread, OneThatWasGivenUpNeverComesBack)
{
    for (const auto& [name, body, sleeps] :
         test::Table<const char*, void (*)(Work&), bool>{
             // Also the time-out must not bring it back.
             {"waits on an event of the object", [](Work& work) { work.blocked.Wait(300); }, true},
             {"reads a socket of the object", [](Work& work) { work.socket.Receive(work.buffer); }, true},
             {"is in a call into the host", &StayInTheHost, true},
             {"never waits at all", &RunInCircles, false},
             {"waits all the time but never long", &GoAwayAgainAndAgain, false},
         })
    {
        SCOPED_TRACE(name);
        static std::atomic<bool> hostIsDone; // the host's: outlives the thread's last look at it
        hostIsDone = false;
        Socket peer;
        auto work = std::make_unique<Work>();
        work->body = body;
        work->hostIsDone = &hostIsDone;
        ASSERT_TRUE(work->socket.OpenDatagram() && work->socket.Bind(0) && peer.OpenDatagram());
        const SocketAddress to = MakeSocketAddress(*ParseIPv4("127.0.0.1"), work->socket.LocalPort());

        Thread thread;
        ASSERT_TRUE(thread.Start(&DoTheWork, work.get(), "given up"));
        const std::uint32_t id = thread.Id();
        ASSERT_TRUE(!sleeps || test::WaitUntilAsleep(id));
        EXPECT_EQ(thread.Wait(0), WaitResult::kTimeout);
        thread.GiveUp();
        const std::uint64_t counted = work->counter;
        EXPECT_EQ(thread.Wait(0), WaitResult::kSignalled);
        thread.Close();

        // All that it waited for comes, and what it worked on is gone.
        const std::uint8_t bytes[100] = {};
        peer.SendTo(to, bytes);
        hostIsDone = true;
        hostIsDone.notify_all();
        EXPECT_EQ(work->counter, counted) << "halted by the time that it is given up";
        work.reset();
        EXPECT_TRUE(test::WaitUntilHalted(id));

        // The same handle serves a new thread.
        ASSERT_TRUE(thread.Start([](void*) { return 7u; }, nullptr, "next"));
        EXPECT_EQ(thread.Wait(kPatienceMs), WaitResult::kSignalled);
        EXPECT_EQ(thread.ExitCode(), 7u);
    }
    EXPECT_EQ(cameBack, 0);
}

TEST(Thread, OneThatWasGivenUpTakesNoSignalFromTheNext)
{
    Event work(false);
    Thread thread;
    ASSERT_TRUE(thread.Start(
        [](void* context)
        {
            static_cast<Event*>(context)->Wait(kInfinite);
            ++cameBack;
            return 0u;
        },
        &work, ""));
    ASSERT_TRUE(test::WaitUntilAsleep(thread.Id()));
    thread.GiveUp();
    work.Set();
    EXPECT_TRUE(work.Wait(0));
    EXPECT_EQ(cameBack, 0);
}

} // namespace korvane::platform
