#pragma once

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

} // namespace larkmoor::host
