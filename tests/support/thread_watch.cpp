#include "support/thread_watch.h"

#include "support/watched.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

namespace korvane::test
{

namespace
{

// Waits until the status that the system keeps of a thread (proc(5)) tells that it sleeps, and holds `part`.
bool WaitUntilAsleepWith(std::uint32_t threadId, const char* part)
{
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (std::chrono::steady_clock::now() < end)
    {
        std::ifstream file("/proc/self/task/" + std::to_string(threadId) + "/status");
        const std::string status{std::istreambuf_iterator<char>(file), {}};
        if (status.find("\nState:\tS") != std::string::npos && status.find(part) != std::string::npos)
            return true;
        std::this_thread::yield();
    }
    return false;
}

} // namespace

bool WaitUntilAsleep(std::uint32_t threadId)
{
    return WaitUntilAsleepWith(threadId, "");
}

bool WaitUntilHalted(std::uint32_t threadId)
{
    // A halted thread has every signal blocked that can be: the lowest sixteen but KILL.
    return WaitUntilAsleepWith(threadId, "feff\nSigIgn:"); // what ends the line of the blocked ones
}

int CountOpenDescriptors()
{
    const std::filesystem::directory_iterator listing("/proc/self/fd");
    return static_cast<int>(std::distance(listing, {})) - 1; // the listing's own
}

} // namespace korvane::test
