#include "host/hostile/trace_counter.h"

#include "host/base/failure.h"

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <thread>

#include <sys/mman.h>
#include <unistd.h>

namespace larkmoor::host
{

namespace
{

constexpr const char* kMark = "larkmoor-host: all traces up to here\n"; // not passed on
constexpr std::size_t kLongestLine = 64 * 1024;
constexpr std::chrono::seconds kPatience(10);

void WriteAll(int to, const char* data, std::size_t size)
{
    while (size != 0)
    {
        const ssize_t wrote = write(to, data, size);
        if (wrote <= 0)
            return;
        data += wrote;
        size -= static_cast<std::size_t>(wrote);
    }
}

} // namespace

TraceCounter::TraceCounter(std::string part)
{
    void* const memory =
        mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    int ends[2] = {};
    if (memory == MAP_FAILED || pipe(ends) != 0)
        throw Failure(ExitStatus::Internal, "can't count what is written to standard error");
    shared_ = new (memory) Shared{};
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child < 0)
        throw Failure(ExitStatus::Internal, "can't start a process that counts traces");
    if (child == 0)
    {
        close(ends[1]);
        PassOn(ends[0], STDERR_FILENO, part, *shared_);
    }
    dup2(ends[1], STDERR_FILENO);
    close(ends[0]);
    close(ends[1]);
}

void TraceCounter::PassOn(int from, int to, const std::string& part, Shared& shared)
{
    // It ends when the last one that could write has ended.
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        std::signal(signal, SIG_IGN);
    std::string line;
    std::array<char, 4096> block{};
    for (ssize_t got = 0; (got = read(from, block.data(), block.size())) > 0;)
    {
        for (const char c : std::string_view(block.data(), static_cast<std::size_t>(got)))
        {
            line += c;
            if (c != '\n' && line.size() < kLongestLine)
                continue;
            if (line == kMark)
            {
                ++shared.marks;
                line.clear();
                continue;
            }
            shared.found += line.find(part) != std::string::npos ? 1 : 0;
            WriteAll(to, line.data(), line.size());
            line.clear();
        }
    }
    WriteAll(to, line.data(), line.size());
    _exit(0);
}

std::uint64_t TraceCounter::Count() const
{
    const std::uint64_t before = shared_->marks;
    std::fputs(kMark, stderr);
    std::fflush(stderr);
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (shared_->marks == before && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return shared_->found;
}

} // namespace larkmoor::host
