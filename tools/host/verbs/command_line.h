#pragma once

#include "host/verbs/options.h"

#include <variant>

namespace larkmoor::host
{

using Command = std::variant<QueryOptions, RecordOptions, WatchOptions, AudioOptions, LoadOptions, PtzOptions,
                             PresetOptions, IoOptions, HostileOptions>;

/// A command line that needs no work: help was asked for, or it can't be understood. The text has been
/// printed.
struct NoCommand
{
    int exitStatus = 0;
};

/// Reads the command line. Prints help and complaints itself. Throws `Failure` (Usage) for a device file that
/// can't be read.
std::variant<Command, NoCommand> ReadCommandLine(int argc, const char* const* argv);

} // namespace larkmoor::host
