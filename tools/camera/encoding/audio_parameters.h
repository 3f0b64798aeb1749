#pragma once

#include "camera/device/parameter_store.h"
#include "camera/device/streams.h"
#include "camera/media/audio_settings.h"

#include <optional>

namespace larkmoor::camera
{

/// How the sound of the stream is to be encoded now, by the device's parameters; nothing if it has none, or
/// if the stream leaves it out.
std::optional<AudioSettings> ReadAudioSettings(const ParameterStore& store, StreamId id);

} // namespace larkmoor::camera
