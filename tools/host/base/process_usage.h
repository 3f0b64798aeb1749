#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <sys/types.h>

namespace larkmoor::host
{

struct ProcessThread
{
    pid_t id = 0;
    std::string name;      ///< as its maker called it, cut by the system
    bool isHalted = false; ///< for good: it takes no signal any more, as a thread that the driver gave up
};

/// All threads of this process now.
std::vector<ProcessThread> ThreadsOfProcess();

/// What this process holds and has used at one moment.
struct ProcessUsage
{
    std::uint64_t residentBytes = 0; ///< code of libraries that has been touched included
    std::uint64_t privateBytes = 0;  ///< of these, heap and stacks
    std::uint64_t threads = 0;
    std::uint64_t descriptors = 0; ///< without the one that looking needs
    double processorSeconds = 0;   ///< user and system, since the process began
};

/// Looks at this process now. Free memory that the allocator keeps back is given to the system first, so that
/// two looks can be compared.
ProcessUsage MeasureProcess();

} // namespace larkmoor::host
