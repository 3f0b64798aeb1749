#include "channels/base_camera_channel.h"

#include "runtime/base_thread.h"
#include "runtime/text.h"

#include <string>

namespace korvane
{

namespace
{

constexpr std::uint32_t kExitFailed = 0x123456; // of a thread that had nothing to run, or could not go on

} // namespace

CBaseCameraChannel::CBaseCameraChannel(std::uint32_t channel, IDriver* driver,
                                       ipcapture::IHostChannelClient* client)
    : channel_(channel), driver_(driver), setUp_(driver), gate_(client)
{
}

bool CBaseCameraChannel::Start(const ChannelSettings& settings)
{
    Stop();
    {
        const CLockGuard guard(changeLock_);
        settings_ = settings;
    }
    socketLibrary_.Start(); // without it no connection comes about, and the channel goes on trying
    stopEvent_.Reset();
    if (setUp_.StartThread([this] { return Prepare(); },
                           [this] { return thread_.Start(&CBaseCameraChannel::Entry, this, "Channel"); }))
        return true;
    socketLibrary_.Stop();
    return false;
}

bool CBaseCameraChannel::Stop()
{
    if (gate_.IsInside())
        return StopFromInside();
    stopEvent_.Set();
    bool isGivenUp = false;
    if (thread_.HasHandle())
    {
        const std::uint32_t limitMs = 2 * driver_->GetDeviceInfo().networkTimeoutMs;
        if (!EndThread(thread_, limitMs, [this] { OnStopRequested(); }))
        {
            isGivenUp = true;
            GiveUpThread();
        }
        thread_.Close();
    }
    EndDelivery(isGivenUp);
    setUp_.Close();
    SetChannelState(kChannelStopped);
    SetCameraState(false);
    socketLibrary_.Stop();
    untilThreadEnds_.reset(); // the caller has a hold of its own
    return true;
}

void CBaseCameraChannel::RequestStop()
{
    stopEvent_.Set();
    OnStopRequested();
}

// The caller is a thread of this channel, or one that it waits for.
bool CBaseCameraChannel::StopFromInside()
{
    gate_.Shut();
    untilThreadEnds_ = weak_from_this().lock();
    SetChannelState(kChannelStopped);
    stopEvent_.Set();
    return false;
}

void CBaseCameraChannel::GiveUpThread()
{
    if (thread_.GiveUp())
        driver_->DebugMessage(kLevelDebugTrace, "%s: The thread of %s was given up",
                              "korvane::CBaseCameraChannel::Stop", DeviceText().c_str());
}

std::uint32_t CBaseCameraChannel::Entry(void* context)
{
    if (context == nullptr)
        return kExitFailed;
    auto* const channel = static_cast<CBaseCameraChannel*>(context);
    std::uint32_t exitCode = kExitFailed;
    try
    {
        const CClientGateBase::Inside inside(channel->gate_);
        exitCode = channel->Run();
    }
    catch (...) // nothing of a channel throws but for want of memory
    {
        channel->SetChannelState(kChannelStopped);
        channel->EndDelivery(false);
    }
    const std::shared_ptr<ICameraChannel> last = std::move(channel->untilThreadEnds_);
    return exitCode;
}

bool CBaseCameraChannel::ChangeSettings(const ChannelChange& change)
{
    const CLockGuard guard(changeLock_);
    pendingChange_ = change;
    changeEvent_.Set();
    return true;
}

ChannelSettings CBaseCameraChannel::GetSettings() const
{
    const CLockGuard guard(changeLock_);
    return settings_;
}

std::string CBaseCameraChannel::DeviceText() const
{
    const std::string address = driver_->GetDeviceInfo().address;
    if (driver_->GetChannelCount() > 1)
        return Utils::FormatString("Video-server %s (channel %u)", address.c_str(), channel_);
    return Utils::FormatString("Camera %s", address.c_str());
}

void CBaseCameraChannel::SetCameraState(bool online)
{
    if (online_.exchange(online) == online)
        return;

    static constexpr char kFunction[] = "korvane::CBaseCameraChannel::SetCameraState";
    std::string device = DeviceText();
    const std::uint32_t state = GetChannelState();
    if (online)
        driver_->DebugMessage(kLevelInformation, "%s: %s is online", kFunction, device.c_str());
    else if (state == kChannelStopped)
        driver_->DebugMessage(kLevelInformation, "%s: %s is offline. Channel was stopped", kFunction,
                              device.c_str());
    else if (state == kChannelConnecting)
    {
        device.front() = device.front() == 'V' ? 'v' : 'c';
        driver_->DebugMessage(kLevelError, "%s: Signal was lost for %s", kFunction, device.c_str());
    }
    else
        driver_->DebugMessage(kLevelError, "%s: %s is offline or failed", kFunction, device.c_str());
}

bool CBaseCameraChannel::SendFrameToHost(ipcapture::IHostFrame* frame)
{
    return !IsStopping() && gate_.Ask(false, &ipcapture::IHostChannelClient::DeliverFrame, frame);
}

void CBaseCameraChannel::NotifySignalLost()
{
    gate_.Tell(&ipcapture::IHostChannelClient::SignalLost);
}

std::uint32_t CBaseCameraChannel::GetPendingChange()
{
    const CLockGuard guard(changeLock_);
    std::uint32_t changed = kNothingChanged;
    if (pendingChange_.width != settings_.width || pendingChange_.height != settings_.height)
    {
        settings_.width = pendingChange_.width;
        settings_.height = pendingChange_.height;
        changed |= kResolutionChanged;
    }
    if (FrameRateFromInterval(pendingChange_.frameIntervalMs) !=
        FrameRateFromInterval(settings_.frameIntervalMs))
    {
        settings_.frameIntervalMs = pendingChange_.frameIntervalMs;
        changed |= kRateChanged;
    }
    return changed;
}

} // namespace korvane
