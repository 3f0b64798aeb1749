#include "platform/reserve.h"

#include <algorithm>
#include <cerrno>
#include <mutex>
#include <sys/eventfd.h>
#include <unistd.h>
#include <utility>

#include "platform/posix/thread_state.h"

namespace korvane::platform
{

namespace
{

[[gnu::tls_model("initial-exec")]] thread_local Reserve* current = nullptr; // as in thread.cpp

/// Over all reserves; held for a few calls that don't wait. A descriptor that one of them lets go of is open
/// for another purpose before anyone else gets in.
std::mutex& Mutex()
{
    static std::mutex mutex;
    return mutex;
}

Shortage ShortageOf(int error)
{
    if (error == EMFILE || error == ENFILE)
        return Shortage::kDescriptors;
    return error == ENOBUFS || error == ENOMEM ? Shortage::kMemory : Shortage::kNone;
}

} // namespace

Reserve::Use::Use(Reserve* reserve) : before_(std::exchange(current, reserve)) {}

Reserve::Use::~Use()
{
    current = before_;
}

bool Reserve::Begin(std::uint32_t descriptors)
{
    const std::lock_guard guard(Mutex());
    needed_ = descriptors;
    held_.reserve(descriptors);
    missing_ = Shortage::kNone;
    if (Hold())
        return true;
    missing_ = ShortageOf(errno);
    LetGo(held_.size());
    return false;
}

bool Reserve::Hold()
{
    while (held_.size() + open_ < needed_)
    {
        const int place = eventfd(0, EFD_CLOEXEC);
        if (place < 0)
            return false;
        held_.push_back(place);
    }
    return true;
}

void Reserve::LetGo(std::size_t count)
{
    for (count = std::min(count, held_.size()); count != 0; --count)
    {
        close(held_.back());
        held_.pop_back();
    }
}

bool Reserve::TakeThreads(std::uint32_t count)
{
    threads_.reserve(count);
    while (threads_.size() < count)
    {
        std::shared_ptr<ThreadState> thread = ThreadState::Launch();
        if (thread == nullptr)
            return false;
        threads_.push_back(std::move(thread));
    }
    return true;
}

void Reserve::GiveBack(bool isAllClosed)
{
    std::vector<std::shared_ptr<ThreadState>> threads;
    {
        const std::lock_guard guard(Mutex());
        needed_ = 0;
        open_ = isAllClosed ? 0 : open_;
        LetGo(held_.size());
        threads.swap(threads_);
    }
    for (const auto& thread : threads)
        thread->Dismiss();
}

void Reserve::Note(Shortage shortage)
{
    Shortage none = Shortage::kNone;
    if (current != nullptr)
        current->missing_.compare_exchange_strong(none, shortage);
}

Shortage Reserve::Noted()
{
    return current == nullptr ? Shortage::kNone : current->Missing();
}

int Reserve::OpenDescriptors(std::uint32_t count, const std::function<int()>& open)
{
    const std::lock_guard guard(Mutex());
    if (current == nullptr)
        return open();
    current->LetGo(count);
    const int result = open();
    if (result < 0)
        Note(ShortageOf(errno));
    else
        current->open_ += count;
    return result;
}

void Reserve::DescriptorsClosed(std::uint32_t count)
{
    const std::lock_guard guard(Mutex());
    if (current == nullptr)
        return;
    current->open_ -= std::min(current->open_, count);
    current->Hold();
}

std::shared_ptr<ThreadState> Reserve::TakeThread()
{
    const std::lock_guard guard(Mutex());
    if (current == nullptr || current->threads_.empty())
        return nullptr;
    std::shared_ptr<ThreadState> thread = std::move(current->threads_.back());
    current->threads_.pop_back();
    return thread;
}

} // namespace korvane::platform
