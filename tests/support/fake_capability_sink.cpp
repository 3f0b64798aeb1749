#include "support/fake_capability_sink.h"

namespace korvane::test
{

std::string FakeCapabilitySink::Heard() const
{
    const std::lock_guard guard(mutex_);
    return heard_;
}

std::string FakeCapabilitySink::WaitForEnd()
{
    std::unique_lock guard(mutex_);
    changed_.wait_for(guard, kPatience, [&] { return !heard_.empty(); });
    return heard_;
}

void FakeCapabilitySink::Note(const std::string& text)
{
    if (action_)
        action_();
    const std::lock_guard guard(mutex_);
    heard_ += (heard_.empty() ? "" : "; ") + text;
    changed_.notify_all();
}

} // namespace korvane::test
