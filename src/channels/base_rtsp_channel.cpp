#include "channels/base_rtsp_channel.h"

#include "parsers/h264_rtp_media_parser.h"
#include "parsers/jpeg_rtp_media_parser.h"
#include "parsers/mpeg4_rtp_media_parser.h"
#include "runtime/text.h"

#include <memory>
#include <new>
#include <string_view>

namespace korvane
{

namespace
{

// A thread that was stuck in the host as long as the channel's was given up for gets no second such time.
constexpr std::uint32_t kLateStopMs = 2000;

constexpr const char* kSdpFunction = "korvane::CBaseRTSPChannel::SdpInfoReceived";

// The parser for an encoding as a description names it ("H264/90000"), or null if there is none for it.
std::unique_ptr<CRTPMediaParser> MakeParser(const std::string& encoding, IDriver* driver)
{
    const std::string lower = Utils::ToLower(encoding);
    if (lower.empty() || lower.starts_with("jpeg")) // JPEG has a static payload type, so it needs no name
        return std::make_unique<CJpegRTPMediaParser>(driver, driver->GetDriverName());
    if (lower.starts_with("h264"))
        return std::make_unique<CH264RTPMediaParser>(driver, driver->GetDriverName());
    if (lower.starts_with("mpeg4") || lower.starts_with("mp4v"))
        return std::make_unique<CMpeg4RTPMediaParser>(driver, driver->GetDriverName());
    return nullptr;
}

} // namespace

CBaseRTSPChannel::CBaseRTSPChannel(std::uint32_t channel, IDriver* driver,
                                   ipcapture::IHostChannelClient* client)
    : CBaseRTPChannel(channel, driver, client), CLoggerInstance(driver)
{
}

void CBaseRTSPChannel::OnRTPPacket(CRTPPacket& packet)
{
    if (stream_.Takes(packet))
        ProcessPacket(packet);
}

void CBaseRTSPChannel::ProcessPacket(CRTPPacket& packet)
{
    const CClientGateBase::Inside inside(Gate());
    if (parser_)
        parser_->OnPacket(packet);
}

bool CBaseRTSPChannel::IsStreamAlive()
{
    return CBaseRTPChannel::IsStreamAlive() && stream_.client.GetLastResult() && !HasTakenLeave();
}

// A stream whose first frame is awaited is left alone; over UDP the media count.
bool CBaseRTSPChannel::HasTakenLeave()
{
    return stream_.IsInterleaved() && GetChannelState() == kChannelRunning &&
           (stream_.byeEvent.Wait(0) || stream_.endedEvent.Wait(0));
}

bool CBaseRTSPChannel::OpenStream(bool keep)
{
    return CBaseRTPChannel::OpenStream(keep) && StartSession();
}

bool CBaseRTSPChannel::StartSession()
{
    RTSPClientParams params = stream_.SessionParameters();
    params.receiveTimeoutMs = params.connectTimeoutMs;
    FillSessionParameters(params);
    return stream_.StartSession(params, this);
}

bool CBaseRTSPChannel::IsMulticastUsable(const SDPMediaSection& section)
{
    const char* missing = nullptr;
    if (section.address.empty())
        missing = "connection data section";
    else if (section.port == 0)
        missing = "correct streaming port in media section";
    if (missing == nullptr)
        return true;
    Message(1, "%s: RTSP response doesn't contain %s. RTP multicast stream cannot be started for device %s",
            kSdpFunction, missing, driver_->GetDeviceName().c_str());
    return false;
}

bool CBaseRTSPChannel::ChooseParser(const RTSPResponse& response)
{
    const std::string& encoding = response.description.video.encoding;
    std::unique_ptr<CRTPMediaParser> parser = MakeParser(encoding, driver_);
    if (parser == nullptr)
        Message(1, "%s: Unable to handle RTP video data from device %s - unexpected payload type \"%s\"",
                kSdpFunction, driver_->GetDeviceName().c_str(), encoding.c_str());
    parser_.Reset(parser.release());
    if (!parser_)
        return false;
    parser_->SetClient(this);
    parser_->SetParameterSets(
        {response.description.SPS, response.description.PPS, response.description.config});
    return true;
}

bool CBaseRTSPChannel::SdpInfoReceived(const RTSPResponse& response)
{
    const CClientGateBase::Inside inside(Gate());
    const SDPMediaSection& section = response.description.video;
    if (stream_.IsMulticast() && !IsMulticastUsable(section))
        return false;
    if (!ChooseParser(response))
        return false;
    // A group that can't be joined doesn't end the session: no frames come, and the channel's loop acts on
    // that.
    if (stream_.IsMulticast() && OpenMulticastReceiver(section.address, section.port))
        CLoggerInstance::Reset();
    return true;
}

void CBaseRTSPChannel::EndDelivery(bool isGivenUp)
{
    stream_.Close(false, isGivenUp ? kLateStopMs : kWaitForever);
}

std::uint32_t CBaseRTSPChannel::RunMulticast()
{
    bool slow = false; // the longer pause before the next round
    TouchLastFrame();
    while (!stopEvent_.Wait(slow ? 1000 : 10))
    {
        slow = true;
        if (GetChannelState() == kChannelRunning)
        {
            const bool bye = stream_.byeEvent.Wait(0);
            if (GetLastFrameAgeMs() <= SignalLossTimeoutMs() && !bye)
                continue;
            SetChannelState(kChannelConnecting);
            slow = bye;
            continue;
        }
        if (GetChannelState() == kChannelConnecting && GetLastFrameAgeMs() > 2 * SignalLossTimeoutMs())
        {
            NotifySignalLost();
            SetCameraState(false);
        }
        int woken = 0;
        const auto open = [&]
        { return StartSession() && stream_.AwaitGroup(SignalLossTimeoutMs() / 2, woken); };
        if (!setUp_.IsDue())
            continue;
        if (!Reconnect(false, open))
        {
            CloseStream(false);
            continue;
        }
        if (woken == 1)
            SetChannelState(kChannelRunning);
        slow = woken != -1;
    }
    CloseStream(false);
    SetChannelState(kChannelStopped);
    SetCameraState(false);
    return 0;
}

} // namespace korvane
