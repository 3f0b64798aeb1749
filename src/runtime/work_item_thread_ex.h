#pragma once

#include <cstddef>
#include <string>

#include "runtime/queue_thread.h"

namespace korvane::thread
{

class IQueuedWork
{
public:
    virtual ~IQueuedWork() = default;
};

/// Executes posted items one by one on a thread of its own, in the order in which they came, with a limit on
/// how many may wait. A class that derives from it stops the worker in its own destructor.
class CWorkItemThreadEx : public CQueueThread<IQueuedWork>
{
public:
    using IWorkItem = IQueuedWork; ///< something to execute; `ExecuteItem` knows its kinds

    CWorkItemThreadEx() : CQueueThread(nullptr) { stopEvent_.Set(); } ///< takes nothing before its start
    ~CWorkItemThreadEx() override                                     ///< stops a running worker
    {
        if (!IsStopping())
            CWorkItemThreadEx::StopWorker();
    }

    virtual void ClearQueue() { DeleteItems(); } ///< see there

    /// Executes one item, on the worker thread; the item is deleted afterwards. Exceptions are dropped.
    virtual void ExecuteItem(IWorkItem* item) = 0;

    virtual bool StartWorker(const std::string& name) { return StartQueue(name); }

    /// Clears the queue, and waits without limit for the item in hand and those that outlive a stop. False if
    /// there was no thread. On the worker itself it does not wait.
    virtual bool StopWorker()
    {
        stopEvent_.Set();
        ClearQueue();
        return CSimpleThread::JoinThread();
    }

    /// As `PostItem`; false also before the worker's start.
    virtual bool PostWorkItem(IWorkItem* item, std::size_t maxQueued) { return PostItem(item, maxQueued); }

private:
    void HandleItem(IWorkItem* item) override { ExecuteItem(item); }
};

} // namespace korvane::thread
