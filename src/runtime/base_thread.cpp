#include "runtime/base_thread.h"

namespace korvane
{

CBaseThread::CBaseThread(IDebugMessage* debug) : debug_(debug) {}

CBaseThread::~CBaseThread()
{
    CBaseThread::StopThread(2000);
}

bool CBaseThread::StartThread(const std::string& name)
{
    stopEvent_.Reset();
    return CSimpleThread::StartThread(name);
}

bool CBaseThread::JoinThread(std::uint32_t timeoutMs)
{
    stopEvent_.Set();
    if (IsOwnThread())
        return false;
    if (!EndsWithin(timeoutMs))
    {
        constexpr const char* kFunction = "korvane::CBaseThread::JoinThread";
        if (debug_ != nullptr)
            debug_->DebugMessage(kLevelWarning,
                                 "%s: Thread (id=%u, name=\"%s\") for device %s was not stopped during %lu "
                                 "milliseconds",
                                 kFunction, thread_.Id(), name_.c_str(), debug_->GetDeviceName().c_str(),
                                 static_cast<unsigned long>(timeoutMs));
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
    if (!EndsWithin(timeoutMs))
    {
        const std::uint32_t id = thread_.Id();
        if (thread_.GiveUp() && debug_ != nullptr) // first: the line may take the host's log its time
            debug_->DebugMessage(kLevelWarning,
                                 "%s: Thread (id=%u, name=\"%s\") for device %s was not stopped during %lu "
                                 "milliseconds and will be terminated!",
                                 "korvane::CBaseThread::StopThread", id, name_.c_str(),
                                 debug_->GetDeviceName().c_str(), static_cast<unsigned long>(timeoutMs));
    }
    thread_.Close();
    return true;
}

} // namespace korvane
