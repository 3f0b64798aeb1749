#include "ptz/base_ptz_comm.h"

#include "platform/clock.h"
#include "runtime/text.h"

#include <cstdarg>
#include <new>
#include <utility>

namespace korvane
{

using platform::Clock;

CBasePTZComm::CBasePTZComm(std::uint16_t channel, IDriver* driver) : channel_(channel), driver_(driver) {}

void CBasePTZComm::DebugMessage(std::int32_t level, const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    const std::string text = Utils::FormatStringList(format, arguments);
    va_end(arguments);
    driver_->DebugMessage(level, "%s", text.c_str());
}

bool CBasePTZComm::Open()
{
    if (opened_)
        return true;
    closing_ = stopsBegun_ = false;
    opened_ = StartWorker(Utils::FormatString("BaseIPPTZThread_Ch%u", channel_ + 1));
    if (!opened_)
        driver_->DebugMessage(1, "%s: unable to start thread for PTZ channel %u",
                              "korvane::CBasePTZComm::Open", channel_ + 1);
    return opened_;
}

void CBasePTZComm::BeginClose()
{
    if (!opened_ || closing_)
        return;
    deadlineMs_ = Clock::Milliseconds() + kInHandMs;
    closing_ = true;
    StopEvent().Set();
}

void CBasePTZComm::Close()
{
    if (!opened_)
        return;
    BeginClose();
    StopWorker();
    opened_ = false;
}

void CBasePTZComm::OnStopRequested()
{
    const CLockGuard guard(deadlineLock_); // the stops that get a new deadline begin after this
    if (closing_ && IsLate())
        EndRequest();
}

bool CBasePTZComm::IsLate() const
{
    return static_cast<std::int32_t>(Clock::Milliseconds() - deadlineMs_) >= 0;
}

bool CBasePTZComm::OutlivesStop(const IWorkItem& item) const
{
    return static_cast<const CWorkItem&>(item).command == Command::kStop;
}

bool CBasePTZComm::MayExecute(const CWorkItem& item)
{
    if (!closing_)
        return true;
    if (!OutlivesStop(item))
        return false;
    const CLockGuard guard(deadlineLock_);
    if (!std::exchange(stopsBegun_, true))
        deadlineMs_ = Clock::Milliseconds() + kStopMs;
    return true;
}

std::int32_t CBasePTZComm::Queue(const Operation& operation, ipcapture::IIPParams* params,
                                 const Arguments& arguments)
{
    auto* const item = new (std::nothrow) CWorkItem(operation, params, arguments);
    if (item != nullptr && PostWorkItem(item, GetMaxQueuedCommands()))
        return ipcapture::kPTZDone;
    driver_->DebugMessage(kLevelError, "korvane::CBasePTZComm::%s: cannot send message (%d) to thread",
                          operation.name, static_cast<int>(operation.command));
    return ipcapture::kPTZNotQueued;
}

} // namespace korvane
