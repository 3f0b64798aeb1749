#include "channels/encoder_request.h"

#include "runtime/param_text.h"
#include "runtime/text.h"

#include <algorithm>
#include <initializer_list>
#include <optional>

namespace korvane
{

namespace
{

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::uint32_t kMostWithout60Hz = 25; // frames a second
constexpr std::uint32_t k60Hz = 60;            // "video.mode"

/// A bit rate between the settings' bounds in proportion to the quality.
std::uint32_t BitRate(std::uint32_t quality, const RateSettings& rates)
{
    const double minimum = rates.minBitrate;
    const double maximum = rates.maxBitrate;
    return static_cast<std::uint32_t>(
        std::clamp((maximum - minimum) * quality / 100.0 + minimum + 0.5, minimum, maximum));
}

/// The smallest size by name that is as wide; empty for a width above all of them.
std::string SizeName(std::uint32_t width)
{
    const auto* const size =
        std::ranges::find_if(kNamedSizes, [width](const NamedSize& known) { return width <= known.width; });
    return size == std::end(kNamedSizes) ? "" : std::string(size->name);
}

std::string PixelText(const ChannelSettings& settings)
{
    return Utils::FormatString("%ux%u", settings.width, settings.height);
}

struct LegacyNumber
{
    std::string name;
    std::optional<std::uint32_t> wanted; // nothing: left as it is
};

void AddChanges(std::string& changes, std::string_view parameters,
                std::initializer_list<LegacyNumber> numbers)
{
    for (const auto& [name, wanted] : numbers)
        if (wanted && Utils::GetParamUInt(parameters, name, "=", kLineEnd) != *wanted)
            changes += (changes.empty() ? "" : "&") + name + "=" + std::to_string(*wanted);
}

std::optional<std::uint32_t> AskedRate(const ChannelSettings& settings, std::uint32_t most = UINT32_MAX)
{
    if (settings.frameIntervalMs == 0)
        return std::nullopt;
    return std::min(FrameRateFromInterval(settings.frameIntervalMs), most);
}

std::uint32_t LegacySizeCode(const ChannelSettings& settings)
{
    if (settings.width == 704)
        return settings.height < 400 ? 6 : 3;
    return settings.width == 352 ? 2 : 1; // 1: 176, and what the device has no code for
}

} // namespace

EncoderQuality::EncoderQuality(std::uint32_t quality, const EncoderCodec& codec)
    : quant(std::min(quality / 20 + 1, 5u))
{
    const double upper = codec.worstQvalue;
    const double scaled =
        static_cast<double>(static_cast<float>(quality)) / (100.0 / upper) + codec.bestQvalue;
    const auto step = static_cast<std::int32_t>(std::min(scaled, upper));
    qvalue = static_cast<std::int32_t>(codec.worstQvalue + codec.bestQvalue - static_cast<float>(step));
}

std::string CEncoderRequest::Item(const std::string& name, const std::string& value) const
{
    return Utils::FormatString("&videoin_c%u_s%u_%s=%s", channel_, stream_, name.c_str(), value.c_str());
}

std::string CEncoderRequest::CodecItem(const char* name, const std::string& value) const
{
    return Item(std::string(codec_.name) + "_" + name, value);
}

std::string CEncoderRequest::Codec() const
{
    return Item("codectype", codec_.name) +
           (codec_.hasFields && device_.hasFieldToFrame ? Item("field2frame", "1") : "");
}

std::string CEncoderRequest::Size() const
{
    if (device_.notation == ResolutionNotation::Numeric)
        return Item("resolution", PixelText(settings_));
    return device_.notation == ResolutionNotation::Named ? Item("resolution", SizeName(settings_.width)) : "";
}

std::string CEncoderRequest::FrameRate() const
{
    if (settings_.frameIntervalMs == 0 && !codec_.tellsEveryRate)
        return "";
    return CodecItem("maxframe", std::to_string(FrameRateFromInterval(settings_.frameIntervalMs)));
}

std::string CEncoderRequest::Quality() const
{
    const EncoderQuality quality(settings_.quality, codec_);
    return CodecItem("quant", std::to_string(quality.quant)) +
           CodecItem("qvalue", std::to_string(quality.qvalue));
}

std::string CEncoderRequest::RateControl(const RateSettings& rates) const
{
    std::string text = CodecItem("intraperiod", "1000");
    if (rates.qualityMode == QualityMode::kVbr)
        text += CodecItem("ratecontrolmode", "vbr") + Quality();
    else if (rates.qualityMode == QualityMode::kCbr)
        text += CodecItem("ratecontrolmode", "cbr") +
                CodecItem("bitrate", std::to_string(BitRate(settings_.quality, rates)));
    return text;
}

std::string LegacyMpeg4Changes(const ChannelSettings& settings, std::string_view parameters)
{
    const bool isLimited = Utils::GetParamUInt(parameters, "video.mode", "=", kLineEnd) != k60Hz;
    std::string changes =
        Utils::MakeParamChange(PixelText(settings), parameters, "video.resolution", "=", kLineEnd);
    AddChanges(changes, parameters,
               {{"video.keyinterval", 1},
                {"video.color", 1},
                {"video.quality", 1},
                {"video.quant", EncoderQuality(settings.quality, kMpeg4Encoder).quant},
                {"video.maxframe", AskedRate(settings, isLimited ? kMostWithout60Hz : UINT32_MAX)}});
    return changes;
}

std::string LegacyMjpegChanges(std::uint32_t channel, const ChannelSettings& settings,
                               std::string_view parameters)
{
    const std::string end = "." + std::to_string(channel);
    std::string changes;
    AddChanges(changes, parameters,
               {{"video.enable" + end, 1},
                {"video.color" + end, 1},
                {"video.size" + end, LegacySizeCode(settings)},
                {"video.quality" + end, EncoderQuality(settings.quality, kMjpegEncoder).quant},
                {"video.maxframe" + end, AskedRate(settings)}});
    return changes;
}

std::string LegacyMjpegPath(std::uint32_t channel, const ChannelSettings& settings)
{
    return Utils::FormatString("/cgi-bin/video.jpg?cam=%u&quality=%u&size=%u", channel + 1,
                               EncoderQuality(settings.quality, kMjpegEncoder).quant,
                               LegacySizeCode(settings));
}

} // namespace korvane
