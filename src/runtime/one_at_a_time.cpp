#include "runtime/one_at_a_time.h"

namespace korvane
{

namespace
{

constexpr std::uint32_t kLookMs = 50; // at whether the thread inside was given up, which nobody tells

} // namespace

void COneAtATime::Enter()
{
    while (!TryEnter())
        left_.Wait(kLookMs);
}

bool COneAtATime::TryEnter()
{
    const platform::ThreadMark self = platform::ThreadMark::Current();
    const CLockGuard guard(lock_);
    if (depth_ != 0 && inside_ != self)
    {
        if (!inside_.IsGivenUp())
            return false;
        depth_ = 0;
    }
    if (depth_++ == 0)
        inside_ = self;
    return true;
}

void COneAtATime::Leave()
{
    const CLockGuard guard(lock_);
    if (inside_ != platform::ThreadMark::Current() || --depth_ != 0)
        return;
    inside_ = {};
    left_.Set();
}

} // namespace korvane
