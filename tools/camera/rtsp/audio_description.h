#pragma once

#include "camera/media/audio_settings.h"
#include "camera/media/encoded_frame.h"

#include <string>

namespace larkmoor::camera
{

/// The media section of sound behind that of video: G.711 and G.726 by RFC 3551, AAC by RFC 3640, 4.1, in the
/// high bit-rate mode. `config` is AAC's, `control` relative to the base, or absolute.
std::string DescribeAudio(const AudioSettings& settings, const Bytes& config, const std::string& control);

} // namespace larkmoor::camera
