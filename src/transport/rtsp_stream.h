#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "device/driver.h"
#include "device/settings_file.h"
#include "runtime/event.h"
#include "runtime/set_up.h"
#include "transport/rtcp_handler.h"
#include "transport/rtp_receiver.h"
#include "transport/rtsp_client.h"

namespace korvane
{

/// One stream of a device by RTSP, as a video or an audio channel owns it: the session, the two sockets that
/// RTP and RTCP come to unless they come over the session's connection, the filter of what comes, and the
/// events by which the transport's threads tell the channel's how the stream is. Which stream it is, and when
/// it is dead, is the channel's business; it is also the user of client, receiver and handler.
///
/// All of it is called on the channel's thread, unless told otherwise.
class RTSPStream
{
public:
    static constexpr std::uint16_t kFirstPort = 3556; ///< of the search for a free pair
    static constexpr std::uint16_t kEndPort = 4556;   ///< the first one that is not tried

    /// `driver`, `setUp` and `stopEvent`, the channel's, outlive the object. Looks the device's address up,
    /// which may block for as long as the resolver does.
    RTSPStream(IDriver* driver, CSetUp& setUp, CManualEvent& stopEvent);

    /// Reads the settings file, and gives what the stream needs by it.
    CSetUp::Needs ReadSettings();
    const TransportSettings& Settings() const { return settings_; }
    bool IsMulticast() const { return streamingMode_ != StreamingMode::kUnicast; }
    bool IsInterleaved() const { return settings_.rtpMode != RtpMode::kUdp; } ///< unless it is multicast

    /// One set-up: `close(keep)`, then `configure`, which sets the device up, then `open`. False, after
    /// `close(false)`, if one of the two fails or the process lacks what the stream needs. With `keep` the
    /// ports and what was configured stay.
    bool SetUp(bool keep, const std::function<void(bool)>& close, const std::function<bool()>& configure,
               const std::function<bool()>& open);

    /// Opens the first pair of ports on which nothing arrives for `quietMs`: RTP on an even one, RTCP on the
    /// next. `user` gets what arrives from then on. False, with both closed, when there is none or the stop
    /// event is set, and at once when the process has no more descriptors or threads. Does nothing for an
    /// interleaved stream.
    bool OpenPorts(IRTPReceiverUser* user, std::uint32_t quietMs);

    /// Opens both on a group (dotted text). False, with both closed, for an empty address, port 0, a failure,
    /// or when the stop event is set. The client's thread.
    bool OpenGroup(IRTPReceiverUser* user, IRTCPHandlerUser* rtcpUser, const std::string& address,
                   std::uint16_t port);

    /// What a session needs of device record and ports; all else has its default.
    RTSPClientParams SessionParameters() const;

    /// Starts a session in the mode of the settings; not when the stop event is set.
    bool StartSession(const RTSPClientParams& params, IRTSPClientUser* user);

    /// Waits for the first frame of a multicast session, of which the group is joined on the client's thread:
    /// so this belongs to the set-up. `woken` becomes 1 for a frame, 2 for the session's end, -1 if the time
    /// ran out. False if the process lacked something meanwhile.
    bool AwaitGroup(std::uint32_t limitMs, int& woken);

    /// Ends the session by a TEARDOWN, for which the client takes `limitMs` at the most, and unless `keep`
    /// closes the ports. Any thread, after or in place of the channel's.
    void Close(bool keep = false, std::uint32_t limitMs = kWaitForever);

    /// Whether the channel wants a packet of that sender, or of the session itself; counts it then. What was
    /// read before a stop must not hold it up, frame by frame, in a slow host. On a transport thread.
    bool Takes(const platform::SocketAddress& sender, const CRTPPacket& packet)
    {
        return sender.address == deviceAddress_ && Takes(packet);
    }
    bool Takes(const CRTPPacket& packet)
    {
        if (stopEvent_.Wait(0))
            return false;
        if (!packetEvent_.Wait(0)) // a look costs less than a set that changes nothing
            packetEvent_.Set();
        rtcpHandler.OnRTPSequence(packet.SequenceNumber());
        return true;
    }

    CManualEvent frameEvent; ///< a frame has come out of the parser since the set-up began
    CManualEvent byeEvent;   ///< the device has said BYE in this session
    CManualEvent endedEvent; ///< the session has ended
    CRTPReceiver receiver;
    CRTCPHandler rtcpHandler;
    CBaseRTSPClient client;

private:
    bool TryPorts(std::uint16_t port, std::uint32_t quietMs);
    void ClosePorts();

    IDriver* const driver_;
    CSetUp& setUp_;
    CManualEvent& stopEvent_;
    const std::uint32_t deviceAddress_; // network byte order; 0 if the name is not known
    CManualEvent packetEvent_;          // a packet of the device has come
    TransportSettings settings_;
    StreamingMode streamingMode_ = StreamingMode::kUnicast;
};

} // namespace korvane
