#include "channels/mpeg_channel_rtsp.h"

#include "channels/encoder_rules.h"
#include "http/param_text.h"
#include "parsers/mpeg4_rtp_media_parser.h"
#include "runtime/device_properties.h"
#include "runtime/text.h"

#include <algorithm>
#include <memory>

namespace korvane
{

namespace
{

constexpr float kWorstMpeg4Qvalue = 31.0F; // of an MPEG-4 encoder
constexpr float kBestMpeg4Qvalue = 1.0F;

constexpr std::uint32_t kMostWithout60Hz = 25; // frames a second
constexpr std::uint32_t k60Hz = 60;            // "video.mode"

} // namespace

CMPEGChannelRTSP::CMPEGChannelRTSP(std::uint32_t channel, IDriver* driver,
                                   ipcapture::IHostChannelClient* client)
    : CCommonRTSPChannel(channel, driver, client)
{
    codecParser_ = std::make_unique<CMpeg4RTPMediaParser>(driver, "Larkmoor");
    codecParser_->SetClient(this);
}

CMPEGChannelRTSP::~CMPEGChannelRTSP()
{
    Stop();
}

bool CMPEGChannelRTSP::ConfigureDevice()
{
    if (driver_->GetPropertyText(kLegacyInterfaceProperty) == "1")
        return ConfigureLegacy();
    return CCommonRTSPChannel::ConfigureDevice();
}

std::string CMPEGChannelRTSP::FrameRatePiece(std::uint32_t stream) const
{
    if (settings_.frameIntervalMs == 0)
        return "";
    return ParameterKey(stream, "mpeg4_maxframe=") + std::to_string(FrameRate());
}

std::string CMPEGChannelRTSP::FillRequestParameters(std::uint32_t stream)
{
    const std::string resolution = ResolutionPiece(stream);
    if (resolution.empty())
        return "";
    const bool fieldToFrame = driver_->GetPropertyText(kFieldToFrameProperty) == "1";
    return kSetParam + std::string("network_rtsp_authmode=disable") +
           ParameterKey(stream, "codectype=mpeg4") +
           (fieldToFrame ? ParameterKey(stream, "field2frame=1") : "") + resolution + FrameRatePiece(stream) +
           ParameterKey(stream, "mpeg4_intraperiod=1000") +
           RateControlPieces(stream, "mpeg4", kWorstMpeg4Qvalue, kBestMpeg4Qvalue);
}

std::string CMPEGChannelRTSP::FillRequestChangeParametersInAlarm(std::uint32_t stream, bool resolution,
                                                                 bool frameRate)
{
    return ChangeRequest(stream, resolution, frameRate ? FrameRatePiece(stream) : "");
}

bool CMPEGChannelRTSP::ConfigureLegacy()
{
    std::string parameters;
    if (!Request("/cgi-bin/admin/getparam.cgi?video", parameters) || parameters.empty())
        return false;
    const std::string changes = LegacyChanges(Utils::RemoveChars(parameters, "' "));
    if (changes.empty())
        return true;
    return !IsStopping() && httpClient_.SendRequest("GET", kSetParam + changes);
}

std::string CMPEGChannelRTSP::LegacyChanges(const std::string& parameters) const
{
    const auto number = [&](const char* name) { return Utils::GetParamUInt(parameters, name, "=", "\r\n"); };
    std::string changes;
    const auto ask = [&](const char* name, const std::string& value)
    { changes += (changes.empty() ? "" : "&") + std::string(name) + "=" + value; };

    const std::string size = Utils::FormatString("%ux%u", settings_.width, settings_.height);
    if (Utils::GetParamValue(parameters, "video.resolution", "=", "\r\n") != size)
        ask("video.resolution", size);

    const bool isLimited = number("video.mode") != k60Hz;
    const std::uint32_t rate = isLimited ? std::min(FrameRate(), kMostWithout60Hz) : FrameRate();
    const struct
    {
        const char* name;
        std::uint32_t value;
        bool isWanted = true;
    } rows[] = {
        {"video.keyinterval", 1},
        {"video.color", 1},
        {"video.quality", 1},
        {"video.quant", MapQuality(settings_.quality, kWorstMpeg4Qvalue, kBestMpeg4Qvalue).quant},
        {"video.maxframe", rate, settings_.frameIntervalMs != 0},
    };
    for (const auto& row : rows)
        if (row.isWanted && number(row.name) != row.value)
            ask(row.name, std::to_string(row.value));
    return changes;
}

} // namespace korvane
