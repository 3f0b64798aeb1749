#pragma once

#include "transport/rtcp_handler_user.h"
#include "transport/rtp_packet.h"
#include "transport/rtsp_response_parser.h"

namespace korvane
{

/// What the user of an RTSP client hears, on the client's thread. It must not stop the client from here.
/// Exceptions are dropped.
class IRTSPClientUser : public IRTCPHandlerUser
{
public:
    /// The device has described its streams. False ends the session; an exception counts as false.
    virtual bool SdpInfoReceived(const RTSPResponse& response) = 0;

    /// A packet of an interleaved stream, valid during the call only.
    virtual void OnRTPPacket(CRTPPacket& packet) = 0;

    /// The session is over, whatever the reason; nothing else comes after it.
    virtual void OnSessionEnded() = 0;
};

} // namespace korvane
