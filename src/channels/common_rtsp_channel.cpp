#include "channels/common_rtsp_channel.h"

#include "channels/encoder_rules.h"
#include "http/param_text.h"
#include "runtime/device_properties.h"
#include "runtime/stream_path_table.h"
#include "runtime/text.h"

#include <vector>

namespace korvane
{

namespace
{

constexpr std::int32_t kNumericResolutions = 1; // camera types
constexpr std::int32_t kNamedResolutions = 2;
constexpr std::uint16_t kDefaultRtspPort = 554;

bool IsRefusal(const std::string& response)
{
    return response.empty() || response.find("ERR_INVALID") != std::string::npos;
}

} // namespace

CCommonRTSPChannel::CCommonRTSPChannel(std::uint32_t channel, IDriver* driver,
                                       ipcapture::IHostChannelClient* client)
    : CBaseRTSPChannel(channel, driver, client), httpClient_(driver->GetDeviceInfo())
{
}

void CCommonRTSPChannel::ProcessPacket(CRTPPacket& packet)
{
    if (codecParser_ != nullptr)
        codecParser_->OnPacket(packet);
}

void CCommonRTSPChannel::FillSessionParameters(RTSPClientParams& params)
{
    const auto port = static_cast<std::uint16_t>(driver_->GetPropertyInt(kRtspPortProperty));
    params.serverPort = port == 0 ? kDefaultRtspPort : port;
    params.url =
        CStreamPathTable(driver_->GetPropertyText(kStreamsProperty)).RtspPath(channel_, streamNumber_);
}

std::string CCommonRTSPChannel::ParameterKey(std::uint32_t stream, const char* name) const
{
    return Utils::FormatString("&videoin_c%u_s%u_%s", channel_, stream, name);
}

std::string CCommonRTSPChannel::ResolutionPiece(std::uint32_t stream) const
{
    std::int32_t cameraType = 0;
    if (!Utils::IsInteger(driver_->GetPropertyText(kCameraTypeProperty), cameraType))
        return "";
    if (cameraType == kNumericResolutions)
        return ParameterKey(stream, "resolution=") +
               Utils::FormatString("%ux%u", settings_.width, settings_.height);
    if (cameraType == kNamedResolutions)
        return ParameterKey(stream, "resolution=") + NamedResolution(settings_.width);
    return "";
}

std::string CCommonRTSPChannel::ChangeRequest(std::uint32_t stream, bool resolution,
                                              const std::string& rest) const
{
    const std::string piece = resolution ? ResolutionPiece(stream) : "";
    return resolution && piece.empty() ? "" : kSetParam + piece + rest;
}

std::string CCommonRTSPChannel::RateControlPieces(std::uint32_t stream, const char* codec, float upper,
                                                  float lower) const
{
    const RateSettings rates = CSettingsFile(*driver_).ReadRateSettings(driver_->GetDeviceInfo(), channel_);
    const std::string prefix = ParameterKey(stream, codec);
    if (rates.qualityMode == QualityMode::kVbr)
    {
        const EncoderQuality quality = MapQuality(settings_.quality, upper, lower);
        return prefix + "_ratecontrolmode=vbr" + prefix + Utils::FormatString("_quant=%u", quality.quant) +
               prefix + Utils::FormatString("_qvalue=%d", quality.qvalue);
    }
    if (rates.qualityMode == QualityMode::kCbr)
        return prefix + "_ratecontrolmode=cbr" + prefix +
               Utils::FormatString("_bitrate=%u",
                                   MapBitrate(settings_.quality, rates.minBitrate, rates.maxBitrate));
    return "";
}

bool CCommonRTSPChannel::Request(const std::string& uri, std::string& response)
{
    response.clear();
    if (!httpClient_.SendRequest("GET", uri) || httpClient_.StatusCode() / 100 != 2)
        return false;
    std::vector<std::uint8_t> body;
    const std::uint32_t length = httpClient_.ReadResponse(body);
    response.assign(body.begin(), body.begin() + static_cast<std::ptrdiff_t>(length));
    return true;
}

bool CCommonRTSPChannel::ConfigureDevice()
{
    const std::uint32_t streams = CStreamPathTable(driver_->GetPropertyText(kStreamsProperty)).StreamCount();
    if (codecParser_ != nullptr)
        codecParser_->ResetParser();
    if (!CheckSensorMode())
        return false;
    // Each request may take as long as the network time-out: a stop must not wait for all of them.
    for (std::uint32_t stream = 0; stream < streams && !IsStopping(); ++stream)
    {
        const std::string request = FillRequestParameters(stream);
        std::string response;
        if (request.empty() || !Request(request, response) || IsRefusal(response))
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
    if (IsStopping() || !Request("/cgi-bin/admin/getparam.cgi?" + key, response))
        return;
    const std::string mode = Utils::ToLower(Utils::GetParamValue(response, key, "=", "&\r\n"));
    if (mode.find("framerate") != std::string::npos)
        sensorMode_ = SensorMode::kFrameRate;
    else if (mode.find("quality") != std::string::npos)
        sensorMode_ = SensorMode::kQuality;
}

bool CCommonRTSPChannel::CheckSensorMode()
{
    if (driver_->GetPropertyInt(kCameraTypeProperty) != kNumericResolutions)
        return true;
    const VideoMode wanted =
        CSettingsFile(*driver_).ReadRateSettings(driver_->GetDeviceInfo(), channel_).videoMode;
    if (wanted == VideoMode::kAuto)
        return true;
    if (sensorMode_ == SensorMode::kUnknown)
        ReadSensorMode();
    const SensorMode mode = wanted == VideoMode::kQuality ? SensorMode::kQuality : SensorMode::kFrameRate;
    if (mode == sensorMode_)
        return true;
    std::string response;
    const std::string uri =
        Utils::FormatString("/cgi-bin/admin/setparam.cgi?videoin_c%u_options=%s", channel_,
                            mode == SensorMode::kQuality ? "quality" : "framerate");
    if (!Request(uri, response) || response.empty())
        return false;
    sensorMode_ = mode;
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
        driver_->DebugMessage(3, "!CRIA-CFIA! - Framerate is changed (%u fps)!", FrameRate());
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
    if (!Request(request, response))
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

} // namespace korvane
