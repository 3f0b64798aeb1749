#include "camera/encoding/video_parameters.h"

#include "base/text.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace larkmoor::camera
{

namespace
{

using Size = std::pair<std::uint32_t, std::uint32_t>;

constexpr VideoCodec kCodecs[] = {VideoCodec::MotionJpeg, VideoCodec::Mpeg4, VideoCodec::H264};

/// Quantizers of the quality steps 1 to 5, 5 the best, for each codec.
constexpr std::uint32_t kSteps[][5] = {{180, 140, 100, 60, 20}, {28, 22, 16, 10, 4}, {46, 36, 26, 16, 6}};

/// Sizes whose height goes by the video standard; the older video servers have numbers for them.
struct NamedSize
{
    std::string_view name;
    std::uint32_t code, width, ntscHeight, palHeight;
};
constexpr NamedSize kNamedSizes[] = {
    {"QCIF", 1, 176, 120, 144}, {"CIF", 2, 352, 240, 288}, {"4CIF", 3, 704, 480, 576},
    {"", 6, 704, 240, 288},     {"D1", 0, 720, 480, 576},
};

std::uint32_t OfStep(VideoCodec codec, std::uint32_t step)
{
    return kSteps[static_cast<std::size_t>(codec)][std::clamp<std::uint32_t>(step, 1, 5) - 1];
}

template <typename Key>
std::optional<Size> FindSize(Key NamedSize::*member, const Key& key, bool ntsc)
{
    for (const NamedSize& size : kNamedSizes)
    {
        if (size.*member == key)
            return Size(size.width, ntsc ? size.ntscHeight : size.palHeight);
    }
    return std::nullopt;
}

/// "640x480", or a name.
std::optional<Size> ReadSize(std::string_view text, bool ntsc)
{
    const auto size = ReadPair<std::uint32_t>(text, 'x');
    return size || text.empty() ? size : FindSize(&NamedSize::name, text, ntsc);
}

VideoCodec ReadCodec(std::string_view text, VideoCodec otherwise)
{
    const auto* const found = std::ranges::find(kCodecs, text, NameOf);
    return found == std::end(kCodecs) ? otherwise : *found;
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

    const std::string head = stream + "_" + NameOf(settings.codec);
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
        SetSize(settings, FindSize(&NamedSize::code, store.GetNumber("video.size" + channel, 1), ntsc));
        settings.quantizer = OfStep(settings.codec, store.GetNumber("video.quality" + channel, 3));
        settings.frameRate = store.GetNumber("video.maxframe" + channel, settings.frameRate);
        return settings;
    }
    settings.codec = ReadCodec(store.Get("video.codectype"), VideoCodec::Mpeg4);
    SetSize(settings, ReadSize(store.Get("video.resolution"), true));
    settings.quantizer = OfStep(settings.codec, store.GetNumber("video.quant", 3));
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
        const auto* const codec =
            std::ranges::find_if(kCodecs, [&](VideoCodec each) { return head.ends_with(NameOf(each)); });
        if (!given && codec != std::end(kCodecs))
            added.emplace_back(valueKey, std::to_string(OfStep(*codec, *step)));
    }
    items.insert(items.end(), added.begin(), added.end());
}

} // namespace larkmoor::camera
