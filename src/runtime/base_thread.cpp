#include "runtime/base_thread.h"

namespace korvane
{

namespace thread
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
        EndsWithin(kWaitForever);
    thread_.Close();
    return hadThread;
}

} // namespace thread

bool CBaseThread::StartThread(const std::string& name)
{
    stopEvent_.Reset();
    return CSimpleThread::StartThread(name);
}

void CBaseThread::TellNotStopped(const char* function, std::uint32_t timeoutMs, const char* end) const
{
    if (debug_ != nullptr)
        debug_->DebugMessage(
            kLevelWarning,
            "%s: Thread (id=%u, name=\"%s\") for device %s was not stopped during %lu milliseconds%s",
            function, thread_.Id(), name_.c_str(), debug_->GetDeviceName().c_str(),
            static_cast<unsigned long>(timeoutMs), end);
}

bool CBaseThread::JoinThread(std::uint32_t timeoutMs)
{
    stopEvent_.Set();
    if (IsOwnThread())
        return false;
    if (!EndsWithin(timeoutMs))
    {
        constexpr const char* kFunction = "korvane::CBaseThread::JoinThread";
        TellNotStopped(kFunction, timeoutMs, "");
        EndsWithin(kWaitForever);
        if (debug_ != nullptr)
            debug_->DebugMessage(kLevelInformation, "%s: Thread (id=%u, name=\"%s\") was stopped correctly",
                                 kFunction, thread_.Id(), name_.c_str());
    }
    thread_.Close();
    return true;
}

bool CBaseThread::StopThread(std::uint32_t timeoutMs)
{
    stopEvent_.Set();
    if (IsOwnThread())
        return false;
    if (!EndsWithin(timeoutMs) && thread_.GiveUp()) // first: the line may take the host's log its time
        TellNotStopped("korvane::CBaseThread::StopThread", timeoutMs, " and will be terminated!");
    thread_.Close();
    return true;
}

} // namespace korvane
