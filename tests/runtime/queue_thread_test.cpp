#include "runtime/queue_thread.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

#include "runtime/output_handler.h"
#include "runtime/work_item_thread_ex.h"
#include "support/thread_watch.h"

namespace korvane
{

namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

constexpr std::uint32_t kPatienceMs = 20000;

// What has become of the items of a test.
class Ledger
{
public:
    void Handle(int number)
    {
        const std::lock_guard guard(mutex_);
        handled_.push_back(number);
    }
    void Delete(int number)
    {
        const std::lock_guard guard(mutex_);
        deleted_.push_back(number);
    }
    std::vector<int> Handled() const
    {
        const std::lock_guard guard(mutex_);
        return handled_;
    }
    std::vector<int> Deleted() const
    {
        const std::lock_guard guard(mutex_);
        return deleted_;
    }

private:
    mutable std::mutex mutex_;
    std::vector<int> handled_;
    std::vector<int> deleted_;
};

// Handling item 0 says so and then holds the thread until it is let go; item 13 throws.
class Handler
{
public:
    void Handle(int number)
    {
        ledger.Handle(number);
        if (number == 0)
        {
            busy.Set();
            go.Wait(kPatienceMs);
        }
        if (number == 13)
            throw std::runtime_error("thirteen");
        if (number == 99)
            last.Set();
    }

    Ledger ledger;
    CEvent busy{false};
    CManualEvent go;
    CEvent last{false};
};

struct Item
{
    Item(Ledger& ledgerOf, int numberOf) : ledger(ledgerOf), number(numberOf) {}
    ~Item() { ledger.Delete(number); }
    Ledger& ledger;
    int number;
};

class TestQueue : public CQueueThread<Item>
{
public:
    explicit TestQueue(Handler& handler) : CQueueThread<Item>(nullptr), handler_(handler) {}
    ~TestQueue() override { StopQueue(kPatienceMs); }
    void HandleItem(Item* item) override { handler_.Handle(item->number); }
    bool Post(int number) { return PostItem(new Item(handler_.ledger, number)); }

private:
    Handler& handler_;
};

class TestWorker : public thread::CWorkItemThreadEx
{
public:
    explicit TestWorker(Handler& handler) : handler_(handler) {}
    ~TestWorker() override { CWorkItemThreadEx::StopWorker(); }

    void ExecuteItem(IWorkItem* item) override { handler_.Handle(static_cast<Work*>(item)->item.number); }
    bool Post(int number, std::size_t maxQueued = 0)
    {
        return PostWorkItem(new Work(handler_.ledger, number), maxQueued);
    }

private:
    struct Work : IWorkItem
    {
        Work(Ledger& ledger, int number) : item(ledger, number) {}
        Item item;
    };

    Handler& handler_;
};

} // namespace

TEST(QueueThread, HandlesInOrderAndGoesOnAfterAnException)
{
    Handler handler;
    TestQueue queue(handler);
    ASSERT_TRUE(queue.StartQueue("queue"));
    handler.go.Set();
    for (const int number : {0, 13, 2, 99})
        EXPECT_TRUE(queue.Post(number));
    EXPECT_TRUE(handler.last.Wait(kPatienceMs));
    EXPECT_TRUE(queue.StopQueue(kPatienceMs));
    EXPECT_THAT(handler.ledger.Handled(), ElementsAre(0, 13, 2, 99));
    EXPECT_THAT(handler.ledger.Deleted(), ElementsAre(0, 13, 2, 99));
}

TEST(QueueThread, AStopDeletesWhatWaitsAndRefusesWhatComes)
{
    Handler handler;
    TestQueue queue(handler);
    for (int run = 0; run < 2; ++run)
    {
        ASSERT_TRUE(queue.StartQueue("queue"));
        for (const int number : {0, 1, 2})
            EXPECT_TRUE(queue.Post(number));
        EXPECT_TRUE(handler.busy.Wait(kPatienceMs));
        queue.StopEvent().Set();
        EXPECT_FALSE(queue.Post(3));
        handler.go.Set();
        EXPECT_TRUE(queue.StopQueue(kPatienceMs));
        handler.go.Reset();
    }
    EXPECT_THAT(handler.ledger.Handled(), ElementsAre(0, 0));
    std::vector<int> deleted = handler.ledger.Deleted();
    EXPECT_EQ(deleted.size(), 8u);
    EXPECT_EQ(std::count(deleted.begin(), deleted.end(), 3), 2);
}

TEST(OutputHandler, HandsBothValuesOn)
{
    struct Target
    {
        void Set(std::uint32_t number, std::uint32_t state)
        {
            calls.emplace_back(number, state);
            called.Set();
        }
        std::vector<std::pair<std::uint32_t, std::uint32_t>> calls;
        CEvent called{false};
    } target;
    TOutputHandler<Target> handler(nullptr, &target, &Target::Set);
    ASSERT_TRUE(handler.StartQueue("outputs"));
    EXPECT_TRUE(handler.PostItem(new COutputState(3, 2)));
    EXPECT_TRUE(target.called.Wait(kPatienceMs));
    EXPECT_TRUE(handler.StopQueue(kPatienceMs));
    EXPECT_THAT(target.calls, ElementsAre(Pair(3u, 2u)));

    TOutputHandler<Target> unbound(nullptr, nullptr, &Target::Set);
    unbound.HandleItem(nullptr);
    COutputState state(1, 1);
    unbound.HandleItem(&state);
}

TEST(WorkItemThreadEx, DropsTheOldestBeyondTheLimit)
{
    const struct
    {
        const char* name;
        std::size_t limit;
        std::vector<int> handled;
    } cases[] = {
        {"no limit", 0, {0, 1, 2, 3, 99}},
        {"one", 1, {0, 99}},
        {"three", 3, {0, 2, 3, 99}},
        {"more than there are", 10, {0, 1, 2, 3, 99}},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        Handler handler;
        TestWorker worker(handler);
        ASSERT_TRUE(worker.StartWorker("worker"));
        EXPECT_TRUE(worker.Post(0));
        ASSERT_TRUE(handler.busy.Wait(kPatienceMs));
        for (const int number : {1, 2, 3})
            EXPECT_TRUE(worker.Post(number));
        EXPECT_TRUE(worker.Post(99, c.limit));
        handler.go.Set();
        EXPECT_TRUE(handler.last.Wait(kPatienceMs));
        EXPECT_TRUE(worker.StopWorker());
        EXPECT_EQ(handler.ledger.Handled(), c.handled);
        EXPECT_EQ(handler.ledger.Deleted().size(), 5u);
    }
}

TEST(WorkItemThreadEx, RunsOnlyBetweenStartAndStop)
{
    Handler handler;
    {
        TestWorker worker(handler);
        EXPECT_FALSE(worker.Post(1));
        EXPECT_FALSE(worker.StopWorker()) << "there was no thread";
        for (int run = 0; run < 2; ++run)
        {
            ASSERT_TRUE(worker.StartWorker("worker"));
            EXPECT_FALSE(worker.StartWorker("twice"));
            EXPECT_TRUE(worker.Post(0));
            EXPECT_TRUE(worker.Post(13));
            ASSERT_TRUE(handler.busy.Wait(kPatienceMs));
            EXPECT_TRUE(worker.Post(2));
            std::thread helper([&] { EXPECT_TRUE(worker.StopWorker()); });
            while (handler.ledger.Deleted().size() < 3 + 4 * static_cast<std::size_t>(run))
                std::this_thread::yield(); // until what waited has gone
            handler.go.Set();
            helper.join();
            handler.go.Reset();
            EXPECT_FALSE(worker.Post(2));
        }
    }
    EXPECT_THAT(handler.ledger.Handled(), ElementsAre(0, 0));
    EXPECT_THAT(handler.ledger.Deleted(), testing::SizeIs(9));
}

} // namespace korvane
