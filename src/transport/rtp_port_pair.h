#pragma once

#include <cstdint>
#include <string>

#include "runtime/event.h"
#include "runtime/set_up.h"
#include "transport/rtcp_handler.h"
#include "transport/rtp_receiver.h"

namespace korvane
{

/// What a stream by RTSP needs: its connection, over UDP a port pair with four threads and the process's
/// watch, and what an HTTP client keeps.
inline CSetUp::Needs StreamNeeds(bool isOverUdp)
{
    return isOverUdp ? CSetUp::Needs{4, 6} : CSetUp::Needs{3, 1};
}

/// The two sockets of one RTP stream over UDP, opened and closed together: RTP on an even port, RTCP on the
/// next one. One thread; only the events may be set from others.
class CRTPPortPair
{
public:
    static constexpr std::uint16_t kFirstPort = 3556; ///< of the search for a free pair
    static constexpr std::uint16_t kEndPort = 4556;   ///< the first one that is not tried

    /// `device` is the address in network byte order that RTCP is heeded from. `stopEvent` ends a search;
    /// `packetEvent` is set by the owner for each packet of the device. Both outlive the object.
    CRTPPortPair(IDebugMessage* debug, std::uint32_t device, CManualEvent& stopEvent,
                 CManualEvent& packetEvent);

    /// Opens the first pair on which nothing arrives for `quietMs`. `user` gets what arrives from then on.
    /// False, with both closed, when there is none or the stop event is set, and at once when the process has
    /// no more descriptors or threads.
    bool OpenFree(IRTPReceiverUser* user, std::uint32_t quietMs);

    /// Opens both on a group (dotted text). False, with both closed, for an empty address, port 0, a failure,
    /// or when the stop event is set.
    bool OpenGroup(IRTPReceiverUser* user, IRTCPHandlerUser* rtcpUser, const std::string& address,
                   std::uint16_t port);

    void Close(); ///< as the two say of their stops

    CRTPReceiver receiver;
    CRTCPHandler rtcpHandler;

private:
    bool TryPort(std::uint16_t port, std::uint32_t quietMs);

    const std::uint32_t device_;
    CManualEvent& stopEvent_;
    CManualEvent& packetEvent_;
};

} // namespace korvane
