#include "runtime/simple_thread.h"

#include "runtime/thread_stop.h"

namespace korvane::thread
{

std::uint32_t CSimpleThread::Entry(void* context)
{
    static_cast<CSimpleThread*>(context)->Run();
    return 0;
}

bool CSimpleThread::StartThread(const std::string& name)
{
    if (thread_.Wait(0) == platform::WaitResult::kTimeout)
        return false;
    thread_.Close();
    name_ = name;
    return thread_.Start(&CSimpleThread::Entry, this, name_.c_str());
}

bool CSimpleThread::JoinThread()
{
    if (!thread_.HasHandle())
        return false;
    if (thread_.Id() != platform::Thread::CurrentId())
        EndThread(thread_, platform::kInfinite, [this] { OnStopRequested(); });
    thread_.Close();
    return true;
}

} // namespace korvane::thread
