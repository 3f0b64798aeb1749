#pragma once

#include "host/base/failure.h"
#include "host/device/private_folder.h"
#include "host/verbs/options.h"

#include <string>

namespace larkmoor::host
{

bool IsPtzAction(const std::string& name);
std::string PtzActionNames(); ///< of those that move, for `--help`

/// Moves the head of a device: by its actions, or by the keyboard. `Refused` if the driver did not take a
/// command. Throws `Failure` for what keeps it from beginning.
ExitStatus Ptz(const PrivateFolder& folder, const PtzOptions& options);

} // namespace larkmoor::host
