#include "ptz/base_ptz_comm.h"

#include "platform/clock.h"
#include "runtime/text.h"

#include <cstdarg>
#include <cstdio>
#include <memory>
#include <new>
#include <utility>

namespace korvane
{

namespace
{

using platform::Clock;

std::int32_t Result(bool queued)
{
    return queued ? ipcapture::kPTZDone : ipcapture::kPTZNotQueued;
}

} // namespace

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

void CBasePTZComm::Close()
{
    if (!opened_)
        return;
    deadlineMs_ = Clock::Milliseconds() + kInHandMs;
    closing_ = true;
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

bool CBasePTZComm::Post(const CWorkItem& item, const char* operation)
{
    auto* const copy = new (std::nothrow) CWorkItem(item);
    if (copy != nullptr && PostWorkItem(copy, GetMaxQueuedCommands()))
        return true;
    driver_->DebugMessage(1, "%s: cannot send message (%d) to thread",
                          (std::string("korvane::CBasePTZComm::") + operation).c_str(),
                          static_cast<int>(item.command));
    return false;
}

std::int32_t CBasePTZComm::StartMove(ipcapture::IIPParams* params, std::uint32_t direction,
                                     std::uint32_t speed)
{
    CWorkItem item;
    item.command = Command::kMove;
    item.params = params;
    item.speed = speed;
    item.a = direction;
    return Result(Post(item, "StartMove"));
}

std::int32_t CBasePTZComm::StartFocus(ipcapture::IIPParams* params, bool near, std::uint32_t speed)
{
    CWorkItem item;
    item.command = Command::kFocus;
    item.subcommand = near ? Subcommand::kFocusNear : Subcommand::kFocusFar;
    item.params = params;
    item.speed = speed;
    return Result(Post(item, "StartFocus"));
}

std::int32_t CBasePTZComm::StartIris(ipcapture::IIPParams* params, bool open, std::uint32_t speed)
{
    CWorkItem item;
    item.command = Command::kIris;
    item.subcommand = open ? Subcommand::kIrisOpen : Subcommand::kIrisClose;
    item.params = params;
    item.speed = speed;
    return Result(Post(item, "StartIris"));
}

std::int32_t CBasePTZComm::Center(ipcapture::IIPParams* params, std::uint32_t x, std::uint32_t y,
                                  std::uint32_t third)
{
    CWorkItem item;
    item.command = Command::kCenter;
    item.params = params;
    item.speed = third;
    item.a = x;
    item.b = y;
    return Result(Post(item, "Center"));
}

std::int32_t CBasePTZComm::AreaZoom(ipcapture::IIPParams* params, std::uint32_t x, std::uint32_t y,
                                    std::uint32_t third, std::uint32_t fourth)
{
    CWorkItem item;
    item.command = Command::kAreaZoom;
    item.params = params;
    item.speed = fourth;
    item.a = x;
    item.b = y;
    item.c = third;
    return Result(Post(item, "AreaZoom"));
}

std::int32_t CBasePTZComm::Unzoom(ipcapture::IIPParams* params, std::uint32_t speed)
{
    CWorkItem item;
    item.command = Command::kUnzoom;
    item.params = params;
    item.speed = speed;
    return Result(Post(item, "Unzoom"));
}

bool CBasePTZComm::PostStop(ipcapture::IIPParams* params, Subcommand subcommand, const char* operation)
{
    CWorkItem item;
    item.command = Command::kStop;
    item.subcommand = subcommand;
    item.params = params;
    return Post(item, operation);
}

bool CBasePTZComm::StopMoving(ipcapture::IIPParams* params)
{
    return PostStop(params, Subcommand::kStopMoving, "StopMoving");
}

bool CBasePTZComm::StopZooming(ipcapture::IIPParams* params)
{
    return PostStop(params, Subcommand::kStopZooming, "StopZooming");
}

bool CBasePTZComm::StopFocusing(ipcapture::IIPParams* params)
{
    return PostStop(params, Subcommand::kStopFocusing, "StopFocusing");
}

bool CBasePTZComm::StopIrisChanging(ipcapture::IIPParams* params)
{
    return PostStop(params, Subcommand::kStopIris, "StopIrisChanging");
}

} // namespace korvane
