#include "runtime/queue_thread.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <mutex>
#include <stdexcept>
#include <vector>

#include "runtime/work_item_thread_ex.h"

namespace korvane
{

namespace
{

using ::testing::ElementsAre;

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

} // namespace korvane
