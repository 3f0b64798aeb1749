#include "channels/common_rtsp_channel.h"

#include "http/send_request.h"
#include "parsers/h264_rtp_media_parser.h"
#include "parsers/jpeg_rtp_media_parser.h"
#include "parsers/mpeg4_rtp_media_parser.h"
#include "runtime/param_text.h"
#include "runtime/text.h"

#include <utility>

namespace korvane
{

namespace
{

bool IsRefusal(const std::string& response)
{
    return response.empty() || response.find("ERR_INVALID") != std::string::npos;
}

} // namespace

CCommonRTSPChannel::CCommonRTSPChannel(std::uint32_t channel, IDriver* driver,
                                       ipcapture::IHostChannelClient* client, const EncoderCodec& codec,
                                       std::unique_ptr<CRTPMediaParser> parser)
    : CBaseRTSPChannel(channel, driver, client),
      device_(*driver),
      httpClient_(driver->GetDeviceInfo()),
      codec_(codec),
      codecParser_(std::move(parser))
{
    codecParser_->SetClient(this);
}

// Here no packet of the new stream has come, and the client that brought those of the old one is gone.
bool CCommonRTSPChannel::SdpInfoReceived(const RTSPResponse& response)
{
    codecParser_->StartTimesAnew();
    return CBaseRTSPChannel::SdpInfoReceived(response);
}

void CCommonRTSPChannel::FillSessionParameters(RTSPClientParams& params)
{
    params.serverPort = device_.rtspPort;
    params.url = CStreamPathTable::At(device_.streams.rtsp, channel_, streamNumber_);
}

RateSettings CCommonRTSPChannel::ReadRateSettings() const
{
    return CSettingsFile(*driver_).ReadRateSettings(driver_->GetDeviceInfo(), channel_);
}

CEncoderRequest CCommonRTSPChannel::RequestFor(std::uint32_t stream) const
{
    return {codec_, device_, settings_, channel_, stream};
}

std::string CCommonRTSPChannel::FillRequestParameters(std::uint32_t stream)
{
    const CEncoderRequest request = RequestFor(stream);
    const std::string size = request.Size();
    if (size.empty())
        return "";
    return std::string(CameraCgi::kSetParam) + "network_rtsp_authmode=disable" + request.Codec() + size +
           request.FrameRate() +
           (codec_.hasRateControl ? request.RateControl(ReadRateSettings()) : request.Quality());
}

std::string CCommonRTSPChannel::FillRequestChangeParametersInAlarm(std::uint32_t stream, bool resolution,
                                                                   bool frameRate)
{
    const CEncoderRequest request = RequestFor(stream);
    const std::string size = resolution ? request.Size() : "";
    if (resolution && size.empty())
        return "";
    return CameraCgi::kSetParam + size + (frameRate ? request.FrameRate() : "");
}

bool CCommonRTSPChannel::ConfigureDevice()
{
    codecParser_->ResetParser();
    if (!CheckSensorMode())
        return false;
    // Each request may take as long as the network time-out: a stop must not wait for all of them.
    for (std::uint32_t stream = 0; stream < device_.streams.streamCount && !IsStopping(); ++stream)
    {
        const std::string request = FillRequestParameters(stream);
        std::string response;
        if (request.empty() || !CameraCgi::Ask(httpClient_, request, response) || IsRefusal(response))
            continue;
        streamNumber_ = stream;
        return true;
    }
    return false;
}

void CCommonRTSPChannel::ReadSensorMode()
{
    std::string response;
    const std::string key = Utils::FormatString("videoin_c%u_options", channel_);
    if (IsStopping() || !CameraCgi::Read(httpClient_, key, response))
        return;
    const std::string mode = Utils::ToLower(Utils::GetParamValue(response, key, "=", "&\r\n"));
    if (mode.find("framerate") != std::string::npos)
        sensorMode_ = VideoMode::kFrameRate;
    else if (mode.find("quality") != std::string::npos)
        sensorMode_ = VideoMode::kQuality;
}

bool CCommonRTSPChannel::CheckSensorMode()
{
    if (device_.notation != ResolutionNotation::Numeric)
        return true;
    const VideoMode wanted = ReadRateSettings().videoMode;
    if (wanted == VideoMode::kAuto)
        return true;
    if (!sensorMode_)
        ReadSensorMode();
    if (wanted == sensorMode_)
        return true;
    std::string response;
    const std::string change = Utils::FormatString("videoin_c%u_options=%s", channel_,
                                                   wanted == VideoMode::kQuality ? "quality" : "framerate");
    if (!CameraCgi::Ask(httpClient_, CameraCgi::kSetParam + change, response) || response.empty())
        return false;
    sensorMode_ = wanted;
    return true;
}

bool CCommonRTSPChannel::ApplyChange(std::uint32_t mask)
{
    const bool resolution = (mask & kResolutionChanged) != 0;
    const bool frameRate = (mask & kRateChanged) != 0;
    if (resolution)
        driver_->DebugMessage(3, "!CRIA-CFIA! - Resolution is changed (%ux%u)!", settings_.width,
                              settings_.height);
    if (!resolution && !frameRate)
    {
        driver_->DebugMessage(
            3, "!CRIA-CFIA! - Resolution and frame rate is the same, changes are not required");
        return true;
    }
    if (frameRate)
        driver_->DebugMessage(3, "!CRIA-CFIA! - Framerate is changed (%u fps)!",
                              FrameRateFromInterval(settings_.frameIntervalMs));
    return SendChange(resolution, frameRate);
}

bool CCommonRTSPChannel::SendChange(bool resolution, bool frameRate)
{
    const std::string request = FillRequestChangeParametersInAlarm(streamNumber_, resolution, frameRate);
    if (request.empty())
    {
        driver_->DebugMessage(1, "!CRIA-CFIA! - Unable to FillRequestChangeParametersInAlarm!");
        return false;
    }
    driver_->DebugMessage(3, "!CRIA-CFIA! - Send request... (%s)", request.c_str());
    std::string response;
    if (!CameraCgi::Ask(httpClient_, request, response))
    {
        driver_->DebugMessage(1, "!CRIA-CFIA! - Unable to Send HTTP request (%s)!", request.c_str());
        return false;
    }
    if (response.empty())
    {
        driver_->DebugMessage(1, "!CRIA-CFIA! - Unable to Read HTTP response!");
        return false;
    }
    if (IsRefusal(response))
    {
        driver_->DebugMessage(1, "!CRIA-CFIA! - Response is invalid!");
        return false;
    }
    driver_->DebugMessage(3, "!CRIA-CFIA! - Settings were applied OK (%s)", request.c_str());
    return true;
}

CH264ChannelRTSP::CH264ChannelRTSP(std::uint32_t channel, IDriver* driver,
                                   ipcapture::IHostChannelClient* client)
    : CCommonRTSPChannel(channel, driver, client, kH264Encoder,
                         std::make_unique<CH264RTPMediaParser>(driver, "Larkmoor"))
{
}

CMPEGChannelRTSP::CMPEGChannelRTSP(std::uint32_t channel, IDriver* driver,
                                   ipcapture::IHostChannelClient* client)
    : CCommonRTSPChannel(channel, driver, client, kMpeg4Encoder,
                         std::make_unique<CMpeg4RTPMediaParser>(driver, "Larkmoor"))
{
}

bool CMPEGChannelRTSP::ConfigureDevice()
{
    if (!device_.isLegacy)
        return CCommonRTSPChannel::ConfigureDevice();
    std::string parameters;
    if (!CameraCgi::Read(httpClient_, "video", parameters))
        return false;
    const std::string changes = LegacyMpeg4Changes(settings_, Utils::RemoveChars(parameters, "' "));
    return changes.empty() ||
           (!IsStopping() && httpClient_.SendRequest("GET", CameraCgi::kSetParam + changes));
}

CMJPEGChannelRTSP::CMJPEGChannelRTSP(std::uint32_t channel, IDriver* driver,
                                     ipcapture::IHostChannelClient* client)
    : CCommonRTSPChannel(channel, driver, client, kMjpegEncoder,
                         std::make_unique<CJpegRTPMediaParser>(driver, "Larkmoor"))
{
}

} // namespace korvane
