#include "camera/rtsp/session_description.h"

#include "base/text.h"
#include "camera/rtsp/audio_packets.h"

namespace larkmoor::camera
{

namespace
{

std::string EncodingOf(const AudioSettings& settings)
{
    std::string text = FormatOf(settings.codec).encoding;
    if (settings.codec == AudioCodec::G726)
        text += "-" + std::to_string(settings.bitRate / 1000);
    text += "/" + std::to_string(settings.SampleRate());
    return settings.codec == AudioCodec::Aac ? text + "/1" : text;
}

constexpr std::size_t kProfileBytes = 3; // profile_idc, constraint flags, level_idc behind the NAL header

bool IsBroken(const FaultPlan& faults, const char* what)
{
    return faults.Active("sdp-broken", "all") || faults.Active("sdp-broken", what);
}

std::string HexOf(std::span<const std::uint8_t> bytes)
{
    return Hex(bytes, "0123456789ABCDEF");
}

std::string ProfileOf(const Bytes& sps)
{
    return sps.size() > kProfileBytes ? HexOf(std::span(sps).subspan(1, kProfileBytes)) : "";
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

std::string DescribeAudio(const AudioSettings& settings, const Bytes& config, const std::string& control)
{
    const std::string type = std::to_string(FormatOf(settings.codec).payloadType);
    std::string text = "m=audio 0 RTP/AVP " + type + "\r\nc=IN IP4 0.0.0.0\r\n";
    text += "a=rtpmap:" + type + " " + EncodingOf(settings) + "\r\n";
    if (settings.codec == AudioCodec::Aac)
        text += "a=fmtp:" + type + " streamtype=5;profile-level-id=15;mode=AAC-hbr;config=" + Hex(config) +
                ";sizelength=13;indexlength=3;indexdeltalength=3\r\n";
    return text + "a=control:" + control + "\r\n";
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
