#pragma once

#include "host/base/failure.h"
#include "host/device/private_folder.h"
#include "host/verbs/options.h"

namespace larkmoor::host
{

/// Starts and stops drivers as a host that stalls, throws, refuses and gives null, and prints what came of
/// it. `Contract` if the driver broke a promise, `NoFrames` if no picture came at all. Throws `Failure` for
/// what keeps it from beginning.
ExitStatus Hostile(const PrivateFolder& folder, const HostileOptions& options);

} // namespace larkmoor::host
