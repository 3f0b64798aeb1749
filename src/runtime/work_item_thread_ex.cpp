#include "runtime/work_item_thread_ex.h"

#include <cstdint>
#include <iterator>
#include <utility>

namespace korvane::thread
{

namespace
{

constexpr std::uint32_t kWaitMs = 1000; // bounds how long a cleared running flag goes unseen

} // namespace

CWorkItemThreadEx::~CWorkItemThreadEx()
{
    if (running_)
        CWorkItemThreadEx::StopWorker();
}

bool CWorkItemThreadEx::StartWorker(const std::string& name)
{
    running_ = true;
    return StartThread(name);
}

bool CWorkItemThreadEx::StopWorker()
{
    {
        const CLockGuard guard(lock_); // what comes from here on is refused
        running_ = false;
    }
    ClearQueue();
    workEvent_.Set();
    return JoinThread();
}

bool CWorkItemThreadEx::PostWorkItem(IWorkItem* item, std::size_t maxQueued)
{
    std::unique_ptr<IWorkItem> owner(item);
    std::list<std::unique_ptr<IWorkItem>> dropped; // deleted without the lock
    {
        const CLockGuard guard(lock_);
        if (!running_)
            return false;
        while (maxQueued != 0 && queue_.size() > maxQueued - 1)
            dropped.splice(dropped.end(), queue_, queue_.begin());
        queue_.push_back(std::move(owner));
    }
    workEvent_.Set();
    return true;
}

void CWorkItemThreadEx::ClearQueue()
{
    std::list<std::unique_ptr<IWorkItem>> dropped; // deleted without the lock
    const CLockGuard guard(lock_);
    for (auto item = queue_.begin(); item != queue_.end();)
    {
        const auto next = std::next(item);
        if (!OutlivesStop(**item))
            dropped.splice(dropped.end(), queue_, item);
        item = next;
    }
}

std::unique_ptr<CWorkItemThreadEx::IWorkItem> CWorkItemThreadEx::TakeItem()
{
    const CLockGuard guard(lock_);
    if (queue_.empty())
        return nullptr;
    std::unique_ptr<IWorkItem> item = std::move(queue_.front());
    queue_.pop_front();
    return item;
}

void CWorkItemThreadEx::Run()
{
    for (bool last = false; !last;)
    {
        last = !running_; // then the queue holds only what outlives the stop
        if (!last)
            workEvent_.Wait(kWaitMs);
        while (const std::unique_ptr<IWorkItem> item = TakeItem())
        {
            try
            {
                ExecuteItem(item.get());
            }
            catch (...)
            {
                // one item that fails is no reason to lose those behind it
            }
        }
    }
}

} // namespace korvane::thread
