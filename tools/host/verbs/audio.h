#pragma once

#include "host/base/failure.h"
#include "host/device/private_folder.h"
#include "host/verbs/options.h"

namespace larkmoor::host
{

/// Records the sound of one channel, and shows how loud it is.
ExitStatus Audio(const PrivateFolder& folder, const AudioOptions& options);

} // namespace larkmoor::host
