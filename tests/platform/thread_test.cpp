#include "platform/thread.h"

#include <array>
#include <atomic>
#include <chrono>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "platform/socket.h"
#include "support/thread_watch.h"

namespace korvane::platform
{

namespace
{

constexpr std::uint32_t kPatienceMs = 20000;

std::atomic<int> cameBack{0}; // bodies that ran on after they had been given up

// What a thread works on; freed right after the thread was given up.
struct Work
{
    Event blocked{Event::Kind::kManualReset};
    std::atomic<bool>* hostIsDone = nullptr; // the host's own, which lives on
    Socket socket;
    std::array<std::uint8_t, 2000> buffer{};
    std::uint64_t counter = 0;

    void ComeBack()
    {
        ++counter; // freed memory, if it is reached
        ++cameBack;
    }
};

std::uint32_t WaitOnOwnEvent(void* context)
{
    auto* work = static_cast<Work*>(context);
    work->blocked.Wait(300); // also the time-out must not bring it back
    work->ComeBack();
    return 1;
}

std::uint32_t ReadOwnSocket(void* context)
{
    auto* work = static_cast<Work*>(context);
    work->socket.Receive(work->buffer);
    work->ComeBack();
    return 1;
}

std::uint32_t StayInTheHost(void* context)
{
    auto* work = static_cast<Work*>(context);
    {
        std::atomic<bool>& hostIsDone = *work->hostIsDone;
        const AwayScope outer;
        const AwayScope inner; // as when the host calls back into a wait
        hostIsDone.wait(false);
    }
    work->ComeBack();
    return 1;
}

std::uint32_t RunInCircles(void* context)
{
    auto* work = static_cast<Work*>(context);
    for (;;)
    {
        // The naps are for the thread sanitizer, which holds signals back until a thread calls the system.
        if (++work->counter % 4096 == 0)
            std::this_thread::sleep_for(std::chrono::microseconds(1));
    }
}

std::uint32_t GoAwayAgainAndAgain(void* context)
{
    auto* work = static_cast<Work*>(context);
    for (;;)
    {
        ++work->counter;
        const AwayScope away;
    }
}

} // namespace

TEST(Thread, OneThatWasGivenUpNeverComesBack)
{
    const struct
    {
        const char* name;
        Thread::Entry body;
        bool sleeps;
    } cases[] = {
        {"waits on an event of the object", &WaitOnOwnEvent, true},
        {"reads a socket of the object into its buffer", &ReadOwnSocket, true},
        {"is in a call into the host", &StayInTheHost, true},
        {"never waits at all", &RunInCircles, false},
        {"waits all the time but never long", &GoAwayAgainAndAgain, false},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        static std::atomic<bool> hostIsDone; // the host's: outlives the thread's last look at it
        hostIsDone = false;
        Socket peer;
        auto work = std::make_unique<Work>();
        work->hostIsDone = &hostIsDone;
        ASSERT_TRUE(work->socket.OpenDatagram() && work->socket.Bind(0) && peer.OpenDatagram());
        const SocketAddress to = MakeSocketAddress(*ParseIPv4("127.0.0.1"), work->socket.LocalPort());

        Thread thread;
        ASSERT_TRUE(thread.Start(c.body, work.get(), "given up"));
        const std::uint32_t id = thread.Id();
        ASSERT_TRUE(!c.sleeps || test::WaitUntilAsleep(id));
        EXPECT_EQ(thread.Wait(0), WaitResult::kTimeout);
        thread.GiveUp();
        EXPECT_EQ(thread.Wait(0), WaitResult::kSignalled);
        thread.Close();

        // All that it waited for comes, and what it worked on is gone.
        const std::uint8_t bytes[100] = {};
        peer.SendTo(to, bytes);
        hostIsDone = true;
        hostIsDone.notify_all();
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
    Event work(Event::Kind::kAutoReset);
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
    EXPECT_EQ(work.Wait(0), WaitResult::kSignalled);
    EXPECT_EQ(cameBack, 0);
}

} // namespace korvane::platform
