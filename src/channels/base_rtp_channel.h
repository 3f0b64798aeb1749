#pragma once

#include "channels/base_camera_channel.h"
#include "parsers/rtp_media_parser.h"
#include "runtime/settings_file.h"
#include "transport/rtcp_handler.h"
#include "transport/rtp_port_pair.h"
#include "transport/time_stamp_converter.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace korvane
{

/// A channel that gets RTP packets from a transport into a media parser and whole frames from the parser to
/// the host, and keeps the stream alive: it finds a free pair of UDP ports, and reconnects for as long as it
/// runs. How a session is set up is left to what derives from it.
///
/// Threads: `Run` and all that it calls on the channel's; packets and frames on the receiver's ("RTP Packet
/// Queue") or, interleaved, on the RTSP client's. The two sides share only events, the last-frame clock and
/// the online flag.
class CBaseRTPChannel : public CBaseCameraChannel,
                        public IRTPReceiverUser,
                        public IRTCPHandlerUser,
                        public IMediaParserClient
{
public:
    /// As `CBaseCameraChannel`. Looks the device's address up, which may block for as long as the resolver
    /// does.
    CBaseRTPChannel(std::uint32_t channel, IDriver* driver, ipcapture::IHostChannelClient* client);

    /// The time of a frame with that RTP timestamp: the device's pace on this machine's clock, or the present
    /// time while there is none.
    virtual void GetFrameTime(std::uint32_t rtpTime, SYSTEMTIME& time);

    /// The driver's name with the role of the stream behind it, as in "Larkmoor::RecStream".
    virtual std::string GetStreamName() const;

    void OnRTPReceived(const platform::SocketAddress& sender, CRTPPacket& packet) override;
    void OnRTPTimeout() override {}
    void OnRTPClosed() override {}
    bool OnMediaFrame(ipcapture::IHostFrame* frame) override;
    void GetResolution(std::pair<std::uint32_t, std::uint32_t>& resolution) override;

protected:
    CSetUp::Needs Prepare() override;
    std::uint32_t Run() override;

    /// The thread's body when the settings file asks for multicast.
    virtual std::uint32_t RunMulticast() = 0;

    /// Opens RTP and RTCP on a group. False, with both closed, for an empty address, port 0, or a failure.
    virtual bool OpenMulticastReceiver(const std::string& address, std::uint16_t port);

    /// Makes the stream run, on ports of its own or, with `keep`, on those of before.
    virtual bool OpenStream(bool keep);
    virtual void CloseStream(bool keep);
    virtual bool IsStreamAlive();

    /// Sets the device up for the channel's settings; before each full reconnect.
    virtual bool ConfigureDevice() = 0;

    /// Lets go of what is kept for the next configuration.
    virtual void LeaveDevice() {}

    /// One packet of the stream. On a transport thread.
    virtual void ProcessPacket(CRTPPacket& packet) = 0;

    /// Sends a change of settings (the mask of `GetPendingChange`) to the device; true if the session is to
    /// be renewed.
    virtual bool ApplyChange(std::uint32_t mask) = 0;

    /// What every packet does, whatever carried it.
    void TakePacket(CRTPPacket& packet);

    bool IsMulticast() const { return streamingMode_ != StreamingMode::kUnicast; }
    std::uint32_t SignalLossTimeoutMs() const { return driver_->GetDeviceInfo().signalLossTimeoutMs; }

    const std::uint32_t deviceAddress_; ///< network byte order; 0 if the name is not known
    CTimeStampConverter converter_;
    CManualEvent packetEvent_; ///< a packet of the device has come
    CRTPPortPair ports_;
    CManualEvent frameEvent_; ///< a frame has come out of the parser
    CManualEvent byeEvent_;   ///< the device has said BYE
    TransportSettings transportSettings_;
    StreamingMode streamingMode_ = StreamingMode::kUnicast;
    std::uint32_t portQuietMs_ = 1500; ///< how long a port must be silent before it is taken

private:
    std::uint32_t RunUnicast();
    bool Reconnect(bool keep);
    bool Open(bool keep);
    bool AwaitFirstFrame(std::uint32_t settleMs);
    void CheckStream();
};

} // namespace korvane
