#include "host/base/process_usage.h"

#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

#include <malloc.h>
#include <sys/syscall.h>

namespace larkmoor::host
{

namespace
{

// Every signal that can be blocked, but for the two that the C library keeps.
constexpr std::uint64_t kAllSignals = 0xFFFFFFFE7FFBFEFF;

/// The system call of a thread that waits for a signal: what `pause` becomes.
#ifdef SYS_pause
constexpr long kPauseCall = SYS_pause;
#else
constexpr long kPauseCall = SYS_ppoll;
#endif

/// A thread blocks all signals for a moment too, when it makes another thread, and some library's do for as
/// long as they live. Only one that was given up waits for a signal that can't come.
bool WaitsForASignal(const std::filesystem::path& folder)
{
    std::ifstream file(folder / "syscall");
    long call = -1;
    return file >> call && call == kPauseCall;
}

ProcessThread ReadThread(const std::filesystem::path& folder)
{
    ProcessThread thread;
    thread.id = static_cast<pid_t>(std::stol(folder.filename().string()));
    std::ifstream status(folder / "status");
    for (std::string line; std::getline(status, line);)
    {
        const std::size_t value = line.find('\t') + 1;
        if (line.starts_with("Name:"))
            thread.name = line.substr(value);
        else if (line.starts_with("SigBlk:"))
            thread.isHalted = (std::stoull(line.substr(value), nullptr, 16) & kAllSignals) == kAllSignals &&
                              WaitsForASignal(folder);
    }
    return thread;
}

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

std::vector<ProcessThread> ThreadsOfProcess()
{
    std::vector<ProcessThread> threads;
    std::error_code ended; // threads come and go meanwhile
    for (std::filesystem::directory_iterator it("/proc/self/task", ended), end; !ended && it != end;
         it.increment(ended))
        threads.push_back(ReadThread(it->path()));
    return threads;
}

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
