#include "channels/base_rtp_channel.h"

#include "runtime/text.h"

#include <algorithm>

namespace korvane
{

CBaseRTPChannel::CBaseRTPChannel(std::uint32_t channel, IDriver* driver,
                                 ipcapture::IHostChannelClient* client)
    : CBaseCameraChannel(channel, driver, client),
      deviceAddress_(Utils::ResolveHostAddress(driver->GetDeviceInfo().address)),
      receiver_(driver),
      rtcpHandler_(driver)
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
    packetEvent_.Set();
    rtcpHandler_.OnRTPSequence(packet.SequenceNumber());
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

void CBaseRTPChannel::StopReceivers()
{
    receiver_.Stop();
    rtcpHandler_.Stop();
}

void CBaseRTPChannel::CloseStream(bool keep)
{
    if (!keep)
        StopReceivers();
}

bool CBaseRTPChannel::OpenStream(bool keep)
{
    if (transportSettings_.rtpMode != RtpMode::kUdp || keep)
        return true;
    receiver_.SetUser(this);
    for (std::uint16_t port = kFirstPort; port < kEndPort; port = static_cast<std::uint16_t>(port + 2))
    {
        if (IsStopping())
            return false;
        if (TryPort(port))
            return true;
    }
    return false;
}

// A port on which packets arrive before a session was asked for belongs to a stream that nobody stopped: its
// packets would mix with ours.
bool CBaseRTPChannel::TryPort(std::uint16_t port)
{
    packetEvent_.Reset();
    if (!receiver_.StartUnicast(false, port))
        return false;
    CEvent* const events[] = {&stopEvent_, &packetEvent_};
    if (CEvent::WaitForAny(events, 2, portQuietMs_) == -1 &&
        rtcpHandler_.StartUnicast(deviceAddress_, static_cast<std::uint16_t>(port + 1)))
        return true;
    StopReceivers();
    return false;
}

bool CBaseRTPChannel::OpenMulticastReceiver(const std::string& address, std::uint16_t port)
{
    if (!address.empty() && port != 0)
    {
        receiver_.SetUser(this);
        rtcpHandler_.SetUser(this);
        packetEvent_.Reset();
        byeEvent_.Reset();
        if (!IsStopping() && receiver_.StartMulticast(address, port) && !IsStopping() &&
            rtcpHandler_.StartMulticast(deviceAddress_, address, static_cast<std::uint16_t>(port + 1)))
            return true;
    }
    StopReceivers();
    return false;
}

std::uint32_t CBaseRTPChannel::Run()
{
    const CSettingsFile settings(*driver_);
    transportSettings_ = settings.ReadTransportSettings(driver_->GetDeviceInfo());
    streamingMode_ = settings.ReadStreamingMode();
    return IsMulticast() ? RunMulticast() : RunUnicast();
}

std::uint32_t CBaseRTPChannel::RunUnicast()
{
    const DEVICE_INFO device = driver_->GetDeviceInfo();
    const std::uint32_t settleMs = std::max(device.networkTimeoutMs, device.signalLossTimeoutMs / 2);
    CEvent* const events[] = {&stopEvent_, &changeEvent_};
    bool changed = false;
    for (;;)
    {
        std::uint32_t waitMs = 1000;
        if ((GetChannelState() != kChannelRunning || changed) && Reconnect(changed))
        {
            if (!AwaitFirstFrame(settleMs))
                waitMs = 10;
            changed = false;
        }
        switch (CEvent::WaitForAny(events, 2, waitMs))
        {
        case 0:
            rtcpHandler_.Restart();
            CloseStream(false);
            SetCameraState(false);
            return 0;
        case 1:
            changed = ApplyChange(GetPendingChange());
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
    rtcpHandler_.Restart();
    CloseStream(keep);
    converter_.Reset();
    if (keep || ConfigureDevice())
    {
        byeEvent_.Reset();
        frameEvent_.Reset();
        if (OpenStream(keep))
            return true;
    }
    rtcpHandler_.Restart();
    CloseStream(false);
    return false;
}

} // namespace korvane
