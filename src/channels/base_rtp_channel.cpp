#include "channels/base_rtp_channel.h"

#include "runtime/text.h"

#include <algorithm>

namespace korvane
{

CBaseRTPChannel::CBaseRTPChannel(std::uint32_t channel, IDriver* driver,
                                 ipcapture::IHostChannelClient* client)
    : CBaseCameraChannel(channel, driver, client), stream_(driver, setUp_, stopEvent_)
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
    if (stream_.Takes(sender, packet))
        ProcessPacket(packet);
}

bool CBaseRTPChannel::OnMediaFrame(ipcapture::IHostFrame* frame)
{
    stream_.frameEvent.Set();
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

bool CBaseRTPChannel::OpenStream(bool keep)
{
    constexpr std::uint32_t kQuietMs = 1500; // how long a port must be silent before it is taken
    return keep || stream_.OpenPorts(this, kQuietMs);
}

bool CBaseRTPChannel::OpenMulticastReceiver(const std::string& address, std::uint16_t port)
{
    return stream_.OpenGroup(this, this, address, port);
}

std::uint32_t CBaseRTPChannel::Run()
{
    return stream_.IsMulticast() ? RunMulticast() : RunUnicast();
}

std::uint32_t CBaseRTPChannel::RunUnicast()
{
    const DEVICE_INFO device = driver_->GetDeviceInfo();
    const std::uint32_t settleMs = std::max(device.networkTimeoutMs, device.signalLossTimeoutMs / 2);
    CEvent* const events[] = {&stopEvent_, &changeEvent_};
    bool changed = false;
    bool isOpen = false; // only then are there ports to keep
    for (;;)
    {
        std::uint32_t waitMs = 1000;
        if ((GetChannelState() != kChannelRunning || changed) && setUp_.IsDue())
        {
            const bool keep = isOpen && changed;
            isOpen = Reconnect(keep, [this, keep] { return OpenStream(keep); });
            if (isOpen && !AwaitFirstFrame(settleMs))
                waitMs = 10;
            else if (!isOpen && keep)
                SetChannelState(kChannelConnecting);
            changed = false;
        }
        switch (CEvent::WaitForAny(events, 2, waitMs))
        {
        case 0:
            stream_.rtcpHandler.Restart();
            CloseStream(false);
            SetCameraState(false);
            return 0;
        case 1:
            changed = ApplyChange(GetPendingChange());
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
    CEvent* const events[] = {&stopEvent_, &stream_.frameEvent};
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

bool CBaseRTPChannel::Reconnect(bool keep, const std::function<bool()>& open)
{
    const auto close = [this](bool keepPorts)
    {
        if (!stream_.IsMulticast())
            stream_.rtcpHandler.Restart();
        CloseStream(keepPorts);
        converter_.Reset();
    };
    const bool isOpen = stream_.SetUp(
        keep, close, [this] { return ConfigureDevice(); }, open);
    if (setUp_.IsShort())
        LeaveDevice();
    return isOpen;
}

} // namespace korvane
