#include "runtime/queue_thread.h"

#include <gmock/gmock.h>

#include "support/table.h"
#include "support/watched.h"

namespace korvane
{

namespace
{

using test::kPatienceMs;
using ::testing::ElementsAre, ::testing::UnorderedElementsAre;

// What has become of the items of a test. Handling item 0 says so and then holds the thread until it is let
// go.
class Handler
{
public:
    void Handle(int number)
    {
        handled.Add(number);
        if (number == 0)
        {
            busy.Set();
            go.Wait(kPatienceMs);
        }
    }

    test::WatchedList<int> handled, deleted;
    CEvent busy{false};
    CManualEvent go;
};

struct Item : thread::CWorkItemThreadEx::IWorkItem
{
    Item(Handler& handlerOf, int numberOf) : handler(handlerOf), number(numberOf) {}
    ~Item() override { handler.deleted.Add(number); }
    Handler& handler;
    const int number;
};

class TestQueue : public CQueueThread<Item>
{
public:
    TestQueue() : CQueueThread<Item>(nullptr) {}
    ~TestQueue() override { StopQueue(kPatienceMs); }
    void HandleItem(Item* item) override { item->handler.Handle(item->number); }
};

class TestWorker : public thread::CWorkItemThreadEx
{
public:
    ~TestWorker() override { CWorkItemThreadEx::StopWorker(); }
    void ExecuteItem(IWorkItem* item) override
    {
        static_cast<Item*>(item)->handler.Handle(static_cast<Item*>(item)->number);
    }
};

} // namespace

TEST(QueueThread, AStopDeletesWhatWaitsAndRefusesWhatComes)
{
    Handler handler;
    TestQueue queue;
    for (int run = 0; run < 2; ++run)
    {
        ASSERT_TRUE(queue.StartQueue("queue"));
        for (const int number : {0, 1, 2})
            EXPECT_TRUE(queue.PostItem(new Item(handler, number)));
        EXPECT_TRUE(handler.busy.Wait(kPatienceMs));
        queue.StopEvent().Set();
        EXPECT_FALSE(queue.PostItem(new Item(handler, 3)));
        handler.go.Set();
        EXPECT_TRUE(queue.StopQueue(kPatienceMs));
        handler.go.Reset();
    }
    EXPECT_THAT(handler.handled.Get(), ElementsAre(0, 0));
    EXPECT_THAT(handler.deleted.Get(), UnorderedElementsAre(0, 1, 2, 3, 0, 1, 2, 3));
}

TEST(WorkItemThreadEx, DropsTheOldestBeyondTheLimit)
{
    for (const auto& [limit, handled] : test::Table<std::size_t, std::vector<int>>{
             {0, {0, 1, 2, 3, 99}}, {1, {0, 99}}, {3, {0, 2, 3, 99}}, {10, {0, 1, 2, 3, 99}}}) // 0: none
    {
        SCOPED_TRACE(limit);
        Handler handler;
        TestWorker worker;
        ASSERT_TRUE(worker.StartWorker("worker"));
        EXPECT_TRUE(worker.PostWorkItem(new Item(handler, 0), 0));
        ASSERT_TRUE(handler.busy.Wait(kPatienceMs));
        for (const int number : {1, 2, 3})
            EXPECT_TRUE(worker.PostWorkItem(new Item(handler, number), 0));
        EXPECT_TRUE(worker.PostWorkItem(new Item(handler, 99), limit));
        handler.go.Set();
        EXPECT_EQ(handler.handled.GetOnce(handled.size()), handled);
        EXPECT_TRUE(worker.StopWorker());
        EXPECT_THAT(handler.deleted.Get(), UnorderedElementsAre(0, 1, 2, 3, 99));
    }
}

} // namespace korvane
