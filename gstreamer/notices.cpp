#include "gstreamer/notices.h"

#include <utility>

namespace larkmoor::gst
{

namespace
{

constexpr std::uint32_t kWarning = 2;

} // namespace

void Notices::Put(Notice notice)
{
    const std::lock_guard guard(lock_);
    if (waiting_.size() >= kMost)
    {
        lost_ += notice.kind == Notice::Kind::Log ? 1 : 0;
        if (notice.kind == Notice::Kind::Log || waiting_.size() >= 2 * kMost)
            return;
    }
    waiting_.push_back(std::move(notice));
    change_.notify_one();
}

void Notices::WriteMessage(korvane::ipcapture::CDebugInfoIf* message)
{
    if (message != nullptr && message->GetMessage() != nullptr)
        Put({Notice::Kind::Log, message->GetLevel(), 0, message->GetMessage()});
}

std::vector<Notice> Notices::Take(std::chrono::milliseconds patience)
{
    std::unique_lock guard(lock_);
    change_.wait_for(guard, patience, [this] { return !waiting_.empty() || isWoken_; });
    isWoken_ = false;
    if (lost_ != 0)
        waiting_.push_back(
            {Notice::Kind::Log, kWarning, 0, std::to_string(std::exchange(lost_, 0)) + " lines are lost"});
    return std::exchange(waiting_, {});
}

void Notices::Wake()
{
    const std::lock_guard guard(lock_);
    isWoken_ = true;
    change_.notify_one();
}

} // namespace larkmoor::gst
