#include "ptz/base_ptz_control.h"

#include <cstring>

#include "runtime/guarded.h"

namespace korvane
{

using namespace ipcapture;

namespace
{

constexpr std::uint32_t kLeaveMs = 1000; // for a caller to come back once its request has been ended

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
    calls_ = std::make_shared<COpenCalls>();
    comm_ = CreateComm();
    if (comm_ == nullptr || !comm_->Open())
    {
        Close();
        return false;
    }
    presets_.Attach(comm_.get(), comm_->PresetCount());
    return true;
}

void CBasePTZControl::BeginClose()
{
    const COneAtATime::Turn turn(closing_);
    if (comm_ == nullptr)
        return;
    calls_->Shut();
    comm_->BeginClose();
}

void CBasePTZControl::Close()
{
    const COneAtATime::Turn turn(closing_);
    if (comm_ == nullptr)
        return;
    calls_->Shut();
    comm_->Close();
    calls_->Wait(CBasePTZComm::kInHandMs + kLeaveMs, [this] { comm_->OnStopRequested(); });
    comm_.reset();
}

// Runs one call of the host, which a close waits for.
template <class Result, class Use>
Result CBasePTZControl::Call(Result failure, Use use)
{
    const std::shared_ptr<COpenCalls> calls = calls_;
    if (!calls->Enter())
        return failure;
    const Result result = comm_ == nullptr ? failure : Guarded(failure, [&] { return use(*comm_); });
    calls->Leave();
    return result;
}

// Queues a command, and notes that `activity` has begun; whatever is queued takes the head off its preset.
std::int32_t CBasePTZControl::Start(bool* activity, const CBasePTZComm::Operation& operation,
                                    const CBasePTZComm::Arguments& arguments)
{
    return Call(kPTZNotQueued,
                [&](CBasePTZComm& comm)
                {
                    const std::int32_t result = comm.Queue(operation, this, arguments);
                    if (result != kPTZDone)
                        return result;
                    presets_.ClearCurrent();
                    if (activity != nullptr)
                        *activity = true;
                    return kPTZDone;
                });
}

std::int32_t CBasePTZControl::IsAvailable()
{
    return Call(kPTZNotQueued, [this](CBasePTZComm& comm) { return comm.IsPTZAvailable(this); });
}

std::int32_t CBasePTZControl::StartMove(std::uint32_t direction, std::uint32_t speed)
{
    if (direction == kPTZNoDirection)
        return Call(kPTZNotQueued, [](CBasePTZComm&) { return kPTZBadArgument; });
    const bool zoom = direction == kPTZZoomIn || direction == kPTZZoomOut;
    return Start(zoom ? &zooming_ : &moving_, CBasePTZComm::kStartMove, {.speed = speed, .a = direction});
}

std::int32_t CBasePTZControl::ZoomIn(std::uint32_t speed)
{
    return Start(&zooming_, CBasePTZComm::kStartMove, {.speed = speed, .a = kPTZZoomIn});
}

std::int32_t CBasePTZControl::ZoomOut(std::uint32_t speed)
{
    return Start(&zooming_, CBasePTZComm::kStartMove, {.speed = speed, .a = kPTZZoomOut});
}

std::int32_t CBasePTZControl::FocusNear(std::uint32_t speed)
{
    return Start(&focusing_, CBasePTZComm::kFocusNear, {.speed = speed});
}

std::int32_t CBasePTZControl::FocusFar(std::uint32_t speed)
{
    return Start(&focusing_, CBasePTZComm::kFocusFar, {.speed = speed});
}

std::int32_t CBasePTZControl::IrisOpen(std::uint32_t speed)
{
    return Start(&irisChanging_, CBasePTZComm::kIrisOpen, {.speed = speed});
}

std::int32_t CBasePTZControl::IrisClose(std::uint32_t speed)
{
    return Start(&irisChanging_, CBasePTZComm::kIrisClose, {.speed = speed});
}

std::int32_t CBasePTZControl::Center(std::uint32_t x, std::uint32_t y, std::uint32_t third)
{
    return Start(nullptr, CBasePTZComm::kCenter, {.speed = third, .a = x, .b = y});
}

std::int32_t CBasePTZControl::AreaZoom(std::uint32_t x, std::uint32_t y, std::uint32_t third,
                                       std::uint32_t fourth)
{
    return Start(nullptr, CBasePTZComm::kAreaZoom, {.speed = fourth, .a = x, .b = y, .c = third});
}

std::int32_t CBasePTZControl::Unzoom(std::uint32_t speed)
{
    return Start(nullptr, CBasePTZComm::kUnzoom, {.speed = speed});
}

bool CBasePTZControl::StopIf(CBasePTZComm& comm, bool& activity, const CBasePTZComm::Operation& stop)
{
    if (!activity)
        return true;
    if (Guarded(kPTZNotQueued, [&] { return comm.Queue(stop, this, {}); }) != kPTZDone)
        return false;
    activity = false;
    presets_.ClearCurrent();
    return true;
}

std::int32_t CBasePTZControl::Stop()
{
    return Call(kPTZNotQueued,
                [this](CBasePTZComm& comm)
                {
                    const bool moving = StopIf(comm, moving_, CBasePTZComm::kStopMoving);
                    const bool zooming = StopIf(comm, zooming_, CBasePTZComm::kStopZooming);
                    const bool iris = StopIf(comm, irisChanging_, CBasePTZComm::kStopIris);
                    const bool focusing = StopIf(comm, focusing_, CBasePTZComm::kStopFocusing);
                    return moving && zooming && iris && focusing ? kPTZDone : kPTZNotQueued;
                });
}

std::int32_t CBasePTZControl::GetCapabilities(PTZCapabilityRecord* record)
{
    return Call(kPTZNotQueued,
                [&](CBasePTZComm& comm)
                {
                    if (record == nullptr)
                        return kPTZBadArgument;
                    PTZFlags flags{};
                    comm.GetCapabilityFlags(flags);
                    const std::uint32_t hostWord = record->hostWord;
                    *record = {};
                    record->hostWord = hostWord;
                    for (std::size_t i = 0; i < 5; ++i)
                        record->capabilities0to4[i] = flags[i];
                    for (std::size_t i = 0; i < 3; ++i)
                        record->capabilities5to7[i] = flags[5 + i];
                    record->maximumPresets = presets_.Maximum();
                    record->namedPresets = presets_.GetCount();
                    return kPTZDone;
                });
}

std::uint32_t CBasePTZControl::GetPresetCount()
{
    return Call(0u, [this](CBasePTZComm&) { return presets_.GetCount(); });
}

// What `use` makes of the list of presets, as a result code.
template <class Use>
std::int32_t CBasePTZControl::CallPresets(Use use)
{
    return Call(kPTZPresetFailed, [&](CBasePTZComm&) { return use() ? kPTZDone : kPTZPresetFailed; });
}

std::int32_t CBasePTZControl::GetPresetName(std::uint32_t index, char* buffer, std::uint32_t size)
{
    std::string name;
    const std::int32_t result = CallPresets([&] { return presets_.GetName(index, name); });
    return result == kPTZDone ? CopyName(name, buffer, size) : result;
}

std::int32_t CBasePTZControl::GetCurrentPreset(char* buffer, std::uint32_t size)
{
    std::string name;
    const std::int32_t result = CallPresets([&] { return presets_.GetCurrentName(name); });
    return result == kPTZDone ? CopyName(name, buffer, size) : result;
}

std::int32_t CBasePTZControl::RecallPreset(std::uint32_t speed, const char* name)
{
    return name == nullptr ? kPTZBadArgument
                           : CallPresets([&] { return presets_.RecallPreposition(name, speed); });
}

std::int32_t CBasePTZControl::AddPreset(const char* name)
{
    return name == nullptr
               ? kPTZBadArgument
               : Call(kPTZNotQueued, [&](CBasePTZComm&) { return presets_.AddPreposition(name); });
}

std::int32_t CBasePTZControl::DeletePreset(const char* name)
{
    return name == nullptr ? kPTZBadArgument : CallPresets([&] { return presets_.DeletePreposition(name); });
}

ipcapture::IIPPTZApiEx* CBasePTZHandler::GetPTZControlEx(std::uint32_t channel)
{
    if (channel >= kPTZChannels)
        return nullptr;
    return Guarded<CBasePTZControl*>(nullptr,
                                     [this, channel]() -> CBasePTZControl*
                                     {
                                         const auto found = controls_.find(channel);
                                         if (found != controls_.end())
                                             return found->second.get();
                                         std::unique_ptr<CBasePTZControl> control = CreateControl(channel);
                                         if (control == nullptr || !control->Open())
                                             return nullptr; // not kept, so that the next call tries again
                                         return (controls_[channel] = std::move(control)).get();
                                     });
}

} // namespace korvane
