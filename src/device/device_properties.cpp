#include "device/device_properties.h"

#include "runtime/text.h"

#include <algorithm>

namespace korvane
{

namespace
{

constexpr std::uint16_t kDefaultRtspPort = 554;

CStreamPathTable::Paths ReadPaths(std::string_view text)
{
    CStreamPathTable::Paths paths;
    for (const std::string& channel : Utils::SplitString(text, ','))
        paths.push_back(Utils::SplitString(channel, '!'));
    return paths;
}

std::string Joined(const std::vector<std::string>& items, char delimiter)
{
    std::string text;
    for (std::size_t at = 0; at < items.size(); ++at)
        text += (at == 0 ? "" : std::string(1, delimiter)) + items[at];
    return text;
}

std::string PathText(const CStreamPathTable::Paths& paths)
{
    std::vector<std::string> channels;
    for (const std::vector<std::string>& streams : paths)
        channels.push_back(Joined(streams, '!'));
    return Joined(channels, ',');
}

} // namespace

CStreamPathTable::CStreamPathTable(std::string_view text)
{
    if (std::ranges::count(text, ';') != 2)
        return;
    const std::size_t first = text.find(';');
    const std::size_t second = text.find(';', first + 1);
    streamCount = Utils::ToUInt32(text.substr(0, first));
    http = ReadPaths(text.substr(first + 1, second - first - 1));
    rtsp = ReadPaths(text.substr(second + 1));
}

std::string CStreamPathTable::Text() const
{
    return std::to_string(streamCount) + ";" + PathText(http) + ";" + PathText(rtsp);
}

std::string CStreamPathTable::At(const Paths& paths, std::uint32_t channel, std::uint32_t stream)
{
    return channel < paths.size() && stream < paths[channel].size() ? paths[channel][stream] : "";
}

DeviceFacts::DeviceFacts(const IDriver& driver)
    : notation(static_cast<ResolutionNotation>(driver.GetPropertyInt(ipcapture::kPropertyCameraType))),
      hasFieldToFrame(driver.GetPropertyText(ipcapture::kPropertyFrameMode) == "1"),
      isLegacy(driver.GetPropertyText(ipcapture::kPropertyDiscontinuedDevice) == "1"),
      rtspPort(static_cast<std::uint16_t>(driver.GetPropertyInt(ipcapture::kPropertyRtspPort))),
      streams(driver.GetPropertyText(ipcapture::kPropertyStreams))
{
    if (rtspPort == 0)
        rtspPort = kDefaultRtspPort;
}

} // namespace korvane
