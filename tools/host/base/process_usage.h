#pragma once

#include <cstdint>

namespace larkmoor::host
{

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
