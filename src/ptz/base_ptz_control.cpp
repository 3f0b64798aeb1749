#include "ptz/base_ptz_control.h"

#include <cstring>

#include "runtime/guarded.h"

namespace korvane
{

using namespace ipcapture;

namespace
{

// Copies a name with its final zero, if it fits.
std::int32_t CopyName(const std::string& name, char* buffer, std::uint32_t size)
{
    if (buffer == nullptr || name.size() >= size)
        return kPTZBadArgument;
    std::memcpy(buffer, name.c_str(), name.size() + 1);
    return kPTZDone;
}

} // namespace

CBasePTZControl::CBasePTZControl(IDriver* driver, std::uint32_t channel)
    : driver_(driver), channel_(channel), presets_(channel)
{
}

CBasePTZControl::~CBasePTZControl()
{
    CBasePTZControl::Close();
}

bool CBasePTZControl::Open()
{
    comm_ = CreateComm();
    if (comm_ == nullptr || !comm_->Open())
    {
        Close();
        return false;
    }
    presets_.Attach(comm_.get(), comm_->PresetCount());
    return true;
}

void CBasePTZControl::Close()
{
    if (comm_ == nullptr)
        return;
    comm_->Close();
    comm_.reset();
}

// Queues a command, and notes that `activity` has begun; whatever is queued takes the head off its preset.
template <class Queue>
std::int32_t CBasePTZControl::Command(bool* activity, Queue queue)
{
    if (comm_ == nullptr)
        return kPTZNotQueued;
    const std::int32_t result = Guarded(kPTZNotQueued, [&] { return queue(*comm_); });
    if (result != kPTZDone)
        return result;
    presets_.ClearCurrent();
    if (activity != nullptr)
        *activity = true;
    return kPTZDone;
}

std::int32_t CBasePTZControl::IsAvailable()
{
    return comm_ == nullptr ? kPTZNotQueued
                            : Guarded(kPTZNotQueued, [this] { return comm_->IsPTZAvailable(this); });
}

std::int32_t CBasePTZControl::StartMove(std::uint32_t direction, std::uint32_t speed)
{
    if (comm_ == nullptr)
        return kPTZNotQueued;
    if (direction == kPTZNoDirection)
        return kPTZBadArgument;
    const bool zoom = direction == kPTZZoomIn || direction == kPTZZoomOut;
    return Command(zoom ? &zooming_ : &moving_,
                   [&](CBasePTZComm& comm) { return comm.StartMove(this, direction, speed); });
}

std::int32_t CBasePTZControl::ZoomIn(std::uint32_t speed)
{
    return Command(&zooming_, [&](CBasePTZComm& comm) { return comm.StartMove(this, kPTZZoomIn, speed); });
}

std::int32_t CBasePTZControl::ZoomOut(std::uint32_t speed)
{
    return Command(&zooming_, [&](CBasePTZComm& comm) { return comm.StartMove(this, kPTZZoomOut, speed); });
}

std::int32_t CBasePTZControl::FocusNear(std::uint32_t speed)
{
    return Command(&focusing_, [&](CBasePTZComm& comm) { return comm.StartFocus(this, true, speed); });
}

std::int32_t CBasePTZControl::FocusFar(std::uint32_t speed)
{
    return Command(&focusing_, [&](CBasePTZComm& comm) { return comm.StartFocus(this, false, speed); });
}

std::int32_t CBasePTZControl::IrisOpen(std::uint32_t speed)
{
    return Command(&irisChanging_, [&](CBasePTZComm& comm) { return comm.StartIris(this, true, speed); });
}

std::int32_t CBasePTZControl::IrisClose(std::uint32_t speed)
{
    return Command(&irisChanging_, [&](CBasePTZComm& comm) { return comm.StartIris(this, false, speed); });
}

std::int32_t CBasePTZControl::Center(std::uint32_t x, std::uint32_t y, std::uint32_t third)
{
    return Command(nullptr, [&](CBasePTZComm& comm) { return comm.Center(this, x, y, third); });
}

std::int32_t CBasePTZControl::AreaZoom(std::uint32_t x, std::uint32_t y, std::uint32_t third,
                                       std::uint32_t fourth)
{
    return Command(nullptr, [&](CBasePTZComm& comm) { return comm.AreaZoom(this, x, y, third, fourth); });
}

std::int32_t CBasePTZControl::Unzoom(std::uint32_t speed)
{
    return Command(nullptr, [&](CBasePTZComm& comm) { return comm.Unzoom(this, speed); });
}

bool CBasePTZControl::StopIf(bool& activity, StopOperation stop)
{
    if (!activity)
        return true;
    if (!Guarded(false, [&] { return (comm_.get()->*stop)(this); }))
        return false;
    activity = false;
    presets_.ClearCurrent();
    return true;
}

std::int32_t CBasePTZControl::Stop()
{
    if (comm_ == nullptr)
        return kPTZNotQueued;
    const bool moving = StopIf(moving_, &CBasePTZComm::StopMoving);
    const bool zooming = StopIf(zooming_, &CBasePTZComm::StopZooming);
    const bool iris = StopIf(irisChanging_, &CBasePTZComm::StopIrisChanging);
    const bool focusing = StopIf(focusing_, &CBasePTZComm::StopFocusing);
    return moving && zooming && iris && focusing ? kPTZDone : kPTZNotQueued;
}

std::int32_t CBasePTZControl::GetCapabilities(PTZCapabilityRecord* record)
{
    if (comm_ == nullptr)
        return kPTZNotQueued;
    if (record == nullptr)
        return kPTZBadArgument;
    PTZFlags flags{};
    comm_->GetCapabilityFlags(flags);
    const std::uint32_t hostWord = record->hostWord;
    *record = {};
    record->hostWord = hostWord;
    for (std::size_t i = 0; i < 5; ++i)
        record->capabilities0to4[i] = flags[i];
    for (std::size_t i = 0; i < 3; ++i)
        record->capabilities5to7[i] = flags[5 + i];
    record->maximumPresets = presets_.Maximum();
    record->namedPresets = GetPresetCount();
    return kPTZDone;
}

std::uint32_t CBasePTZControl::GetPresetCount()
{
    return presets_.GetCount();
}

std::int32_t CBasePTZControl::GetPresetName(std::uint32_t index, char* buffer, std::uint32_t size)
{
    std::string name;
    return presets_.GetName(index, name) ? CopyName(name, buffer, size) : kPTZPresetFailed;
}

std::int32_t CBasePTZControl::GetCurrentPreset(char* buffer, std::uint32_t size)
{
    std::string name;
    return presets_.GetCurrentName(name) ? CopyName(name, buffer, size) : kPTZPresetFailed;
}

std::int32_t CBasePTZControl::RecallPreset(std::uint32_t speed, const char* name)
{
    if (name == nullptr)
        return kPTZBadArgument;
    return Guarded(kPTZPresetFailed,
                   [&] { return presets_.RecallPreposition(name, speed) ? kPTZDone : kPTZPresetFailed; });
}

std::int32_t CBasePTZControl::AddPreset(const char* name)
{
    return name == nullptr ? kPTZBadArgument
                           : Guarded(kPTZNotQueued, [&] { return presets_.AddPreposition(name); });
}

std::int32_t CBasePTZControl::DeletePreset(const char* name)
{
    if (name == nullptr)
        return kPTZBadArgument;
    return Guarded(kPTZPresetFailed,
                   [&] { return presets_.DeletePreposition(name) ? kPTZDone : kPTZPresetFailed; });
}

} // namespace korvane
