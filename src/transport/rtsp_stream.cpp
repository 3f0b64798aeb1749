#include "transport/rtsp_stream.h"

#include "platform/reserve.h"
#include "runtime/text.h"

namespace korvane
{

RTSPStream::RTSPStream(IDriver* driver, CSetUp& setUp, CManualEvent& stopEvent)
    : receiver(driver),
      rtcpHandler(driver),
      client(driver),
      driver_(driver),
      setUp_(setUp),
      stopEvent_(stopEvent),
      deviceAddress_(Utils::ResolveHostAddress(driver->GetDeviceInfo().address))
{
    client.SetCancelEvent(&stopEvent_);
}

// Its connection, over UDP two sockets with four threads and the process's watch, and what an HTTP client
// keeps.
CSetUp::Needs RTSPStream::ReadSettings()
{
    const CSettingsFile file(*driver_);
    settings_ = file.ReadTransportSettings(driver_->GetDeviceInfo());
    streamingMode_ = file.ReadStreamingMode();
    return IsMulticast() || !IsInterleaved() ? CSetUp::Needs{4, 6} : CSetUp::Needs{3, 1};
}

bool RTSPStream::SetUp(bool keep, const std::function<void(bool)>& close,
                       const std::function<bool()>& configure, const std::function<bool()>& open)
{
    return setUp_.Try(
        [&]
        {
            close(keep);
            if (keep || configure())
            {
                frameEvent.Reset();
                if (setUp_.TakeThreads(keep) && open())
                    return true;
            }
            close(false);
            return false;
        });
}

bool RTSPStream::OpenPorts(IRTPReceiverUser* user, std::uint32_t quietMs)
{
    if (IsInterleaved())
        return true;
    receiver.SetUser(user);
    for (std::uint16_t port = kFirstPort; port < kEndPort; port = static_cast<std::uint16_t>(port + 2))
    {
        if (stopEvent_.Wait(0))
            return false;
        if (TryPorts(port, quietMs))
            return true;
        if (platform::Reserve::Noted() != platform::Shortage::kNone)
            return false; // the next port would fare no better
    }
    platform::Reserve::Note(platform::Shortage::kPorts);
    return false;
}

// A port on which packets arrive before a session was asked for belongs to a stream that nobody stopped: its
// packets would mix with ours.
bool RTSPStream::TryPorts(std::uint16_t port, std::uint32_t quietMs)
{
    packetEvent_.Reset();
    if (!receiver.StartUnicast(port))
        return false;
    CEvent* const events[] = {&stopEvent_, &packetEvent_};
    if (CEvent::WaitForAny(events, 2, quietMs) == -1 &&
        rtcpHandler.StartUnicast(deviceAddress_, static_cast<std::uint16_t>(port + 1)))
        return true;
    ClosePorts();
    return false;
}

bool RTSPStream::OpenGroup(IRTPReceiverUser* user, IRTCPHandlerUser* rtcpUser, const std::string& address,
                           std::uint16_t port)
{
    const platform::Reserve::Use use(setUp_.GetReserve());
    byeEvent.Reset();
    if (!address.empty() && port != 0)
    {
        receiver.SetUser(user);
        rtcpHandler.SetUser(rtcpUser);
        packetEvent_.Reset();
        if (!stopEvent_.Wait(0) && receiver.StartMulticast(address, port) && !stopEvent_.Wait(0) &&
            rtcpHandler.StartMulticast(deviceAddress_, address, static_cast<std::uint16_t>(port + 1)))
            return true;
    }
    ClosePorts();
    return false;
}

RTSPClientParams RTSPStream::SessionParameters() const
{
    const DEVICE_INFO& device = driver_->GetDeviceInfo();
    RTSPClientParams params;
    params.host = device.address;
    params.userName = device.user;
    params.password = device.password;
    params.connectTimeoutMs = device.networkTimeoutMs;
    params.clientRTPPort = receiver.GetPort();
    params.clientRTCPPort = rtcpHandler.GetPort();
    return params;
}

bool RTSPStream::StartSession(const RTSPClientParams& params, IRTSPClientUser* user)
{
    byeEvent.Reset();
    endedEvent.Reset();
    if (stopEvent_.Wait(0))
        return false;
    return IsMulticast() ? client.StartMulticast(params, user)
                         : client.Start(params, user, static_cast<std::uint32_t>(settings_.rtpMode));
}

bool RTSPStream::AwaitGroup(std::uint32_t limitMs, int& woken)
{
    CEvent* const events[] = {&stopEvent_, &frameEvent, &endedEvent};
    woken = CEvent::WaitForAny(events, 3, limitMs);
    return platform::Reserve::Noted() == platform::Shortage::kNone;
}

void RTSPStream::Close(bool keep, std::uint32_t limitMs)
{
    client.Stop(limitMs);
    if (!keep)
        ClosePorts();
}

void RTSPStream::ClosePorts()
{
    receiver.Stop();
    rtcpHandler.Stop();
}

} // namespace korvane
