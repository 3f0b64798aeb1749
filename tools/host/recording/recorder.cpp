#include "host/recording/recorder.h"

#include <exception>
#include <utility>

namespace larkmoor::host
{

Recorder::Recorder(std::vector<IFrameWriter*> writers)
    : writers_(std::move(writers)), thread_([this] { Run(); })
{
}

Recorder::~Recorder()
{
    Finish();
}

bool Recorder::TakeFrame(FrameHold frame)
{
    const std::lock_guard guard(lock_);
    const std::size_t size = frame->Data().size();
    if (ending_ || failure_ || queuedBytes_ + size > kMostBytes)
        return false;
    queuedBytes_ += size;
    queue_.push_back(std::move(frame));
    changed_.notify_one();
    return true;
}

bool Recorder::HasFailed() const
{
    const std::lock_guard guard(lock_);
    return failure_.has_value();
}

std::optional<std::string> Recorder::Finish()
{
    {
        const std::lock_guard guard(lock_);
        ending_ = true;
        changed_.notify_one();
    }
    if (thread_.joinable())
        thread_.join();
    const std::lock_guard guard(lock_);
    return failure_;
}

void Recorder::Run()
{
    RememberFailureOf([this] { WriteAll(); });
    for (IFrameWriter* writer : writers_)
        RememberFailureOf([writer] { writer->Finish(); });

    std::deque<FrameHold> left; // given back when the lock is free again
    const std::lock_guard guard(lock_);
    left.swap(queue_);
}

void Recorder::RememberFailureOf(const std::function<void()>& work)
try
{
    work();
}
catch (const std::exception& error)
{
    const std::lock_guard guard(lock_);
    if (!failure_)
        failure_ = error.what();
}

void Recorder::WriteAll()
{
    std::unique_lock guard(lock_);
    for (;;)
    {
        changed_.wait(guard, [this] { return ending_ || !queue_.empty(); });
        if (queue_.empty())
            return;
        FrameHold frame = std::move(queue_.front());
        queue_.pop_front();
        queuedBytes_ -= frame->Data().size();
        guard.unlock();
        for (IFrameWriter* writer : writers_)
            writer->Write(*frame);
        frame = FrameHold();
        guard.lock();
    }
}

} // namespace larkmoor::host
