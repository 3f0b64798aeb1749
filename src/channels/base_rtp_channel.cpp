#include "channels/base_rtp_channel.h"

#include "runtime/text.h"

#include <algorithm>

namespace korvane
{

CBaseRTPChannel::CBaseRTPChannel(std::uint32_t channel, IDriver* driver,
                                 ipcapture::IHostChannelClient* client)
    : CBaseCameraChannel(channel, driver, client),
      deviceAddress_(Utils::ResolveHostAddress(driver->GetDeviceInfo().address)),
      ports_(driver, deviceAddress_, stopEvent_, packetEvent_)
{
}

void CBaseRTPChannel::GetFrameTime(std::uint32_t rtpTime, SYSTEMTIME& time)
{
    converter_.Convert(rtpTime);
    converter_.GetTime(time);
}

std::string CBaseRTPChannel::GetStreamName() const
{
    static constexpr const char* kRoles[] = {"::RecStream", "::LiveStream", "::RemoteStream"};
    const std::uint32_t role = GetSettings().streamRole;
    return driver_->GetDriverName() + (role < std::size(kRoles) ? kRoles[role] : "");
}

void CBaseRTPChannel::OnRTPReceived(const platform::SocketAddress& sender, CRTPPacket& packet)
{
    if (sender.address == deviceAddress_)
        TakePacket(packet);
}

void CBaseRTPChannel::TakePacket(CRTPPacket& packet)
{
    if (IsStopping())
        return; // what was read before the stop must not hold it up, frame by frame, in a slow host
    if (!packetEvent_.Wait(0)) // a look costs less than a set that changes nothing
        packetEvent_.Set();
    ports_.rtcpHandler.OnRTPSequence(packet.SequenceNumber());
    ProcessPacket(packet);
}

bool CBaseRTPChannel::OnMediaFrame(ipcapture::IHostFrame* frame)
{
    frameEvent_.Set();
    if (!SendFrameToHost(frame))
        return false;
    TouchLastFrame();
    SetCameraState(true);
    return true;
}

void CBaseRTPChannel::GetResolution(std::pair<std::uint32_t, std::uint32_t>& resolution)
{
    const ChannelSettings settings = GetSettings();
    resolution = {settings.width, settings.height};
}

bool CBaseRTPChannel::IsStreamAlive()
{
    return GetLastFrameAgeMs() <= SignalLossTimeoutMs();
}

void CBaseRTPChannel::CloseStream(bool keep)
{
    if (!keep)
        ports_.Close();
}

bool CBaseRTPChannel::OpenStream(bool keep)
{
    if (transportSettings_.rtpMode != RtpMode::kUdp || keep)
        return true;
    return ports_.OpenFree(this, portQuietMs_);
}

bool CBaseRTPChannel::OpenMulticastReceiver(const std::string& address, std::uint16_t port)
{
    byeEvent_.Reset();
    return ports_.OpenGroup(this, this, address, port);
}

CSetUp::Needs CBaseRTPChannel::Prepare()
{
    const CSettingsFile settings(*driver_);
    transportSettings_ = settings.ReadTransportSettings(driver_->GetDeviceInfo());
    streamingMode_ = settings.ReadStreamingMode();
    return StreamNeeds(IsMulticast() || transportSettings_.rtpMode == RtpMode::kUdp);
}

std::uint32_t CBaseRTPChannel::Run()
{
    return IsMulticast() ? RunMulticast() : RunUnicast();
}

std::uint32_t CBaseRTPChannel::RunUnicast()
{
    const DEVICE_INFO device = driver_->GetDeviceInfo();
    const std::uint32_t settleMs = std::max(device.networkTimeoutMs, device.signalLossTimeoutMs / 2);
    CEvent* const events[] = {&stopEvent_, &changeEvent_, &setUp_.DueEvent()};
    bool changed = false;
    bool isOpen = false; // only then are there ports to keep
    for (;;)
    {
        std::uint32_t waitMs = 1000;
        if ((GetChannelState() != kChannelRunning || changed) && setUp_.IsDue())
        {
            const bool keep = isOpen && changed;
            isOpen = Reconnect(keep);
            if (isOpen && !AwaitFirstFrame(settleMs))
                waitMs = 10;
            else if (!isOpen && keep)
                SetChannelState(kChannelConnecting);
            changed = false;
        }
        switch (CEvent::WaitForAny(events, 3, waitMs))
        {
        case 0:
            ports_.rtcpHandler.Restart();
            CloseStream(false);
            SetCameraState(false);
            return 0;
        case 1:
            changed = ApplyChange(GetPendingChange());
            setUp_.MakeDue();
            break;
        case 2:
            setUp_.MakeDue();
            break;
        default:
            CheckStream();
        }
    }
}

// False if the time ran out.
bool CBaseRTPChannel::AwaitFirstFrame(std::uint32_t settleMs)
{
    CEvent* const events[] = {&stopEvent_, &frameEvent_};
    const int woken = CEvent::WaitForAny(events, 2, settleMs);
    if (woken == 1)
        SetChannelState(kChannelRunning);
    return woken != -1;
}

void CBaseRTPChannel::CheckStream()
{
    if (IsStreamAlive())
        return;
    SetChannelState(kChannelConnecting);
    if (GetLastFrameAgeMs() > 2 * SignalLossTimeoutMs())
    {
        NotifySignalLost();
        SetCameraState(false);
    }
}

bool CBaseRTPChannel::Reconnect(bool keep)
{
    const bool isOpen = setUp_.Try([this, keep] { return Open(keep); });
    if (!isOpen && !setUp_.IsDue())
        LeaveDevice();
    return isOpen;
}

bool CBaseRTPChannel::Open(bool keep)
{
    ports_.rtcpHandler.Restart();
    CloseStream(keep);
    converter_.Reset();
    if (keep || ConfigureDevice())
    {
        byeEvent_.Reset();
        frameEvent_.Reset();
        if (setUp_.TakeThreads(keep) && OpenStream(keep))
            return true;
    }
    ports_.rtcpHandler.Restart();
    CloseStream(false);
    return false;
}

} // namespace korvane
