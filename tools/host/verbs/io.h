#pragma once

#include "host/base/failure.h"
#include "host/device/private_folder.h"
#include "host/verbs/options.h"

namespace larkmoor::host
{

/// Prints the inputs of a device as they change, a line each on standard output, and switches outputs.
/// `Refused` if an output was to be switched and the driver lost the device, or took no output. Throws
/// `Failure` for what keeps it from beginning.
ExitStatus Io(const PrivateFolder& folder, const IoOptions& options);

} // namespace larkmoor::host
