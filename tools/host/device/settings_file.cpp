#include "host/device/settings_file.h"

namespace larkmoor::host
{

std::string SettingsText(Transport transport, std::optional<std::uint32_t> bitRate,
                         const std::string& audioCodec)
{
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Configuration>\n";
    if (transport == Transport::Multicast)
        text += "  <StreamingMode>multicast</StreamingMode>\n";
    text += "  <Default>\n";
    text += std::string("    <RTPMode>") + (transport == Transport::Tcp ? "RTPOVERRTSP" : "RTPOVERUDP") +
            "</RTPMode>\n";
    if (bitRate)
    {
        // A channel picks its rate between the two by its quality; equal bounds leave no choice.
        const std::string rate = std::to_string(*bitRate);
        text += "    <VideoChannel>\n      <QualityMode>CBR</QualityMode>\n";
        text += "      <MinBitrate>" + rate + "</MinBitrate>\n";
        text += "      <MaxBitrate>" + rate + "</MaxBitrate>\n    </VideoChannel>\n";
    }
    if (!audioCodec.empty())
        text +=
            "    <AudioInputChannel>\n      <Codec>" + audioCodec + "</Codec>\n    </AudioInputChannel>\n";
    text += "  </Default>\n</Configuration>\n";
    return text;
}

std::string SettingsText(const std::vector<std::pair<std::uint16_t, Transport>>& devices)
{
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Configuration>\n";
    for (const auto& [port, transport] : devices)
        if (transport == Transport::Multicast)
        {
            text += "  <StreamingMode>multicast</StreamingMode>\n";
            break;
        }
    for (const auto& [port, transport] : devices)
        if (transport == Transport::Tcp)
            text += "  <Device address=\"127.0.0.1\" port=\"" + std::to_string(port) +
                    "\"><RTPMode>RTPOVERRTSP</RTPMode></Device>\n";
    return text + "</Configuration>\n";
}

} // namespace larkmoor::host
