#include "runtime/base_thread.h"

#include <gmock/gmock.h>
#include <thread>

#include "support/fake_driver.h"
#include "support/thread_watch.h"

namespace korvane
{

namespace
{

using ::testing::ElementsAre;

class BodyThread : public CBaseThread
{
public:
    BodyThread(IDebugMessage* debug, std::function<void(BodyThread&)> body)
        : CBaseThread(debug), body_(std::move(body))
    {
    }
    ~BodyThread() override { StopThread(2000); }

    void Run() override
    {
        id = platform::Thread::CurrentId();
        started.Set();
        body_(*this);
    }

    CEvent started{false};
    CManualEvent release;
    std::uint32_t id = 0;

private:
    std::function<void(BodyThread&)> body_;
};

void IgnoreTheStop(BodyThread& thread)
{
    thread.release.Wait(kWaitForever);
}

} // namespace

TEST(BaseThread, AskedByTheThreadItselfItOnlySetsTheEvent)
{
    bool results[] = {true, true};
    BodyThread thread(nullptr,
                      [&](BodyThread& self)
                      {
                          results[0] = self.JoinThread(kWaitForever);
                          results[1] = self.StopThread(kWaitForever);
                          self.StopEvent().Wait(kWaitForever);
                      });
    ASSERT_TRUE(thread.StartThread("self"));
    EXPECT_TRUE(thread.JoinThread(20000));
    EXPECT_FALSE(results[0]);
    EXPECT_FALSE(results[1]);
}

TEST(BaseThread, AJoinWaitsForATardyThreadAndSaysSo)
{
    test::FakeDriver driver;
    BodyThread thread(&driver, &IgnoreTheStop);
    ASSERT_TRUE(thread.StartThread("tardy"));
    ASSERT_TRUE(thread.started.Wait(kWaitForever));
    std::thread helper(
        [&]
        {
            EXPECT_TRUE(driver.WaitForMessage("was not stopped"));
            thread.release.Set();
        });
    EXPECT_TRUE(thread.JoinThread(5));
    helper.join();
    const std::string who = "Thread (id=" + std::to_string(thread.id) + ", name=\"tardy\")";
    EXPECT_THAT(driver.Texts(2),
                ElementsAre("korvane::CBaseThread::JoinThread: " + who +
                            " for device 127.0.0.1:80 was not stopped during 5 milliseconds"));
    EXPECT_THAT(driver.Texts(3),
                ElementsAre("korvane::CBaseThread::JoinThread: " + who + " was stopped correctly"));
}

TEST(BaseThread, AStopGivesADeafThreadUpAndTheObjectStartsAnew)
{
    test::FakeDriver driver;
    auto thread = std::make_unique<BodyThread>(&driver, &IgnoreTheStop);
    ASSERT_TRUE(thread->StartThread("deaf"));
    ASSERT_TRUE(thread->started.Wait(kWaitForever));
    const std::uint32_t first = thread->id;
    ASSERT_TRUE(test::WaitUntilAsleep(first));
    EXPECT_TRUE(thread->StopThread(5));
    EXPECT_THAT(driver.Texts(2),
                ElementsAre("korvane::CBaseThread::StopThread: Thread (id=" + std::to_string(first) +
                            ", name=\"deaf\") for device 127.0.0.1:80 was not stopped during 5 milliseconds"
                            " and will be terminated!"));

    ASSERT_TRUE(thread->StartThread("heard"));
    ASSERT_TRUE(thread->started.Wait(kWaitForever));
    EXPECT_NE(thread->id, first);
    thread->release.Set();
    EXPECT_TRUE(thread->StopThread(20000));
    thread.reset(); // what the first one waits on
    EXPECT_EQ(driver.Messages().size(), 1u);
}

} // namespace korvane
