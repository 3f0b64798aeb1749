#pragma once

#include "host/base/failure.h"
#include "host/device/private_folder.h"
#include "host/verbs/options.h"

namespace larkmoor::host
{

/// Lists, keeps, goes to or forgets presets of a device's head. `Refused` if that failed. Throws `Failure`
/// for what keeps it from beginning.
ExitStatus Preset(const PrivateFolder& folder, const PresetOptions& options);

} // namespace larkmoor::host
