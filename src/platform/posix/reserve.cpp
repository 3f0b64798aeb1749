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

/// Over all reserves; held for a few calls that don't wait.
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

Reserve::Use::Use(Reserve& reserve) : before_(std::exchange(current, &reserve)) {}

Reserve::Use::Use() : before_(std::exchange(current, nullptr)) {}

Reserve::Use::~Use()
{
    current = before_;
}

void Reserve::Begin()
{
    const std::lock_guard guard(Mutex());
    isSettingUp_ = true;
    missing_ = Shortage::kNone;
}

bool Reserve::TakeDescriptors(std::uint32_t count)
{
    const std::lock_guard guard(Mutex());
    if (Hold(count - std::min(count, open_)))
        return true;
    missing_ = ShortageOf(errno);
    return false;
}

bool Reserve::Hold(std::size_t count)
{
    const std::size_t before = held_;
    for (; held_ < std::min(count, kMostDescriptors); ++held_)
    {
        const int place = eventfd(0, EFD_CLOEXEC);
        if (place < 0)
        {
            LetGo(before);
            return false;
        }
        descriptors_[held_] = place;
    }
    return true;
}

void Reserve::LetGo(std::size_t left)
{
    const int error = errno;
    while (held_ > left)
        close(descriptors_[--held_]);
    errno = error;
}

bool Reserve::TakeThreads(std::uint32_t count)
{
    const Use use(*this);
    const std::size_t before = threads_.size();
    threads_.reserve(count);
    while (threads_.size() < count)
    {
        std::shared_ptr<ThreadState> thread = ThreadState::Launch();
        if (thread == nullptr)
        {
            for (; threads_.size() > before; threads_.pop_back())
                threads_.back()->Dismiss();
            return false;
        }
        threads_.push_back(std::move(thread));
    }
    return true;
}

void Reserve::GiveBack(bool isAllClosed)
{
    std::vector<std::shared_ptr<ThreadState>> threads;
    {
        const std::lock_guard guard(Mutex());
        isSettingUp_ = false;
        open_ = isAllClosed ? 0 : open_;
        LetGo(0);
        threads.swap(threads_);
    }
    for (const auto& thread : threads)
        thread->Dismiss();
}

Shortage Reserve::Missing() const
{
    const std::lock_guard guard(Mutex());
    return missing_;
}

void Reserve::Note(Shortage shortage)
{
    const std::lock_guard guard(Mutex());
    if (current != nullptr && current->missing_ == Shortage::kNone)
        current->missing_ = shortage;
}

Shortage Reserve::Noted()
{
    return current == nullptr ? Shortage::kNone : current->Missing();
}

Reserve::Opening::Opening(std::uint32_t count) : count_(count)
{
    Mutex().lock();
    if (current != nullptr)
        current->LetGo(current->held_ - std::min<std::size_t>(current->held_, count));
}

Reserve::Opening::~Opening()
{
    Mutex().unlock();
}

int Reserve::Opening::Checked(int result) const
{
    if (current == nullptr)
        return result;
    if (result >= 0)
        current->open_ += count_;
    else if (current->missing_ == Shortage::kNone)
        current->missing_ = ShortageOf(errno);
    return result;
}

void Reserve::DescriptorsClosed(std::uint32_t count)
{
    const std::lock_guard guard(Mutex());
    if (current == nullptr)
        return;
    current->open_ -= std::min(current->open_, count);
    if (current->isSettingUp_)
        current->Hold(current->held_ + count);
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
