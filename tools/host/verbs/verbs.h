#pragma once

#include "host/base/failure.h"
#include "host/device/private_folder.h"
#include "host/verbs/options.h"

#include <string>

namespace larkmoor::host
{

// Each verb works on the main thread, and throws `Failure` for what keeps it from beginning.

/// Asks a device what it is, prints that, and saves a device file if one is wanted. The status tells why it
/// came to nothing.
ExitStatus Run(const PrivateFolder& folder, const QueryOptions& options);

/// Records one channel until its time is over or somebody interrupts, prints what came of it, and says
/// whether it did what was asked.
ExitStatus Run(const PrivateFolder& folder, const RecordOptions& options);

/// Shows the channels of a device live in a table, drawn over in place on a terminal, until the time is over
/// or somebody interrupts. `NoFrames` if a channel delivered nothing.
ExitStatus Run(const PrivateFolder& folder, const WatchOptions& options);

/// Records the sound of one channel, and shows how loud it is.
ExitStatus Run(const PrivateFolder& folder, const AudioOptions& options);

/// Runs many streams at once and prints what they delivered, lost and cost. `NoFrames` if one of them
/// delivered nothing.
ExitStatus Run(const PrivateFolder& folder, const LoadOptions& options);

/// Moves the head of a device: by its actions, or by the keyboard. `Refused` if the driver did not take a
/// command.
ExitStatus Run(const PrivateFolder& folder, const PtzOptions& options);

/// Lists, keeps, goes to or forgets presets of a device's head. `Refused` if that failed.
ExitStatus Run(const PrivateFolder& folder, const PresetOptions& options);

/// Prints the inputs of a device as they change, a line each on standard output, and switches outputs.
/// `Refused` if an output was to be switched and the driver lost the device, or took no output.
ExitStatus Run(const PrivateFolder& folder, const IoOptions& options);

/// Starts and stops drivers as a host that stalls, throws, refuses and gives null, and prints what came of
/// it. `Contract` if the driver broke a promise, `NoFrames` if no picture came at all.
ExitStatus Run(const PrivateFolder& folder, const HostileOptions& options);

bool IsPtzAction(const std::string& name);
std::string PtzActionNames(); ///< of those that move, for `--help`

} // namespace larkmoor::host
