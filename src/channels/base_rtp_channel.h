#pragma once

#include "channels/base_camera_channel.h"
#include "parsers/rtp_media_parser.h"
#include "parsers/time_stamp_converter.h"
#include "transport/rtsp_stream.h"

#include <cstdint>
#include <string>

namespace korvane
{

/// A channel that gets RTP packets from a transport into a media parser and whole frames from the parser to
/// the host, and keeps the stream alive: it reconnects for as long as it runs. How a session is set up is
/// left to what derives from it.
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
    bool OnMediaFrame(ipcapture::IHostFrame* frame) override;
    void GetResolution(std::pair<std::uint32_t, std::uint32_t>& resolution) override;

protected:
    CSetUp::Needs Prepare() override { return stream_.ReadSettings(); }
    std::uint32_t Run() override;

    /// The thread's body when the settings file asks for multicast.
    virtual std::uint32_t RunMulticast() = 0;

    /// Opens RTP and RTCP on a group, as `RTSPStream::OpenGroup`.
    virtual bool OpenMulticastReceiver(const std::string& address, std::uint16_t port);

    /// Makes the stream run, on ports of its own or, with `keep`, on those of before.
    virtual bool OpenStream(bool keep);
    virtual void CloseStream(bool keep) { stream_.Close(keep); }
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

    std::uint32_t SignalLossTimeoutMs() const { return driver_->GetDeviceInfo().signalLossTimeoutMs; }

    /// One set-up by `open`. If that fails for want of what the process has not, lets go of the device.
    bool Reconnect(bool keep, const std::function<bool()>& open);

    CTimeStampConverter converter_;
    RTSPStream stream_;

private:
    std::uint32_t RunUnicast();
    bool AwaitFirstFrame(std::uint32_t settleMs);
    void CheckStream();
};

} // namespace korvane
