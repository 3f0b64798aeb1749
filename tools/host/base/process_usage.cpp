#include "host/base/process_usage.h"

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>

#include <malloc.h>

namespace larkmoor::host
{

namespace
{

std::uint64_t CountDescriptors()
{
    std::uint64_t count = 0;
    std::error_code error;
    for (std::filesystem::directory_iterator it("/proc/self/fd", error), end; !error && it != end;
         it.increment(error))
        ++count;
    return count > 0 ? count - 1 : 0; // the directory itself was open
}

} // namespace

ProcessUsage MeasureProcess()
{
    malloc_trim(0);

    ProcessUsage usage;
    usage.descriptors = CountDescriptors();
    std::ifstream status("/proc/self/status");
    for (std::string key; status >> key;)
    {
        std::uint64_t value = 0;
        if (key == "VmRSS:" && status >> value)
            usage.residentBytes = value * 1024;
        else if (key == "RssAnon:" && status >> value)
            usage.privateBytes = value * 1024;
        else if (key == "Threads:" && status >> value)
            usage.threads = value;
        std::string rest;
        std::getline(status, rest);
    }

    std::timespec used{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
    usage.processorSeconds = static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) / 1e9;
    return usage;
}

} // namespace larkmoor::host
