#include "host/device/device.h"

#include "host/base/failure.h"
#include "host/base/text.h"

#include <nlohmann/json.hpp>

#include <fstream>
#include <limits>

namespace larkmoor::host
{

namespace
{

constexpr std::uintmax_t kLargestFile = 1u << 20;
constexpr std::uint32_t kFirstAudioProperty = 101; // asked for one by one, not by counting up
constexpr const char* kNone = "(none)";

void ReplaceAll(std::string& text, std::string_view what, const std::string& by)
{
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size())
        text.replace(at, what.size(), by);
}

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
    static const std::map<std::string, Codec> kNames = {
        {"mjpeg", Codec::Mjpeg}, {"mpeg4", Codec::Mpeg4}, {"h264", Codec::H264}};
    std::string name = "h264";
    ReadField(object, "codec", name);
    const auto found = kNames.find(name);
    if (found == kNames.end())
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
        {1, "0"},                                      // video standard: PAL
        {2, "0"},                                      // the camera's own
        {3, std::to_string(paths.rtspPort)},           // RTSP port
        {4, "0"},                                      // presets
        {5, "00000000"},                               // PTZ capability flags
        {6, "1"},                                      // numeric resolutions
        {7, transport == Transport::Http ? "1" : "0"}, // Motion JPEG over HTTP
        {8, "0"},                                      // no field-to-frame request
        {9, "0"},                                      // not the legacy interface
        {10, "1"},                                     // speed ranges
        {11, "7"},
        {12, "1"},
        {13, "6"},
        {14, StreamTable(paths, device.channels)},
        {15, "0"}, // PTZ type
        {16, kNone},
        {17, kNone},
        {18, kNone},
    };
    device.properties.insert(usual.begin(), usual.end());

    std::uint32_t last = 0;
    for (const auto& [number, text] : device.properties)
        last = number < kFirstAudioProperty ? number : last;
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
