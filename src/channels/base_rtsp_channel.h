#pragma once

#include "channels/base_rtp_channel.h"
#include "parsers/rtp_media_parser.h"
#include "runtime/logger_instance.h"
#include "runtime/smart_ptr.h"

#include <string>

namespace korvane
{

/// A channel that gets its RTP through an RTSP session: over UDP, interleaved, or from a multicast group that
/// the session's description names. It judges the session's health and makes a new session when it has to;
/// the client itself never reconnects.
///
/// The client's callbacks run on the client's thread. The channel's thread stops the client before it touches
/// what they use, so the two never meet.
class CBaseRTSPChannel : public CBaseRTPChannel, public IRTSPClientUser, public CLoggerInstance
{
public:
    CBaseRTSPChannel(std::uint32_t channel, IDriver* driver, ipcapture::IHostChannelClient* client);

    void OnRTCPBye() override { stream_.byeEvent.Set(); }
    bool SdpInfoReceived(const RTSPResponse& response) override;
    void OnRTPPacket(CRTPPacket& packet) override;
    void OnSessionEnded() override { stream_.endedEvent.Set(); }

protected:
    std::uint32_t RunMulticast() override;
    bool OpenStream(bool keep) override;
    void EndDelivery(bool isGivenUp) override;
    bool IsStreamAlive() override;
    void ProcessPacket(CRTPPacket& packet) override;

    /// Fills in what only the device family knows: the RTSP port and the path of the stream.
    virtual void FillSessionParameters(RTSPClientParams& params) = 0;

    /// What the last description asked for: that checks the encoding, and no more. No packet ever comes here,
    /// for `CCommonRTSPChannel` gives them to the parser of its own codec; a codec is added there.
    TSmartPtr<CRTPMediaParser> parser_;

private:
    bool HasTakenLeave(); ///< an interleaved stream that runs: by a BYE or the end of its session
    bool IsMulticastUsable(const SDPMediaSection& section);
    bool ChooseParser(const RTSPResponse& response);
    bool StartSession();
};

} // namespace korvane
