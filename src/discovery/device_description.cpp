#include "discovery/device_description.h"

#include "runtime/param_text.h"

#include <algorithm>
#include <utility>

namespace korvane
{

namespace
{

constexpr std::uint32_t kMaxCounted = 16; // a count that gets so far is not believed

std::vector<std::string> List(std::string_view text, std::string_view key)
{
    std::vector<std::string> list =
        Utils::GetParamList(text, key, Utils::kParamAssign, ",", Utils::kParamSeparators);
    list.resize(std::min(list.size(), kMaxListEntries));
    return list;
}

/// A count of which 0 says that it isn't known.
std::uint32_t Count(std::string_view text, std::string_view key, std::uint32_t unknown, std::uint32_t most)
{
    const std::uint32_t count = Utils::GetParamUInt(text, key);
    return count == 0 ? unknown : std::min(count, most);
}

/// A count of digital inputs or outputs, 0 if it isn't told or can't be true.
std::uint32_t SignalCount(std::string_view text, std::string_view key)
{
    std::int32_t count = 0;
    const bool isCount = Utils::IsInteger(Utils::GetParamValue(text, key), count) && count >= 0 &&
                         count <= static_cast<std::int32_t>(kMaxSignals);
    return isCount ? static_cast<std::uint32_t>(count) : 0;
}

bool IsNtsc(std::string_view text, bool isHostNtsc)
{
    std::string standard = Utils::GetParamValue(text, "status_videomode_c0");
    if (standard.empty())
        standard = Utils::GetParamValue(text, "status_videoactualmodulation");
    return standard == "ntsc" || (standard != "pal" && isHostNtsc);
}

std::vector<std::uint32_t> Codecs(std::string_view text)
{
    std::vector<std::uint32_t> codes;
    for (const std::string& name : List(text, "capability_videoin_codec"))
    {
        if (name == "mjpeg")
            codes.push_back(CCameraProperties::kCapabilityCodecMotionJpeg);
        else if (name == "mpeg4")
            codes.push_back(CCameraProperties::kCapabilityCodecMpeg4);
        else if (name == "h264")
            codes.push_back(CCameraProperties::kCapabilityCodecH264);
    }
    return codes;
}

/// How many of the numbered keys, from `first` on, have a value without a gap; 0 if all have.
std::uint32_t CountValues(std::string_view text, const std::string& keyStart, std::uint32_t first)
{
    for (std::uint32_t count = 0; count < kMaxCounted; ++count)
        if (Utils::GetParamValue(text, keyStart + std::to_string(first + count)).empty())
            return count;
    return 0;
}

void AddRate(DeviceDescription& device, std::string_view text, const std::string& key)
{
    if (const std::uint32_t rate = LeadingNumber(Utils::GetParamValue(text, key)))
        device.frameRates.insert(rate);
}

/// Gives every size the frame time of the highest rate, and the device as its default the lowest rate that is
/// at least half of the highest. A frame time below the rate as a number is not kept.
void FixResolutions(DeviceDescription& device, std::vector<CameraResolution> sizes)
{
    const std::uint32_t highest = *device.frameRates.rbegin();
    const std::uint32_t frameTime = Utils::FrameTimeFromRate(highest);
    device.defaultFrameRate = *device.frameRates.lower_bound(highest / 2);
    for (CameraResolution& size : sizes)
    {
        if (frameTime >= highest)
            size.frameTimes.Add(frameTime);
    }
    device.resolutions.resolutions = std::move(sizes);
}

/// A video server with a channel for each "video.enable" that it lists, and Motion JPEG over HTTP.
std::optional<DeviceDescription> DescribeVS2403(DeviceDescription device, std::string_view text,
                                                bool isHostNtsc)
{
    const std::string modulation = Utils::GetParamValue(text, "video.actualmodulation");
    device.isNtsc = modulation == "0" || (modulation != "1" && isHostNtsc);
    device.channelCount = CountValues(text, "video.enable.", 0);
    if (device.channelCount == 0)
        return std::nullopt;
    for (std::uint32_t channel = 0; channel < device.channelCount; ++channel)
        AddRate(device, text, "video.maxframe." + std::to_string(channel));

    device.codecs = {CCameraProperties::kCapabilityCodecMotionJpeg};
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

/// A single camera with one MPEG-4 stream over RTSP, always PAL.
std::optional<DeviceDescription> DescribeIP7135(DeviceDescription device, std::string_view text)
{
    AddRate(device, text, "video.maxframe");
    device.rtspPort = Utils::GetParamValue(text, "network.rtspport");
    device.rtspName = Utils::GetParamValue(text, "network.accessname");
    if (device.rtspPort.empty() || device.rtspName.empty())
        return std::nullopt;

    device.codecs = {CCameraProperties::kCapabilityCodecMpeg4};
    device.frameRates.insert({1, 2, 3, 5, 10, 15, 20, 25});
    if (Utils::GetParamValue(text, "video.mode") == "60")
        device.frameRates.insert(30);
    FixResolutions(device, {{160, 120}, {176, 144}, {320, 240}, {640, 480}});
    return device;
}

} // namespace

std::optional<DeviceDescription> DescribeCurrent(std::string_view text, bool isHostNtsc)
{
    DeviceDescription device;
    device.inputCount = SignalCount(text, "capability_ndi");
    device.outputCount = SignalCount(text, "capability_ndo");
    device.channelCount = Count(text, "capability_nvideoin", device.channelCount, kMaxChannels);
    device.streamCount = Count(text, "capability_nmediastream", device.streamCount, kMaxStreams);
    device.isNtsc = IsNtsc(text, isHostNtsc);
    device.codecs = Codecs(text);

    const std::vector<std::string> sizes = List(text, "capability_videoin_resolution");
    const std::vector<std::uint32_t> rates = ReadFrameRates(List(text, "capability_videoin_maxframerate"),
                                                            sizes.size(), device.isNtsc, device.frameRates);
    device.resolutions = MatchResolutions(sizes, rates, device.isNtsc);
    if (device.codecs.empty() || device.resolutions.notation == ResolutionNotation::None)
        return std::nullopt;
    device.defaultFrameRate = std::min(device.defaultFrameRate, device.resolutions.lowestRate);
    return device;
}

std::optional<DeviceDescription> DescribeLegacy(std::string_view model, std::string_view text,
                                                bool isHostNtsc)
{
    const auto isModel = [model](std::string_view name)
    { return model.find(name) != std::string_view::npos; };
    DeviceDescription device;
    device.inputCount = CountValues(text, "system.di", 1);
    if (isModel("VS2403"))
        return DescribeVS2403(device, text, isHostNtsc);
    if (isModel("IP7135") || isModel("IP7131"))
        return DescribeIP7135(device, text);
    return std::nullopt;
}

} // namespace korvane
