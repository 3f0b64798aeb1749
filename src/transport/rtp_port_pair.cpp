#include "transport/rtp_port_pair.h"

#include "platform/reserve.h"

namespace korvane
{

CRTPPortPair::CRTPPortPair(IDebugMessage* debug, std::uint32_t device, CManualEvent& stopEvent,
                           CManualEvent& packetEvent)
    : receiver(debug), rtcpHandler(debug), device_(device), stopEvent_(stopEvent), packetEvent_(packetEvent)
{
}

void CRTPPortPair::Close()
{
    receiver.Stop();
    rtcpHandler.Stop();
}

bool CRTPPortPair::OpenFree(IRTPReceiverUser* user, std::uint32_t quietMs)
{
    receiver.SetUser(user);
    for (std::uint16_t port = kFirstPort; port < kEndPort; port = static_cast<std::uint16_t>(port + 2))
    {
        if (stopEvent_.Wait(0))
            return false;
        if (TryPort(port, quietMs))
            return true;
        if (platform::Reserve::Noted() != platform::Shortage::kNone)
            return false; // the next port would fare no better
    }
    platform::Reserve::Note(platform::Shortage::kPorts);
    return false;
}

// A port on which packets arrive before a session was asked for belongs to a stream that nobody stopped: its
// packets would mix with ours.
bool CRTPPortPair::TryPort(std::uint16_t port, std::uint32_t quietMs)
{
    packetEvent_.Reset();
    if (!receiver.StartUnicast(port))
        return false;
    CEvent* const events[] = {&stopEvent_, &packetEvent_};
    if (CEvent::WaitForAny(events, 2, quietMs) == -1 &&
        rtcpHandler.StartUnicast(device_, static_cast<std::uint16_t>(port + 1)))
        return true;
    Close();
    return false;
}

bool CRTPPortPair::OpenGroup(IRTPReceiverUser* user, IRTCPHandlerUser* rtcpUser, const std::string& address,
                             std::uint16_t port)
{
    if (!address.empty() && port != 0)
    {
        receiver.SetUser(user);
        rtcpHandler.SetUser(rtcpUser);
        packetEvent_.Reset();
        if (!stopEvent_.Wait(0) && receiver.StartMulticast(address, port) && !stopEvent_.Wait(0) &&
            rtcpHandler.StartMulticast(device_, address, static_cast<std::uint16_t>(port + 1)))
            return true;
    }
    Close();
    return false;
}

} // namespace korvane
