#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <string>

#include "runtime/base_thread.h"
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
            try
            {
                if (!IsStopping() || OutlivesStop(*item))
                    HandleItem(item.get());
            }
            catch (...)
            {
                // one item that fails is no reason to lose those behind it
            }
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

} // namespace korvane
