#include "host/verbs/options.h"

#include "host/verbs/bench.h"

#include <larkmoor/capture_io.h>

#include <algorithm>
#include <cstdio>
#include <mutex>

namespace larkmoor::host
{

namespace
{

using std::chrono::milliseconds;

constexpr milliseconds kInputsPoll(50);
constexpr std::size_t kMostChanges = 1000; // kept for the report

const char* NameOf(std::uint32_t state)
{
    switch (state)
    {
    case kSignalLow:
        return "low";
    case kSignalHigh:
        return "high";
    default:
        return "unknown";
    }
}

// Prints what the driver tells, on its threads.
class InputPrinter final : public IHostIOClient
{
public:
    void InputChanged(std::uint32_t number, std::uint32_t state) override
    {
        Note("input " + std::to_string(number) + " " + NameOf(state));
    }

    void ConnectionLost() override
    {
        Note("connection lost");
        const std::lock_guard guard(lock_);
        ++lost_;
    }

    std::uint64_t Lost() const
    {
        const std::lock_guard guard(lock_);
        return lost_;
    }

    nlohmann::ordered_json Changes() const
    {
        const std::lock_guard guard(lock_);
        return changes_;
    }

private:
    void Note(const std::string& what)
    {
        const double seconds = MonotonicSeconds() - start_;
        const std::lock_guard guard(lock_);
        std::printf("%8.2f s  %s\n", seconds, what.c_str());
        std::fflush(stdout);
        if (changes_.size() < kMostChanges)
            changes_.push_back({{"seconds", seconds}, {"what", what}});
    }

    const double start_ = MonotonicSeconds();
    mutable std::mutex lock_; // over what follows and the order of lines
    nlohmann::ordered_json changes_ = nlohmann::ordered_json::array();
    std::uint64_t lost_ = 0;
};

// Switches and waits until the time is over.
ExitStatus Follow(ICaptureIOApi& io, const IoOptions& options, Console& console)
{
    bool good = true;
    auto next = options.switches.begin();
    const double start = MonotonicSeconds();
    for (;;)
    {
        const milliseconds now(static_cast<long>((MonotonicSeconds() - start) * 1000));
        for (; next != options.switches.end() && next->at <= now; ++next)
        {
            const bool exists = next->output < io.GetOutputCount();
            const bool taken = exists && io.SetOutput(next->output, next->on ? kSignalHigh : kSignalLow);
            console.Line("output " + std::to_string(next->output) + (next->on ? " on" : " off") +
                         (taken    ? ""
                          : exists ? ": refused"
                                   : ": the device has no such output"));
            good = good && taken;
        }
        const bool isOver = options.seconds && now >= *options.seconds;
        if (!isOver && !Interrupt::WaitFor(kInputsPoll))
            continue;
        if (!isOver && next != options.switches.end())
            return ExitStatus::Interrupted;
        return good ? ExitStatus::Done : ExitStatus::Refused;
    }
}

} // namespace

ExitStatus Run(const PrivateFolder& folder, const IoOptions& options)
{
    Bench bench(folder, options.common, {});
    InputPrinter client;
    ExitStatus status = ExitStatus::Refused;
    {
        OpenDriver driver(bench, options.common.device);
        ICaptureIOApi* const io = driver.Driver().GetIO();
        if (io == nullptr)
            throw Failure(ExitStatus::NoDriver, "the driver gives no inputs and outputs");
        bench.console.Line("inputs " + std::to_string(io->GetInputCount()) + ", outputs " +
                           std::to_string(io->GetOutputCount()));
        io->SetClient(&client);
        if (io->StartIO())
            status = Follow(*io, options, bench.console);
        if (status == ExitStatus::Done && !options.switches.empty() && client.Lost() != 0)
            status = ExitStatus::Refused; // asked before the stop, which may end a poll
        io->StopIO();
    }
    status = JudgeOrders(bench, status);
    WriteReport(options.common.json, {{"verb", "io"},
                                      {"changes", client.Changes()},
                                      {"connection_lost", client.Lost()},
                                      {"log_and_frames", HostSideReport(bench)},
                                      {"exit_status", static_cast<int>(status)}});
    return status;
}

} // namespace larkmoor::host
