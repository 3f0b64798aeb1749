#include "host/contract/capability_sink.h"

#include <utility>

namespace larkmoor::host
{

QueryEnd CapabilitySink::End() const
{
    const std::lock_guard guard(lock_);
    return end_;
}

bool CapabilitySink::WaitFor(std::chrono::milliseconds time)
{
    std::unique_lock guard(lock_);
    return changed_.wait_for(guard, time, [this] { return end_.kind != QueryEnd::Kind::None; });
}

void CapabilitySink::OnQueryFailed(std::uint32_t code, const char* text)
{
    if (text == nullptr)
        faults_.Add("OnQueryFailed with a null text");
    SetEnd({QueryEnd::Kind::Failed, code, text == nullptr ? "" : text});
}

void CapabilitySink::SetEnd(QueryEnd end)
{
    const std::lock_guard guard(lock_);
    if (end_.kind != QueryEnd::Kind::None)
        faults_.Add("a query ended twice");
    end_ = std::move(end);
    changed_.notify_all();
}

} // namespace larkmoor::host
