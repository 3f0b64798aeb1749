#include "discovery/current_device.h"

#include "discovery/camera_properties.h"
#include "discovery/device_limits.h"
#include "http/param_text.h"
#include "runtime/text.h"

#include <algorithm>

namespace korvane
{

namespace
{

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
            codes.push_back(CCameraProperties::kCodecMotionJpeg);
        else if (name == "mpeg4")
            codes.push_back(CCameraProperties::kCodecMpeg4);
        else if (name == "h264")
            codes.push_back(CCameraProperties::kCodecH264);
    }
    return codes;
}

} // namespace

std::optional<CurrentVideo> ReadCurrentVideo(std::string_view text, bool isHostNtsc)
{
    CurrentVideo video;
    video.channelCount = Count(text, "capability_nvideoin", video.channelCount, kMaxChannels);
    video.streamCount = Count(text, "capability_nmediastream", video.streamCount, kMaxStreams);
    video.isNtsc = IsNtsc(text, isHostNtsc);
    video.codecs = Codecs(text);
    if (video.codecs.empty())
        return std::nullopt;

    const std::vector<std::string> sizes = List(text, "capability_videoin_resolution");
    const std::vector<std::uint32_t> rates = ReadFrameRates(List(text, "capability_videoin_maxframerate"),
                                                            sizes.size(), video.isNtsc, video.frameRates);
    video.resolutions = MatchResolutions(sizes, rates, video.isNtsc);
    if (video.resolutions.notation == ResolutionNotation::None)
        return std::nullopt;
    return video;
}

std::uint32_t ReadSignalCount(std::string_view text, std::string_view key)
{
    std::int32_t count = 0;
    const bool isCount = Utils::IsInteger(Utils::GetParamValue(text, key), count) && count >= 0 &&
                         count <= static_cast<std::int32_t>(kMaxSignals);
    return isCount ? static_cast<std::uint32_t>(count) : 0;
}

} // namespace korvane
