#pragma once

#include "host/contract/capability_store.h"

#include <nlohmann/json.hpp>

#include <filesystem>

namespace larkmoor::host
{

/// The codec codes of a report: 8 H.264, 6 MPEG-4, 7 Motion JPEG, as the names that device files have,
/// the one that a recorder would choose first.
std::vector<std::string> CodecNames(const DeviceReport& report);

/// What `ReadDeviceFile` reads, and behind it, for whoever chooses among them, what the device offers:
/// "codecs", "sizes", "frame_times" and "default_frame_time" (milliseconds).
nlohmann::ordered_json DeviceFile(const DeviceReport& report);

/// Writes it, for the eyes of this user alone: it holds the password. Throws `Failure` (Output).
void WriteDeviceFile(const std::filesystem::path& file, const DeviceReport& report);

} // namespace larkmoor::host
