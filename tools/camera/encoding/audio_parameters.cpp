#include "camera/encoding/audio_parameters.h"

#include <string>

namespace larkmoor::camera
{

std::optional<AudioSettings> ReadAudioSettings(const ParameterStore& store, StreamId id)
{
    const std::string head = "audioin_" + id.Text() + "_";
    const std::string codec = store.Get(head + "codectype");
    if (codec.empty())
        return std::nullopt;
    AudioSettings settings;
    settings.muted = store.Get("audioin_c" + std::to_string(id.channel) + "_mute") == "1";
    if (codec == "aac4")
    {
        settings.codec = AudioCodec::Aac;
        settings.bitRate = store.GetNumber(head + "aac4_bitrate", settings.bitRate);
    }
    else if (codec == "g726")
    {
        settings.codec = AudioCodec::G726;
        settings.bitRate = store.GetNumber(head + "g726_bitrate", 32000);
    }
    else if (store.Get(head + "g711_mode") == "pcma")
        settings.codec = AudioCodec::G711ALaw;
    return settings;
}

} // namespace larkmoor::camera
