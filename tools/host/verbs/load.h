#pragma once

#include "host/base/failure.h"
#include "host/device/private_folder.h"
#include "host/verbs/options.h"

namespace larkmoor::host
{

/// Runs many streams at once and prints what they delivered, lost and cost. `NoFrames` if one of them
/// delivered nothing. Throws `Failure` for what keeps it from beginning.
ExitStatus Load(const PrivateFolder& folder, const LoadOptions& options);

} // namespace larkmoor::host
