#include "camera/rtsp/session_description.h"

#include <cstdio>

namespace larkmoor::camera
{
namespace
{

constexpr std::size_t kProfileBytes = 3; // profile_idc, constraint flags, level_idc behind the NAL header

bool IsBroken(const FaultPlan& faults, const char* what)
{
    return faults.Active("sdp-broken", "all") || faults.Active("sdp-broken", what);
}

std::string HexOf(const Bytes& bytes)
{
    constexpr const char* kDigits = "0123456789ABCDEF";
    std::string text;
    for (const std::uint8_t byte : bytes)
        text += {kDigits[byte >> 4], kDigits[byte & 0x0F]};
    return text;
}

std::string ProfileOf(const Bytes& sps)
{
    char text[2 * kProfileBytes + 1] = "";
    if (sps.size() > kProfileBytes)
        std::snprintf(text, sizeof text, "%02X%02X%02X", sps[1], sps[2], sps[3]);
    return text;
}

std::string ConnectionLine(const RtspTarget& target, const FaultPlan& faults)
{
    if (IsBroken(faults, "ipv6"))
        return "c=IN IP6 ::1\r\n";
    if (target.group.empty() || !target.announceGroup)
        return "c=IN IP4 0.0.0.0\r\n";
    return "c=IN IP4 " + target.group + "/" + std::to_string(target.ttl) + "\r\n";
}

std::string FormatLine(const DescribedVideo& video, const FaultPlan& faults)
{
    if (faults.Active("sprop-missing", "no-line"))
        return {};
    const std::string head = "a=fmtp:" + std::to_string(video.payloadType);
    if (video.codec == VideoCodec::Mpeg4)
        return head + " profile-level-id=1;config=" + HexOf(video.parameterSets.config) + "\r\n";
    std::string line = head + " packetization-mode=1";
    if (const std::string profile = ProfileOf(video.parameterSets.sps); !profile.empty())
        line += ";profile-level-id=" + profile;
    if (!faults.Active("sprop-missing"))
        line += ";sprop-parameter-sets=" + Base64(video.parameterSets.sps) + "," +
                Base64(video.parameterSets.pps);
    return line + "\r\n";
}

} // namespace

std::string Base64(std::span<const std::uint8_t> bytes)
{
    constexpr const char* kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); at += 3)
    {
        const std::size_t count = std::min<std::size_t>(3, bytes.size() - at);
        std::uint32_t group = 0;
        for (std::size_t i = 0; i < 3; ++i)
            group = group << 8 | (i < count ? bytes[at + i] : 0u);
        for (std::size_t i = 0; i < 4; ++i)
            text += i <= count ? kLetters[group >> (18 - 6 * i) & 0x3F] : '=';
    }
    return text;
}

std::string DescribeVideo(const DescribedVideo& video, const FaultPlan& faults)
{
    const bool announces = !video.target.group.empty() && video.target.announceGroup;
    const std::string type = std::to_string(video.payloadType);
    const std::string blanks = IsBroken(faults, "blanks") ? "  " : "";

    std::string text = "v=0\r\n";
    if (!IsBroken(faults, "origin"))
        text += "o=- 1 1 IN IP4 " + video.serverAddress + "\r\n";
    text += "s=RTSP server\r\nt=0 0\r\na=control:*\r\na=range:npt=now-\r\n";
    if (IsBroken(faults, "media"))
        text += "m=whatever 0 RTP/AVP 99\r\na=control:trackID=9\r\n";
    text += "m=video ";
    text += IsBroken(faults, "port") ? "-5" : announces ? std::to_string(video.target.port) : "0";
    text += " RTP/AVP " + type + "\r\n" + ConnectionLine(video.target, faults);
    if (video.codec == VideoCodec::MotionJpeg)
        text += "a=rtpmap:" + type + " JPEG/90000" + blanks + "\r\n";
    else
        text += "a=rtpmap:" + type + (video.codec == VideoCodec::Mpeg4 ? " MP4V-ES/90000" : " H264/90000") +
                blanks + "\r\n" + FormatLine(video, faults);
    text += "a=framerate:" + std::to_string(video.frameRate) + "\r\n";
    text += "a=control:" + video.control + blanks + "\r\n";
    return text;
}

} // namespace larkmoor::camera
