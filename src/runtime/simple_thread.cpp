#include "runtime/simple_thread.h"

#include "runtime/thread_stop.h"

namespace korvane::thread
{

bool CSimpleThread::StartThread(const std::string& name)
{
    if (thread_.Wait(0) == platform::WaitResult::kTimeout)
        return false;
    thread_.Close();
    name_ = name;
    const auto run = [](void* self)
    {
        static_cast<CSimpleThread*>(self)->Run();
        return 0u;
    };
    return thread_.Start(run, this, name_.c_str());
}

bool CSimpleThread::EndsWithin(std::uint32_t timeoutMs)
{
    return !thread_.HasHandle() || EndThread(thread_, timeoutMs, [this] { OnStopRequested(); });
}

bool CSimpleThread::JoinThread()
{
    const bool hadThread = thread_.HasHandle();
    if (!IsOwnThread())
        EndsWithin(platform::kInfinite);
    thread_.Close();
    return hadThread;
}

} // namespace korvane::thread
