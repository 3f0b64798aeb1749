#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <string>

#include "runtime/base_thread.h"
#include "runtime/recursive_lock.h"

namespace korvane
{

/// Handles posted items on a thread of its own, in the order in which they came. Items are heap objects that
/// the queue owns; no lock is held while one is handled.
template <class T>
class CQueueThread : public CBaseThread
{
public:
    explicit CQueueThread(IDebugMessage* debug) : CBaseThread(debug) {}
    ~CQueueThread() override
    {
        CBaseThread::JoinThread(5000);
        DeleteItems();
    }

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

    /// Takes `item` over. False, with the item deleted, once a stop has been asked for. Any thread.
    bool PostItem(T* item)
    {
        std::unique_ptr<T> owner(item);
        if (IsStopping())
            return false;
        const CLockGuard guard(lock_);
        queue_.push_back(item);
        static_cast<void>(owner.release());
        itemEvent_.Set();
        return true;
    }

    void Run() override
    {
        CEvent* const events[] = {&stopEvent_, &itemEvent_};
        while (!IsStopping())
        {
            if (CEvent::WaitForAny(events, 2, kWaitMs) == 1)
                HandleItems();
        }
    }

private:
    static constexpr std::uint32_t kWaitMs = 1000;

    void HandleItems()
    {
        while (const std::unique_ptr<T> item = TakeItem())
        {
            if (IsStopping())
                return;
            try
            {
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
        std::unique_ptr<T> item(queue_.front());
        queue_.pop_front();
        return item;
    }

    void DeleteItems()
    {
        while (TakeItem() != nullptr)
        {
        }
    }

    CEvent itemEvent_{false};
    CRecursiveLock lock_; // guards the queue
    std::deque<T*> queue_;
};

} // namespace korvane
