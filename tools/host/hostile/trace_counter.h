#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include <sys/types.h>

namespace larkmoor::host
{

/// Counts the lines on standard error that hold a certain text. A process of its own passes standard error on
/// as it comes and counts, so that the report of a sanitizer gets out whatever becomes of this process.
class TraceCounter
{
public:
    /// Takes standard error over, until the process ends. Before threads are started. Throws `Failure`
    /// (Internal).
    explicit TraceCounter(std::string part);

    TraceCounter(const TraceCounter&) = delete;
    TraceCounter& operator=(const TraceCounter&) = delete;

    /// Of all that has been written up to now.
    std::uint64_t Count() const;

private:
    struct Shared
    {
        std::atomic<std::uint64_t> found, marks;
    };

    [[noreturn]] static void PassOn(int from, int to, const std::string& part, Shared& shared);

    Shared* shared_; // with the other process
};

} // namespace larkmoor::host
