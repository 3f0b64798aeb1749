#pragma once

#include "host/contract/audio_client.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace larkmoor::host
{

/// "G.711 mu-law, 8000 Hz, mono, 64 kbit/s"
std::string SoundName(const FrameInfo& info);

/// What came of an audio channel, for a report; moments count from `start`.
nlohmann::ordered_json AudioReport(const AudioCounts& counts, double start);

/// A line to standard output, beginning "audio".
void PrintAudioSummary(const AudioCounts& counts, double start);

/// The codes of all formats that the bench host takes.
std::vector<std::uint32_t> AllAudioFormats();

} // namespace larkmoor::host
