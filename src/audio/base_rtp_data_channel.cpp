#include "audio/base_rtp_data_channel.h"

#include "runtime/text.h"

namespace korvane
{

namespace
{

constexpr std::uint32_t kPortQuietMs = 500; // how long a port must be silent before it is taken
constexpr std::uint32_t kLookMs = 2000;     // between looks at the stream

} // namespace

CBaseRTPDataChannel::CBaseRTPDataChannel(IDriver* driver, std::uint32_t videoChannel)
    : CBaseThread(driver),
      driver_(driver),
      videoChannel_(videoChannel),
      deviceAddress_(Utils::ResolveHostAddress(driver->GetDeviceInfo().address)),
      setUp_(driver),
      ports_(driver, deviceAddress_, stopEvent_, packetEvent_)
{
}

void CBaseRTPDataChannel::OnRTPReceived(const platform::SocketAddress& sender, CRTPPacket& packet)
{
    if (sender.address == deviceAddress_)
        TakePacket(packet);
}

void CBaseRTPDataChannel::TakePacket(CRTPPacket& packet)
{
    if (!packetEvent_.Wait(0)) // a look costs less than a set that changes nothing
        packetEvent_.Set();
    ports_.rtcpHandler.OnRTPSequence(packet.SequenceNumber());
    ProcessPacket(packet);
}

bool CBaseRTPDataChannel::OpenMulticastReceiver(const std::string& address, std::uint16_t port)
{
    byeEvent_.Reset();
    return ports_.OpenGroup(this, this, address, port);
}

bool CBaseRTPDataChannel::StartStream()
{
    if (!ports_.OpenFree(this, kPortQuietMs))
        return false;
    OnStreamStarted();
    return true;
}

void CBaseRTPDataChannel::StopStream()
{
    ports_.Close();
    OnStopping();
}

void CBaseRTPDataChannel::Run()
{
    const auto prepare = [this]
    {
        const CSettingsFile settings(*driver_);
        transportSettings_ = settings.ReadTransportSettings(driver_->GetDeviceInfo());
        streamingMode_ = settings.ReadStreamingMode();
        return StreamNeeds(IsMulticast() || transportSettings_.rtpMode == RtpMode::kUdp);
    };
    if (!setUp_.Prepare(prepare))
        return;
    if (IsMulticast())
        RunMulticast();
    else
        RunUnicast();
}

void CBaseRTPDataChannel::RunUnicast()
{
    OpenSession();
    while (!setUp_.WaitForStop(stopEvent_, kLookMs))
    {
        if (!isShort_ && lastFrame_.GetElapsedMs() < NetworkTimeoutMs())
        {
            OnIdle();
            continue;
        }
        if (!setUp_.IsDue())
            continue;
        OnSignalLost();
        OpenSession();
    }
    StopStream();
    OnStopped();
}

// Leaves time for the first frame of a session before it is judged.
void CBaseRTPDataChannel::OpenSession()
{
    CEvent* const events[] = {&stopEvent_, &frameEvent_};
    if (TrySession([this] { return StartStream(); }))
        CEvent::WaitForAny(events, 2, NetworkTimeoutMs());
}

bool CBaseRTPDataChannel::TrySession(const std::function<bool()>& start)
{
    const bool isOpen = setUp_.Try(
        [&]
        {
            StopStream();
            frameEvent_.Reset();
            if (Connect() && setUp_.TakeThreads() && start())
                return true;
            StopStream();
            return false;
        });
    isShort_ = !setUp_.IsDue();
    if (isShort_)
        LeaveDevice();
    return isOpen;
}

} // namespace korvane
