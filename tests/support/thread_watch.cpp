#include "support/thread_watch.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

namespace korvane::test
{

namespace
{

// The value of `key` in the status that the system keeps of a thread.
std::string ReadStatus(std::uint32_t threadId, const std::string& key)
{
    std::ifstream status("/proc/self/task/" + std::to_string(threadId) + "/status");
    for (std::string line; std::getline(status, line);)
    {
        if (line.starts_with(key + ":\t"))
            return line.substr(key.size() + 2);
    }
    return {};
}

template <class Predicate>
bool WaitFor(Predicate predicate)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!predicate())
    {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::yield();
    }
    return true;
}

} // namespace

bool WaitUntilAsleep(std::uint32_t threadId)
{
    return WaitFor([&] { return ReadStatus(threadId, "State").starts_with("S"); });
}

bool WaitUntilHalted(std::uint32_t threadId)
{
    // A halted thread has every signal blocked that can be: the lowest sixteen but KILL.
    return WaitFor(
        [&]
        {
            const std::string blocked = ReadStatus(threadId, "SigBlk");
            return blocked.ends_with("feff") && ReadStatus(threadId, "State").starts_with("S");
        });
}

int CountOpenDescriptors()
{
    int count = -1; // the listing's own
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
    {
        static_cast<void>(entry);
        ++count;
    }
    return count;
}

} // namespace korvane::test
