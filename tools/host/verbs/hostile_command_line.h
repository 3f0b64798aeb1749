#pragma once

#include "host/verbs/options.h"

namespace CLI
{
class App;
}

namespace larkmoor::host
{

/// Adds what the verb of the hostile host takes. Both objects outlive the parsing.
void AddHostile(CLI::App& app, HostileOptions& options);

} // namespace larkmoor::host
