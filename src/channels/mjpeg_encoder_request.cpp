#include "channels/mjpeg_encoder_request.h"

#include "http/param_text.h"
#include "runtime/text.h"

#include <algorithm>

namespace korvane::MjpegRequest
{

std::uint32_t Quant(std::uint32_t quality)
{
    return std::min(quality / 20 + 1, 5u);
}

std::int32_t QValue(std::uint32_t quality)
{
    return 210 - static_cast<std::int32_t>(std::min(200.0, static_cast<double>(quality) * 2.0 + 10.0));
}

std::string ResolutionText(std::uint32_t cameraType, const ChannelSettings& settings)
{
    if (cameraType == kNumericResolutions)
        return Utils::FormatString("%ux%u", settings.width, settings.height);
    if (cameraType != kNamedResolutions || settings.width > 720)
        return std::string();
    if (settings.width < 177)
        return "QCIF";
    if (settings.width < 353)
        return "CIF";
    return settings.width < 705 ? "4CIF" : "D1";
}

std::string Encoder(std::uint32_t channel, const ChannelSettings& settings, const std::string& resolution,
                    bool fieldToFrame)
{
    std::string request =
        Utils::FormatString("/cgi-bin/admin/setparam.cgi?videoin_c%u_s0_codectype=mjpeg", channel);
    if (fieldToFrame)
        request += Utils::FormatString("&videoin_c%u_s0_field2frame=1", channel);
    if (!resolution.empty())
        request += Utils::FormatString("&videoin_c%u_s0_resolution=%s", channel, resolution.c_str());
    if (settings.frameIntervalMs != 0)
    {
        request += Utils::FormatString("&videoin_c%u_s0_mjpeg_maxframe=%u", channel,
                                       FrameRateFromInterval(settings.frameIntervalMs));
    }
    return request + Utils::FormatString("&videoin_c%u_s0_mjpeg_quant=%u&videoin_c%u_s0_mjpeg_qvalue=%d",
                                         channel, Quant(settings.quality), channel, QValue(settings.quality));
}

const char* SensorMode(std::uint32_t width)
{
    return width > 800 ? "quality" : "framerate";
}

std::uint32_t LegacySizeCode(const ChannelSettings& settings)
{
    switch (settings.width)
    {
    case 352:
        return 2;
    case 704:
        return settings.height < 400 ? 6 : 3;
    default: // 176, and what the device has no code for
        return 1;
    }
}

std::string LegacyEncoder(std::uint32_t channel, const ChannelSettings& settings,
                          const std::string& parameters)
{
    const struct
    {
        const char* key;
        std::uint32_t value;
    } wanted[] = {
        {"enable", 1},
        {"color", 1},
        {"size", LegacySizeCode(settings)},
        {"quality", Quant(settings.quality)},
        {"maxframe", FrameRateFromInterval(settings.frameIntervalMs)},
    };
    std::string changes;
    for (const auto& [key, value] : wanted)
    {
        if (key == std::string_view("maxframe") && settings.frameIntervalMs == 0)
            continue; // no rate is asked for
        const std::string name = Utils::FormatString("video.%s.%u", key, channel);
        if (Utils::GetParamUInt(parameters, name, "=", "\r\n") == value)
            continue;
        changes += Utils::FormatString("%s%s=%u", changes.empty() ? "" : "&", name.c_str(), value);
    }
    return changes.empty() ? changes : "/cgi-bin/admin/setparam.cgi?" + changes;
}

std::string LegacyStreamPath(std::uint32_t channel, const ChannelSettings& settings)
{
    return Utils::FormatString("/cgi-bin/video.jpg?cam=%u&quality=%u&size=%u", channel + 1,
                               Quant(settings.quality), LegacySizeCode(settings));
}

} // namespace korvane::MjpegRequest
