#pragma once

#include "host/base/failure.h"
#include "host/device/private_folder.h"
#include "host/verbs/options.h"

namespace larkmoor::host
{

/// Records one channel until its time is over or somebody interrupts, prints what came of it, and says
/// whether it did what was asked. Throws `Failure` for what keeps it from beginning.
ExitStatus Record(const PrivateFolder& folder, const RecordOptions& options);

} // namespace larkmoor::host
