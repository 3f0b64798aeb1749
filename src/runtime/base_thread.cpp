#include "runtime/base_thread.h"

#include "runtime/thread_stop.h"

namespace korvane
{

CBaseThread::CBaseThread(IDebugMessage* debug) : debug_(debug) {}

CBaseThread::~CBaseThread()
{
    CBaseThread::StopThread(2000);
}

std::uint32_t CBaseThread::Entry(void* context)
{
    static_cast<CBaseThread*>(context)->Run();
    return 0;
}

bool CBaseThread::StartThread(const std::string& name)
{
    stopEvent_.Reset();
    if (thread_.Wait(0) == platform::WaitResult::kTimeout)
        return false;
    thread_.Close();
    name_ = name;
    return thread_.Start(&CBaseThread::Entry, this, name_.c_str());
}

CBaseThread::Stop CBaseThread::AskToStop(std::uint32_t timeoutMs)
{
    stopEvent_.Set();
    if (!thread_.HasHandle())
        return Stop::kDone;
    if (thread_.Id() == platform::Thread::CurrentId())
        return Stop::kByItself;
    if (!EndThread(thread_, timeoutMs, [this] { OnStopRequested(); }))
        return Stop::kTimeout;
    thread_.Close();
    return Stop::kDone;
}

bool CBaseThread::JoinThread(std::uint32_t timeoutMs)
{
    const Stop stop = AskToStop(timeoutMs);
    if (stop != Stop::kTimeout)
        return stop == Stop::kDone;

    constexpr const char* kFunction = "korvane::CBaseThread::JoinThread";
    const std::uint32_t id = thread_.Id();
    if (debug_ != nullptr)
        debug_->DebugMessage(kLevelWarning,
                             "%s: Thread (id=%u, name=\"%s\") for device %s was not stopped during %lu "
                             "milliseconds",
                             kFunction, id, name_.c_str(), debug_->GetDeviceName().c_str(),
                             static_cast<unsigned long>(timeoutMs));
    EndThread(thread_, kWaitForever, [this] { OnStopRequested(); });
    if (debug_ != nullptr)
        debug_->DebugMessage(kLevelInformation, "%s: Thread (id=%u, name=\"%s\") was stopped correctly",
                             kFunction, id, name_.c_str());
    thread_.Close();
    return true;
}

bool CBaseThread::StopThread(std::uint32_t timeoutMs)
{
    const Stop stop = AskToStop(timeoutMs);
    if (stop != Stop::kTimeout)
        return stop == Stop::kDone;

    if (debug_ != nullptr)
        debug_->DebugMessage(kLevelWarning,
                             "%s: Thread (id=%u, name=\"%s\") for device %s was not stopped during %lu "
                             "milliseconds and will be terminated!",
                             "korvane::CBaseThread::StopThread", thread_.Id(), name_.c_str(),
                             debug_->GetDeviceName().c_str(), static_cast<unsigned long>(timeoutMs));
    thread_.GiveUp();
    thread_.Close();
    return true;
}

} // namespace korvane
