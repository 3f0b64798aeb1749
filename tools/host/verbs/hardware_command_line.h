#pragma once

#include "host/verbs/options.h"

namespace CLI
{
class App;
}

namespace larkmoor::host
{

/// Adds what the verbs of heads, inputs and outputs take, beyond what all take. Both objects outlive the
/// parsing.
void AddPtz(CLI::App& app, PtzOptions& options);
void AddPreset(CLI::App& app, PresetOptions& options);
void AddIo(CLI::App& app, IoOptions& options);

} // namespace larkmoor::host
