#include "device/settings_file.h"

#include "runtime/text.h"
#include "runtime/xml_parser.h"

#include <algorithm>

namespace korvane
{

namespace
{

using Utils::FormatString;
using Utils::ToUInt32;

constexpr const char* kDefaultNode = "Configuration/Default";
constexpr std::uint32_t kSmallestBlocksize = 101;

std::string PathOf(const std::string& hostDirectory, const std::string& driverName)
{
    if (driverName.empty())
        return {};
    const bool isClosed =
        hostDirectory.empty() || hostDirectory.back() == '/' || hostDirectory.back() == '\\';
    return hostDirectory + (isClosed ? "" : "/") + driverName + ".xml";
}

std::string DeviceNode(const DEVICE_INFO& deviceInfo)
{
    return "Configuration/Device[@address=" + platform::XmlDocument::Literal(deviceInfo.address) +
           FormatString("][@port=\"%u\"]", unsigned{deviceInfo.port});
}

std::string DeviceOrDefault(const CXMLParser& file, const DEVICE_INFO& deviceInfo)
{
    std::string device = DeviceNode(deviceInfo);
    return file.HasNode(device) ? device : kDefaultNode;
}

std::string ChannelNode(const CXMLParser& file, const DEVICE_INFO& deviceInfo, std::uint32_t channel)
{
    const std::string any = DeviceOrDefault(file, deviceInfo) + "/VideoChannel";
    std::string own = any + FormatString("[@id=\"%u\"]", unsigned{channel});
    return file.HasNode(own) ? own : any;
}

/// The value of the first word that occurs anywhere in `text`, in either case.
template <typename Mode>
void TakeMode(const std::string& text, std::initializer_list<std::pair<const char*, Mode>> words, Mode& mode)
{
    const std::string upper = Utils::ToUpper(text);
    const auto* const found = std::ranges::find_if(words, [&](const auto& word)
                                                   { return upper.find(word.first) != std::string::npos; });
    if (found != words.end())
        mode = found->second;
}

/// The settings for one device, key by key: those of its own element before the defaults of the file.
class DeviceReader
{
public:
    DeviceReader(const CXMLParser& file, const DEVICE_INFO& deviceInfo)
        : file_(file), device_(DeviceNode(deviceInfo))
    {
    }

    bool Has(const std::string& key) const { return file_.HasKey(device_, kDefaultNode, key); }
    std::string Text(const std::string& key) const { return file_.ReadText(device_, kDefaultNode, key); }

    std::vector<std::string> AttributeList(const std::string& key, const std::string& name) const
    {
        return file_.ReadAttributeList(device_, kDefaultNode, key, name);
    }

    PTZCapability Capability(const std::string& key) const
    {
        PTZCapability capability;
        capability.type = Number(key, "type");
        capability.subtype = file_.ReadAttribute(device_, kDefaultNode, key, "subtype");
        capability.minMove = Number(key, "minmove");
        capability.maxMove = Number(key, "maxmove");
        capability.minZoom = Number(key, "minzoom");
        capability.maxZoom = Number(key, "maxzoom");
        return capability;
    }

private:
    std::uint32_t Number(const std::string& key, const std::string& name) const
    {
        return ToUInt32(file_.ReadAttribute(device_, kDefaultNode, key, name));
    }

    const CXMLParser& file_;
    const std::string device_;
};

} // namespace

CSettingsFile::CSettingsFile(const std::string& hostDirectory, const std::string& driverName,
                             const std::string& systemDirectory)
    : path_(PathOf(hostDirectory, driverName)), systemPath_(PathOf(systemDirectory, driverName))
{
}

CSettingsFile::CSettingsFile(const std::string& driverName)
    : CSettingsFile(platform::HostDirectory(), driverName)
{
}

CSettingsFile::CSettingsFile(const IDriver& driver)
    : CSettingsFile(driver.GetHostDirectory(), driver.GetDriverName())
{
}

void CSettingsFile::OpenIn(CXMLParser& file) const
{
    file.Open(platform::IsFileThere(path_) ? path_ : systemPath_);
}

RateSettings CSettingsFile::ReadRateSettings(const DEVICE_INFO& deviceInfo, std::uint32_t channel) const
{
    RateSettings settings;
    CXMLParser file;
    OpenIn(file);
    // One node decides: what a device's own element leaves out is not looked for in the file's defaults.
    const std::string node = ChannelNode(file, deviceInfo, channel);
    const auto read = [&](const char* key) { return file.ReadText(node, node, key); };

    TakeMode(read("/QualityMode"),
             {{"VBR", QualityMode::kVbr}, {"CBR", QualityMode::kCbr}, {"AUTO", QualityMode::kAuto}},
             settings.qualityMode);
    TakeMode(
        read("/VideoMode"),
        {{"FRAMERATE", VideoMode::kFrameRate}, {"QUALITY", VideoMode::kQuality}, {"AUTO", VideoMode::kAuto}},
        settings.videoMode);
    const std::uint32_t lowest = ToUInt32(read("/MinBitrate"));
    const std::uint32_t highest = ToUInt32(read("/MaxBitrate"));
    if (lowest != 0 && highest != 0 && lowest <= highest)
    {
        settings.minBitrate = lowest;
        settings.maxBitrate = highest;
    }
    return settings;
}

TransportSettings CSettingsFile::ReadTransportSettings(const DEVICE_INFO& deviceInfo) const
{
    TransportSettings settings;
    CXMLParser file;
    OpenIn(file);
    const DeviceReader reader(file, deviceInfo);

    TakeMode(reader.Text("/RTPMode"), {{"RTPOVERRTSP", RtpMode::kInterleaved}}, settings.rtpMode);
    const std::uint32_t blocksize = ToUInt32(reader.Text("/RTPBlocksize"));
    if (blocksize >= kSmallestBlocksize)
        settings.blocksize = blocksize;
    if (reader.Has("/PTZ/DeafultCapability"))
        settings.defaultPTZ = reader.Capability("/PTZ/DeafultCapability");
    for (const std::string& model : reader.AttributeList("/PTZ/SpecCapability", "device"))
    {
        if (settings.specialPTZ.size() == kMaxSpecialPTZ)
            break;
        const std::string key = "/PTZ/SpecCapability[@device=" + platform::XmlDocument::Literal(model) + "]";
        settings.specialPTZ.push_back(reader.Capability(key));
        settings.specialPTZ.back().device = model;
    }
    return settings;
}

StreamingMode CSettingsFile::ReadStreamingMode() const
{
    CXMLParser file;
    OpenIn(file);
    const std::string text = Utils::ToLower(file.GetText("Configuration/StreamingMode"));
    if (text.find("multicast") == std::string::npos)
        return StreamingMode::kUnicast;
    return text.find("primary") != std::string::npos ? StreamingMode::kMulticastPrimary
                                                     : StreamingMode::kMulticast;
}

AudioCodecs CSettingsFile::ReadAudioCodecs(const DEVICE_INFO& deviceInfo) const
{
    CXMLParser file;
    OpenIn(file);
    const DeviceReader reader(file, deviceInfo);
    return {reader.Text("AudioInputChannel/Codec"), reader.Text("AudioOutputChannel/Codec")};
}

} // namespace korvane
