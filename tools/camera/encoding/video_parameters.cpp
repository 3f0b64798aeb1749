#include "camera/encoding/video_parameters.h"

#include "base/text.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace larkmoor::camera
{

namespace
{

using Size = std::pair<std::uint32_t, std::uint32_t>;
using Steps = std::array<std::uint32_t, 5>; // quantizers of the quality steps 1 to 5, 5 the best

constexpr Steps kMjpegSteps = {180, 140, 100, 60, 20};
constexpr Steps kMpeg4Steps = {28, 22, 16, 10, 4};
constexpr Steps kH264Steps = {46, 36, 26, 16, 6};

std::uint32_t OfStep(const Steps& steps, std::uint32_t step)
{
    return steps[std::clamp<std::uint32_t>(step, 1, 5) - 1];
}

/// "640x480", or a name whose height goes by the video standard.
std::optional<Size> ReadSize(std::string_view text, bool ntsc)
{
    const std::size_t x = text.find('x');
    if (x != std::string_view::npos)
    {
        const auto width = ReadNumber<std::uint32_t>(text.substr(0, x));
        const auto height = ReadNumber<std::uint32_t>(text.substr(x + 1));
        return width && height ? std::optional(Size(*width, *height)) : std::nullopt;
    }
    if (text == "QCIF")
        return Size(176, ntsc ? 120 : 144);
    if (text == "CIF")
        return Size(352, ntsc ? 240 : 288);
    if (text == "4CIF")
        return Size(704, ntsc ? 480 : 576);
    if (text == "D1")
        return Size(720, ntsc ? 480 : 576);
    return std::nullopt;
}

/// Sizes by number, as the older video servers have them.
Size SizeOfCode(std::uint32_t code, bool ntsc)
{
    switch (code)
    {
    case 2:
        return {352, ntsc ? 240 : 288};
    case 3:
        return {704, ntsc ? 480 : 576};
    case 6:
        return {704, ntsc ? 240 : 288};
    default:
        return {176, ntsc ? 120 : 144};
    }
}

VideoCodec ReadCodec(std::string_view text, VideoCodec otherwise)
{
    if (text == "mjpeg")
        return VideoCodec::MotionJpeg;
    if (text == "mpeg4")
        return VideoCodec::Mpeg4;
    return text == "h264" ? VideoCodec::H264 : otherwise;
}

void SetSize(VideoSettings& settings, const std::optional<Size>& size)
{
    if (size)
        std::tie(settings.width, settings.height) = *size;
}

VideoSettings ReadCurrent(const ParameterStore& store, StreamId id)
{
    const std::string stream = "videoin_" + id.Text();
    const bool ntsc = store.Get("status_videomode_c" + std::to_string(id.channel)) != "pal";
    VideoSettings settings;
    settings.codec = ReadCodec(store.Get(stream + "_codectype"), settings.codec);
    SetSize(settings, ReadSize(store.Get(stream + "_resolution"), ntsc));

    const char* const codec = settings.codec == VideoCodec::MotionJpeg ? "mjpeg"
                              : settings.codec == VideoCodec::Mpeg4    ? "mpeg4"
                                                                       : "h264";
    const std::string head = stream + "_" + codec;
    settings.frameRate = store.GetNumber(head + "_maxframe", settings.frameRate);
    settings.quantizer = store.GetNumber(head + "_qvalue", settings.quantizer);
    settings.keyInterval = store.GetNumber(head + "_intraperiod", settings.keyInterval);
    settings.bitrate = store.GetNumber(head + "_bitrate", settings.bitrate);
    if (store.Get(head + "_ratecontrolmode") == "cbr")
        settings.rateControl = RateControl::ConstantBitrate;
    settings.profile = static_cast<H264Profile>(std::min(store.GetNumber(head + "_profile", 0), 2u));
    settings.slices = store.GetNumber(head + "_slices", settings.slices);
    settings.interlaced = store.Get(head + "_interlaced") == "1";
    settings.jpeg422 = store.Get(head + "_sampling") == "422";
    settings.jpegRestart = store.GetNumber(head + "_restart", 0);
    settings.jpegTables = store.Get(head + "_tables") == "1";
    settings.scalingLists = store.Get(head + "_scalinglists") == "1";
    return settings;
}

/// The older firmware: one stream a channel; a video server numbers its channels, a camera does not.
VideoSettings ReadLegacy(const ParameterStore& store, StreamId id)
{
    const std::string channel = "." + std::to_string(id.channel);
    VideoSettings settings;
    if (store.Has("video.size" + channel))
    {
        settings.codec = VideoCodec::MotionJpeg;
        const bool ntsc = store.Get("video.actualmodulation") == "0";
        SetSize(settings, SizeOfCode(store.GetNumber("video.size" + channel, 1), ntsc));
        settings.quantizer = OfStep(kMjpegSteps, store.GetNumber("video.quality" + channel, 3));
        settings.frameRate = store.GetNumber("video.maxframe" + channel, settings.frameRate);
        return settings;
    }
    settings.codec = ReadCodec(store.Get("video.codectype"), VideoCodec::Mpeg4);
    SetSize(settings, ReadSize(store.Get("video.resolution"), true));
    const Steps& steps = settings.codec == VideoCodec::MotionJpeg ? kMjpegSteps : kMpeg4Steps;
    settings.quantizer = OfStep(steps, store.GetNumber("video.quant", 3));
    settings.frameRate = store.GetNumber("video.maxframe", settings.frameRate);
    settings.keyInterval = 1000 * store.GetNumber("video.keyinterval", 1);
    return settings;
}

} // namespace

std::optional<AudioSettings> ReadAudioSettings(const ParameterStore& store, StreamId id)
{
    const std::string head = "audioin_" + id.Text() + "_";
    const std::string codec = store.Get(head + "codectype");
    if (codec.empty())
        return std::nullopt;
    AudioSettings settings;
    settings.muted = store.Get("audioin_c" + std::to_string(id.channel) + "_mute") == "1";
    if (codec == "aac4")
    {
        settings.codec = AudioCodec::Aac;
        settings.bitRate = store.GetNumber(head + "aac4_bitrate", settings.bitRate);
    }
    else if (codec == "g726")
    {
        settings.codec = AudioCodec::G726;
        settings.bitRate = store.GetNumber(head + "g726_bitrate", 32000);
    }
    else if (store.Get(head + "g711_mode") == "pcma")
        settings.codec = AudioCodec::G711ALaw;
    return settings;
}

VideoSettings ReadVideoSettings(const ParameterStore& store, const Profile& profile, StreamId id)
{
    return profile.legacy ? ReadLegacy(store, id) : ReadCurrent(store, id);
}

void CompleteQuality(ParameterStore::Items& items)
{
    constexpr std::string_view kStep = "_quant";
    ParameterStore::Items added;
    for (const auto& [key, value] : items)
    {
        const std::optional<std::uint32_t> step = ReadNumber<std::uint32_t>(value);
        if (!key.ends_with(kStep) || !step)
            continue;
        const std::string head = key.substr(0, key.size() - kStep.size());
        const std::string valueKey = head + "_qvalue";
        const bool given =
            std::any_of(items.begin(), items.end(), [&](const auto& item) { return item.first == valueKey; });
        const Steps& steps = head.ends_with("mjpeg")   ? kMjpegSteps
                             : head.ends_with("mpeg4") ? kMpeg4Steps
                                                       : kH264Steps;
        if (!given)
            added.emplace_back(valueKey, std::to_string(OfStep(steps, *step)));
    }
    items.insert(items.end(), added.begin(), added.end());
}

} // namespace larkmoor::camera
