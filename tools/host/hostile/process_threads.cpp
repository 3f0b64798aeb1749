#include "host/hostile/process_threads.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace larkmoor::host
{

namespace
{

// Every signal that can be blocked, but for the two that the C library keeps.
constexpr std::uint64_t kAllSignals = 0xFFFFFFFE7FFBFEFF;

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
            thread.isHalted = (std::stoull(line.substr(value), nullptr, 16) & kAllSignals) == kAllSignals;
    }
    return thread;
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

} // namespace larkmoor::host
