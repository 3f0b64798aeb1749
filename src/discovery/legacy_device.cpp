#include "discovery/legacy_device.h"

#include "discovery/camera_properties.h"
#include "discovery/device_limits.h"
#include "http/param_text.h"
#include "runtime/text.h"

namespace korvane
{

namespace
{

constexpr std::uint32_t kMaxCounted = 16; // a count that gets so far is not believed

struct Size
{
    std::uint16_t width;
    std::uint16_t height;
};

/// How many of the numbered keys, from `first` on, have a value without a gap; nothing if all have.
std::optional<std::uint32_t> CountValues(std::string_view text, const std::string& keyStart,
                                         std::uint32_t first)
{
    for (std::uint32_t count = 0; count < kMaxCounted; ++count)
    {
        if (Utils::GetParamValue(text, keyStart + std::to_string(first + count)).empty())
            return count;
    }
    return std::nullopt;
}

void AddRate(LegacyDevice& device, std::string_view text, const std::string& key)
{
    if (const std::uint32_t rate = LeadingNumber(Utils::GetParamValue(text, key)))
        device.frameRates.insert(rate);
}

/// Gives every size the frame time of the highest rate, and the device its default rate. A frame time below
/// the rate as a number is not kept.
void FixResolutions(LegacyDevice& device, std::initializer_list<Size> sizes)
{
    const std::uint32_t highest = *device.frameRates.rbegin();
    const std::uint32_t frameTime = Utils::FrameTimeFromRate(highest);
    device.defaultFrameRate = DefaultOf(device.frameRates);
    for (const Size& size : sizes)
    {
        CameraResolution resolution(size.width, size.height);
        if (frameTime >= highest)
            resolution.AddFrameTime(frameTime);
        device.resolutions.push_back(resolution);
    }
}

/// A video server with a channel for each "video.enable" that it lists, and Motion JPEG over HTTP.
std::optional<LegacyDevice> ReadVS2403(std::string_view text, bool isHostNtsc)
{
    LegacyDevice device;
    device.isNtsc = isHostNtsc;
    device.channelCount = CountValues(text, "video.enable.", 0).value_or(0);
    const std::string modulation = Utils::GetParamValue(text, "video.actualmodulation");
    if (modulation == "0" || modulation == "1")
        device.isNtsc = modulation == "0";
    if (device.channelCount == 0)
        return std::nullopt;
    for (std::uint32_t channel = 0; channel < device.channelCount; ++channel)
        AddRate(device, text, "video.maxframe." + std::to_string(channel));

    device.codec = CCameraProperties::kCodecMotionJpeg;
    device.outputCount = 4;
    device.isJpegOverHttp = true;
    device.frameRates.insert({1, 2, 3, 5, 6, 7, 10, 12, 15, 20, 25});
    if (device.isNtsc)
    {
        device.frameRates.insert(30);
        FixResolutions(device, {{176, 120}, {352, 240}, {704, 240}, {704, 480}});
    }
    else
        FixResolutions(device, {{176, 144}, {352, 288}, {704, 288}, {704, 576}});
    return device;
}

/// A single camera with one MPEG-4 stream over RTSP.
std::optional<LegacyDevice> ReadIP7135(std::string_view text)
{
    LegacyDevice device;
    AddRate(device, text, "video.maxframe");
    device.rtspPort = Utils::GetParamValue(text, "network.rtspport");
    device.rtspName = Utils::GetParamValue(text, "network.accessname");
    if (device.rtspPort.empty() || device.rtspName.empty())
        return std::nullopt;

    device.channelCount = 1;
    device.codec = CCameraProperties::kCodecMpeg4;
    device.frameRates.insert({1, 2, 3, 5, 10, 15, 20, 25});
    if (Utils::GetParamValue(text, "video.mode") == "60")
        device.frameRates.insert(30);
    FixResolutions(device, {{160, 120}, {176, 144}, {320, 240}, {640, 480}});
    return device;
}

bool Contains(std::string_view text, std::string_view part)
{
    return text.find(part) != std::string_view::npos;
}

} // namespace

std::optional<std::uint32_t> CountLegacyInputs(std::string_view text)
{
    return CountValues(text, "system.di", 1);
}

std::optional<LegacyDevice> ReadLegacyDevice(std::string_view model, std::string_view text, bool isHostNtsc)
{
    if (Contains(model, "VS2403"))
        return ReadVS2403(text, isHostNtsc);
    if (Contains(model, "IP7135") || Contains(model, "IP7131"))
        return ReadIP7135(text);
    return std::nullopt;
}

} // namespace korvane
