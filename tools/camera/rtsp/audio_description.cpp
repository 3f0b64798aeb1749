#include "camera/rtsp/audio_description.h"

#include "camera/rtsp/audio_packets.h"

#include <cstdio>

namespace larkmoor::camera
{
namespace
{

std::string EncodingOf(const AudioSettings& settings)
{
    const std::string rate = "/" + std::to_string(settings.SampleRate());
    switch (settings.codec)
    {
    case AudioCodec::G711MuLaw:
        return "PCMU" + rate;
    case AudioCodec::G711ALaw:
        return "PCMA" + rate;
    case AudioCodec::G726:
        return "G726-" + std::to_string(settings.bitRate / 1000) + rate;
    case AudioCodec::Aac:
        break;
    }
    return "mpeg4-generic" + rate + "/1";
}

std::string Hex(const Bytes& bytes)
{
    std::string text;
    for (const std::uint8_t byte : bytes)
    {
        char two[3];
        std::snprintf(two, sizeof two, "%02x", byte);
        text += two;
    }
    return text;
}

} // namespace

std::string DescribeAudio(const AudioSettings& settings, const Bytes& config, const std::string& control)
{
    const std::string type = std::to_string(AudioPayloadType(settings));
    std::string text = "m=audio 0 RTP/AVP " + type + "\r\nc=IN IP4 0.0.0.0\r\n";
    text += "a=rtpmap:" + type + " " + EncodingOf(settings) + "\r\n";
    if (settings.codec == AudioCodec::Aac)
        text += "a=fmtp:" + type + " streamtype=5;profile-level-id=15;mode=AAC-hbr;config=" + Hex(config) +
                ";sizelength=13;indexlength=3;indexdeltalength=3\r\n";
    return text + "a=control:" + control + "\r\n";
}

} // namespace larkmoor::camera
