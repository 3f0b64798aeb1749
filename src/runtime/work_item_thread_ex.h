#pragma once

#include <atomic>
#include <cstddef>
#include <list>
#include <memory>
#include <string>

#include "runtime/event.h"
#include "runtime/recursive_lock.h"
#include "runtime/simple_thread.h"

namespace korvane::thread
{

/// Executes posted items one by one on a thread of its own, in the order in which they came, with a limit on
/// how many may wait. A class that derives from it stops the worker in its own destructor.
class CWorkItemThreadEx : public CSimpleThread
{
public:
    /// Something to execute; `ExecuteItem` knows its kinds.
    class IWorkItem
    {
    public:
        virtual ~IWorkItem() = default;
    };

    void Run() override;
    ~CWorkItemThreadEx() override; ///< stops a running worker

    virtual void ClearQueue(); ///< deletes, unexecuted, all that waits but what outlives a stop

    /// Executes one item, on the worker thread; the item is deleted afterwards. Exceptions are dropped.
    virtual void ExecuteItem(IWorkItem* item) = 0;

    virtual bool StartWorker(const std::string& name);

    /// Clears the queue, and waits without limit for the item in hand and those that outlive a stop. False if
    /// there was no thread. On the worker itself it does not wait.
    virtual bool StopWorker();

    /// Takes `item` over. With a `maxQueued` other than 0, the oldest items are dropped so that at most that
    /// many wait, this one included. False, with the item deleted, while the worker is not running.
    virtual bool PostWorkItem(IWorkItem* item, std::size_t maxQueued);

protected:
    /// Whether an item that waits is executed although the worker stops; none is, here. Comes with the lock
    /// of the queue held.
    virtual bool OutlivesStop(const IWorkItem&) const { return false; }

private:
    std::unique_ptr<IWorkItem> TakeItem();

    CEvent workEvent_{false};
    std::atomic<bool> running_{false};
    CRecursiveLock lock_; // guards the queue
    std::list<std::unique_ptr<IWorkItem>> queue_;
};

} // namespace korvane::thread
