#pragma once

#include "host/device/device.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace larkmoor::host
{

/// The name of the file in which the driver looks for what an administrator has chosen.
constexpr const char* kSettingsFileName = "Larkmoor.xml";

/// The settings that make the driver use `transport` for every device. With `bitRate` (bits a second) the
/// encoders are told to keep to that rate; without it they keep to the quality that the host asks for. With
/// `audioCodec` that codec is asked for, if device and host have it.
std::string SettingsText(Transport transport, std::optional<std::uint32_t> bitRate,
                         const std::string& audioCodec = "");

/// The settings for devices at 127.0.0.1, by HTTP port: RTP as its transport has it. Multicast counts for all
/// if one of them has it.
std::string SettingsText(const std::vector<std::pair<std::uint16_t, Transport>>& devices);

} // namespace larkmoor::host
