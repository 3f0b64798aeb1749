#pragma once

#include "host/contract/capability_store.h"

#include <cstdio>

namespace larkmoor::host
{

/// What a person wants to know of the device, to `out`.
void PrintDevice(const DeviceReport& report, std::FILE* out);

/// Every number, size and parameter as it came, to `out`, but for the password.
void PrintRaw(const DeviceReport& report, std::FILE* out);

} // namespace larkmoor::host
