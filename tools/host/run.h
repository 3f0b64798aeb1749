#pragma once

namespace larkmoor::host
{

/// The whole program: reads the command line, does what it says, and returns the exit status.
int Run(int argc, char** argv);

} // namespace larkmoor::host
