#pragma once

#include "camera/device/parameter_store.h"
#include "camera/device/profile.h"
#include "camera/media/audio_encoder.h"
#include "camera/media/encoded_frame.h"

#include <optional>

namespace larkmoor::camera
{

/// How the sound of the stream is to be encoded now, by the device's parameters; nothing if it has none, or
/// if the stream leaves it out.
std::optional<AudioSettings> ReadAudioSettings(const ParameterStore& store, StreamId id);

/// How the stream is to be encoded now, by the device's parameters; what they leave out or have odd stays as
/// VideoSettings has it.
VideoSettings ReadVideoSettings(const ParameterStore& store, const Profile& profile, StreamId id);

/// Adds to a change of parameters what follows from it: a quality step (`..._quant`) that comes without a
/// quality value (`..._qvalue`) brings the value of that step along.
void CompleteQuality(ParameterStore::Items& items);

} // namespace larkmoor::camera
