#include "host/device/device.h"

#include "host/base/failure.h"
#include "host/base/text.h"

#include <larkmoor/device_property.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <limits>

namespace larkmoor::host
{

using namespace korvane::ipcapture;

namespace
{

constexpr std::uintmax_t kLargestFile = 1u << 20;
constexpr const char* kNone = "(none)";

std::string ForChannel(std::string path, std::uint32_t channel)
{
    ReplaceAll(path, "%c", std::to_string(channel));
    ReplaceAll(path, "%C", std::to_string(channel + 1));
    return path;
}

std::string PathList(const std::vector<std::string>& streams, std::uint32_t channels)
{
    std::string list;
    for (std::uint32_t channel = 0; channel < channels; ++channel)
    {
        list += channel == 0 ? "" : ",";
        for (std::size_t stream = 0; stream < streams.size(); ++stream)
            list += (stream == 0 ? "" : "!") + ForChannel(streams[stream], channel);
    }
    return list;
}

template <typename Number>
void ReadField(const nlohmann::json& object, const char* key, Number& field,
               std::uint64_t most = std::numeric_limits<Number>::max())
{
    const auto found = object.find(key);
    if (found == object.end())
        return;
    if (!found->is_number_unsigned() || found->get<std::uint64_t>() > most)
        throw std::runtime_error(std::string("\"") + key + "\" is no number from 0 to " +
                                 std::to_string(most));
    field = found->get<Number>();
}

void ReadField(const nlohmann::json& object, const char* key, std::string& field)
{
    const auto found = object.find(key);
    if (found == object.end())
        return;
    if (!found->is_string())
        throw std::runtime_error(std::string("\"") + key + "\" is no text");
    field = found->get<std::string>();
}

void ReadProperties(const nlohmann::json& object, std::map<std::uint32_t, std::string>& properties)
{
    const auto found = object.find("properties");
    if (found == object.end())
        return;
    if (!found->is_object())
        throw std::runtime_error("\"properties\" is no object");
    for (const auto& [key, value] : found->items())
    {
        const auto number = ReadNumber<std::uint32_t>(key, kLargestProperty);
        if (!number || *number == 0 || !value.is_string())
            throw std::runtime_error("property \"" + key + "\" is no number with a text");
        properties[*number] = value.get<std::string>();
    }
}

void ReadCodec(const nlohmann::json& object, Codec& codec)
{
    std::string name = "h264";
    ReadField(object, "codec", name);
    const auto found = kCodecs.find(name);
    if (found == kCodecs.end())
        throw std::runtime_error("\"codec\" is none of h264, mpeg4, mjpeg");
    codec = found->second;
}

} // namespace

StreamPaths UsualPaths(std::uint32_t channels)
{
    StreamPaths paths;
    if (channels < 2)
    {
        paths.http = {"video.mjpg", "video2.mjpg", "video3.mjpg", "video4.mjpg"};
        paths.rtsp = {"live.sdp", "live2.sdp", "live3.sdp", "live4.sdp"};
    }
    else
    {
        paths.http = {"video%C_1.mjpg", "video%C_2.mjpg"};
        paths.rtsp = {"live%C_1.sdp", "live%C_2.sdp"};
    }
    return paths;
}

std::string StreamTable(const StreamPaths& paths, std::uint32_t channels)
{
    const std::size_t streams = std::max<std::size_t>({paths.http.size(), paths.rtsp.size(), 1});
    return std::to_string(streams) + ';' + PathList(paths.http, channels) + ';' +
           PathList(paths.rtsp, channels);
}

void FillProperties(Device& device, const StreamPaths& paths, Transport transport)
{
    const std::map<std::uint32_t, std::string> usual = {
        {kPropertyVideoStandard, "0"},       // PAL
        {kPropertyCameraVideoStandard, "0"}, // the same
        {kPropertyRtspPort, std::to_string(paths.rtspPort)},
        {kPropertyPresetCount, "0"},
        {kPropertyPTZFlags, "00000000"},
        {kPropertyCameraType, "1"}, // sizes by number
        {kPropertyJpegOverHttp, transport == Transport::Http ? "1" : "0"},
        {kPropertyFrameMode, "0"},
        {kPropertyDiscontinuedDevice, "0"},
        {kPropertyPTZMinSpeed, "1"},
        {kPropertyPTZMaxSpeed, "7"},
        {kPropertyZoomMinSpeed, "1"},
        {kPropertyZoomMaxSpeed, "6"},
        {kPropertyStreams, StreamTable(paths, device.channels)},
        {kPropertyPTZType, "0"},
        {kPropertyPTZSubtype, kNone},
        {kPropertyAudioInputCodecs, kNone},
        {kPropertyAudioOutputCodecs, kNone},
    };
    device.properties.insert(usual.begin(), usual.end());

    std::uint32_t last = 0;
    for (const auto& [number, text] : device.properties)
        last = number < kPropertyAudioInput ? number : last;
    // Those of audio are asked for one by one, all others by counting up.
    for (std::uint32_t number = 1; number < last; ++number)
        device.properties.emplace(number, kNone);
}

Device ReadDeviceFile(const std::filesystem::path& file)
try
{
    if (std::filesystem::file_size(file) > kLargestFile)
        throw std::runtime_error("larger than a megabyte");
    std::ifstream stream(file);
    const nlohmann::json object = nlohmann::json::parse(stream);
    if (!object.is_object())
        throw std::runtime_error("no JSON object");

    Device device;
    ReadField(object, "address", device.address);
    ReadField(object, "port", device.port);
    ReadField(object, "user", device.user);
    ReadField(object, "password", device.password);
    ReadField(object, "model", device.model);
    ReadCodec(object, device.codec);
    ReadField(object, "channels", device.channels, kMostChannels);
    ReadField(object, "inputs", device.inputs, kMostContacts);
    ReadField(object, "outputs", device.outputs, kMostContacts);
    ReadProperties(object, device.properties);
    return device;
}
catch (const std::exception& error)
{
    throw Failure(ExitStatus::Usage, "device file " + file.string() + ": " + error.what());
}

} // namespace larkmoor::host
