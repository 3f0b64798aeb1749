#include "gstreamer/device_choice.h"

#include "gstreamer/location.h"
#include "gstreamer/problem.h"

#include <larkmoor/device_property.h>

#include <cstdlib>
#include <optional>

namespace larkmoor::gst
{

using namespace korvane::ipcapture;

namespace
{

host::Device DeviceOfFile(const std::string& file)
try
{
    return host::ReadDeviceFile(file);
}
catch (const std::exception& error)
{
    throw Problem(GST_RESOURCE_ERROR_SETTINGS, error.what());
}

void Apply(const Location& location, host::Device& device, host::StreamPaths& paths)
{
    device.address = location.host;
    device.port = location.port;
    if (!location.user.empty())
        device.user = location.user;
    if (!location.password.empty())
        device.password = location.password;
    if (location.rtspPort)
        device.properties[kPropertyRtspPort] = std::to_string(*location.rtspPort);
    if (!location.path.empty())
    {
        paths.http = paths.rtsp = {location.path};
        device.properties[kPropertyStreams] = host::StreamTable(paths, device.channels);
    }
}

void ApplyCodec(const SourceSettings& settings, host::Device& device)
{
    const bool isHttp = settings.transport == TransportChoice::Http;
    if (isHttp && settings.codec != CodecChoice::Auto && settings.codec != CodecChoice::Mjpeg)
        throw Problem(GST_RESOURCE_ERROR_SETTINGS, "transport http has Motion JPEG alone");
    if (isHttp || settings.codec == CodecChoice::Mjpeg)
        device.codec = host::Codec::Mjpeg;
    else if (settings.codec == CodecChoice::H264)
        device.codec = host::Codec::H264;
    else if (settings.codec == CodecChoice::Mpeg4)
        device.codec = host::Codec::Mpeg4;
    if (settings.transport != TransportChoice::Auto)
        device.properties[kPropertyJpegOverHttp] = isHttp ? "1" : "0";
}

/// A device file that a query wrote says what sound the device has; for any other device it is believed to
/// have what is asked for.
void ApplyAudio(const SourceSettings& settings, host::Device& device)
{
    if (settings.audio == AudioChoice::None)
        return;
    if (!device.properties.contains(kPropertyAudioInput))
    {
        if (!settings.deviceFile.empty())
            throw Problem(GST_RESOURCE_ERROR_SETTINGS,
                          "audio is asked for, and the device file names no audio input (property 101)");
        device.properties[kPropertyAudioInput] = "Count=1; IsStereo=0";
        device.properties[kPropertyAudioInputCodecs] = "aac4,g711,g726";
    }
}

} // namespace

host::Device ChooseDevice(SourceSettings& settings)
{
    if (settings.deviceFile.empty() && settings.location.empty())
        throw Problem(GST_RESOURCE_ERROR_SETTINGS, "neither location nor device-file is set");
    host::Device device;
    host::StreamPaths paths;
    if (!settings.deviceFile.empty())
        device = DeviceOfFile(settings.deviceFile);
    std::optional<Location> location;
    if (!settings.location.empty())
    {
        location = ReadLocation(settings.location);
        settings.channel = location->channel.value_or(settings.channel);
    }
    if (settings.deviceFile.empty())
        device.channels = settings.channel + 1;
    if (settings.channel >= device.channels)
        throw Problem(GST_RESOURCE_ERROR_SETTINGS, "channel " + std::to_string(settings.channel) +
                                                       " of a device with " +
                                                       std::to_string(device.channels));
    paths = host::UsualPaths(device.channels);
    if (location)
        Apply(*location, device, paths);
    if (!settings.user.empty())
        device.user = settings.user;
    if (!settings.password.empty())
        device.password = settings.password;
    if (const char* const secret = std::getenv("LARKMOOR_PASSWORD"); device.password.empty() && secret)
        device.password = secret;
    ApplyCodec(settings, device);
    ApplyAudio(settings, device);
    host::FillProperties(device, paths, host::Transport::Udp);
    return device;
}

} // namespace larkmoor::gst
