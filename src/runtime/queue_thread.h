#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <string>

#include "runtime/base_thread.h"
#include "runtime/guarded.h"
#include "runtime/recursive_lock.h"

namespace korvane
{

/// Handles posted items on a thread of its own, in the order in which they came. Items are heap objects that
/// the queue owns; no lock is held while one is handled or deleted.
template <class T>
class CQueueThread : public CBaseThread
{
public:
    explicit CQueueThread(IDebugMessage* debug) : CBaseThread(debug) {}
    ~CQueueThread() override { CBaseThread::JoinThread(5000); }

    /// Handles one item, on the queue's thread; the item is deleted afterwards. Exceptions are dropped.
    virtual void HandleItem(T* item) = 0;

    virtual bool StartQueue(const std::string& name)
    {
        itemEvent_.Reset();
        return StartThread(name);
    }

    /// Deletes what is queued, unhandled, and waits for the item in hand; see `JoinThread`.
    virtual bool StopQueue(std::uint32_t timeoutMs)
    {
        stopEvent_.Set();
        DeleteItems();
        return JoinThread(timeoutMs);
    }

    /// Takes `item` over. With a `mostQueued` other than 0, the oldest items are dropped so that at most that
    /// many wait, this one included. False, with the item deleted, once a stop has been asked for. Any
    /// thread.
    bool PostItem(T* item, std::size_t mostQueued = 0)
    {
        std::unique_ptr<T> owner(item);
        Items dropped;
        const CLockGuard guard(lock_);
        if (IsStopping())
            return false;
        while (mostQueued != 0 && queue_.size() >= mostQueued)
            dropped.splice(dropped.end(), queue_, queue_.begin());
        queue_.push_back(std::move(owner));
        itemEvent_.Set();
        return true;
    }

    void Run() override
    {
        CEvent* const events[] = {&stopEvent_, &itemEvent_};
        for (bool isLast = false; !isLast;)
        {
            isLast = CEvent::WaitForAny(events, 2, kWaitMs) == 0;
            HandleItems();
        }
    }

protected:
    /// Whether an item that waits is handled although the thread stops; none is, here.
    virtual bool OutlivesStop(const T&) const { return false; }

    /// Deletes, unhandled, all that waits but what outlives a stop.
    void DeleteItems()
    {
        Items dropped;
        const CLockGuard guard(lock_);
        dropped.swap(queue_);
        for (std::unique_ptr<T>& item : dropped)
        {
            if (OutlivesStop(*item))
                queue_.push_back(std::move(item));
        }
    }

private:
    using Items = std::list<std::unique_ptr<T>>; // one on the stack is declared before the lock is taken

    static constexpr std::uint32_t kWaitMs = 1000;

    void HandleItems()
    {
        while (const std::unique_ptr<T> item = TakeItem())
        {
            if (!IsStopping() || OutlivesStop(*item))
                Guarded([&] { HandleItem(item.get()); }); // one that fails is no reason to lose the next
        }
    }

    std::unique_ptr<T> TakeItem()
    {
        const CLockGuard guard(lock_);
        if (queue_.empty())
            return nullptr;
        std::unique_ptr<T> item = std::move(queue_.front());
        queue_.pop_front();
        return item;
    }

    CEvent itemEvent_{false};
    CRecursiveLock lock_; // guards the queue
    Items queue_;
};

/// A request to bring one output into one state.
struct COutputState
{
    std::uint32_t number;
    std::uint32_t state;
};

/// Hands queued output requests to a member of another object, which is not owned and outlives the thread.
template <class T>
class TOutputHandler : public CQueueThread<COutputState>
{
public:
    using Member = void (T::*)(std::uint32_t number, std::uint32_t state);

    TOutputHandler(IDebugMessage* debug, T* object, Member member)
        : CQueueThread<COutputState>(debug), object_(object), member_(member)
    {
    }
    ~TOutputHandler() override { JoinThread(5000); }

    void HandleItem(COutputState* item) override
    {
        if (object_ != nullptr && member_ != nullptr && item != nullptr)
            (object_->*member_)(item->number, item->state);
    }

private:
    T* const object_;
    const Member member_;
};

namespace thread
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

} // namespace thread

} // namespace korvane
