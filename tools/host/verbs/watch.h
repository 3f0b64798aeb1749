#pragma once

#include "host/base/failure.h"
#include "host/device/private_folder.h"
#include "host/verbs/options.h"

namespace larkmoor::host
{

/// Shows the channels of a device live in a table, drawn over in place on a terminal, until the time is over
/// or somebody interrupts. `NoFrames` if a channel delivered nothing. Throws `Failure` for what keeps it from
/// beginning.
ExitStatus Watch(const PrivateFolder& folder, const WatchOptions& options);

} // namespace larkmoor::host
