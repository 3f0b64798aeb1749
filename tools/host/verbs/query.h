#pragma once

#include "host/base/failure.h"
#include "host/device/private_folder.h"
#include "host/verbs/options.h"

namespace larkmoor::host
{

/// Asks a device what it is, prints that, and saves a device file if one is wanted. The status tells why it
/// came to nothing. Throws `Failure` for what keeps it from beginning.
ExitStatus Query(const PrivateFolder& folder, const QueryOptions& options);

} // namespace larkmoor::host
