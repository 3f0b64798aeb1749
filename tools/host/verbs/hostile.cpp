#include "host/verbs/options.h"

#include "host/device/settings_file.h"
#include "host/hostile/hostile_run.h"
#include "host/verbs/bench.h"

#include <larkmoor/device_property.h>

#include <cstdio>
#include <cstdlib>

namespace larkmoor::host
{

namespace
{

using ULL = unsigned long long;

// One that claims to have everything; what it lacks shows as a device that refuses.
Device MakeDevice(const HostileOptions::Stream& stream)
{
    Device device;
    device.port = stream.port;
    device.user = "root";
    device.codec = stream.codec;
    device.inputs = 4;
    device.outputs = 1;
    device.properties = {{kPropertyPresetCount, "20"},
                         {kPropertyPTZFlags, "11111111"},
                         {kPropertyAudioInputCodecs, "aac4,g711,g726"},
                         {kPropertyAudioInput, "Count=1; IsStereo=0"}};
    StreamPaths paths = UsualPaths(1);
    paths.rtspPort = stream.rtspPort;
    FillProperties(device, paths, stream.transport);
    return device;
}

void Print(const HostileResult& result)
{
    std::printf("%-20s %10s %8s %8s %8s\n", "calls of the driver", "calls", "stalled", "threw", "refused");
    for (std::size_t i = 0; i < kOperations.size(); ++i)
    {
        const OperationCounts& counts = result.operations[i];
        std::printf("%-20s %10llu %8llu %8llu %8llu\n", kOperations[i].name, static_cast<ULL>(counts.calls),
                    static_cast<ULL>(counts.stalls), static_cast<ULL>(counts.throws),
                    static_cast<ULL>(counts.refusals));
    }
    std::printf("%-28s %7s %10s %26s\n", "calls of the host", "calls", "longest",
                "longest without its stalls");
    for (std::size_t i = 0; i < kPromises.size(); ++i)
    {
        const PromiseCounts& counts = result.promises[i];
        std::printf("%-28s %7llu %8.2f s %24.2f s\n", kPromises[i].name, static_cast<ULL>(counts.calls),
                    counts.longest, counts.longestOwn);
    }
    for (const GivenUpThread& thread : result.givenUp)
    {
        std::printf("given up: thread %d (%s)", static_cast<int>(thread.thread.id),
                    thread.thread.name.c_str());
        if (thread.side.empty())
            std::printf(", never in the host\n");
        else
            std::printf(" of %s, last in %s for %.1f s", thread.side.c_str(),
                        TraitsOf(thread.lastCall.operation).name, thread.lastCall.seconds);
        for (const std::uint32_t bytes : thread.holds)
            std::printf(", holds a frame of %u bytes", bytes);
        if (!thread.side.empty())
            std::printf("\n");
    }
    std::printf("given up: %zu threads; %llu lines and %llu traces of that, and %llu lines of threads that "
                "ended yet\n",
                result.givenUp.size(), static_cast<ULL>(result.linesOfGivenUp),
                static_cast<ULL>(result.tracesOfGivenUp), static_cast<ULL>(result.linesOfOthers));
    const auto usage = [](const char* when, const ProcessUsage& at)
    {
        std::printf("%-7s %llu threads, %llu descriptors, %s of heap and stacks\n", when,
                    static_cast<ULL>(at.threads), static_cast<ULL>(at.descriptors),
                    ReadableBytes(at.privateBytes).c_str());
    };
    usage("before", result.before);
    usage("after", result.after);
    std::printf("%u cycles, %llu channels started in %.0f s\n", result.cycles,
                static_cast<ULL>(result.starts), result.seconds);
    std::fflush(stdout);
}

nlohmann::ordered_json Report(const HostileOptions& options, const HostileResult& result,
                              const FaultList& faults)
{
    nlohmann::ordered_json report = {{"verb", "hostile"},
                                     {"seed", options.seed},
                                     {"cycles", result.cycles},
                                     {"started_channels", result.starts},
                                     {"seconds", result.seconds}};
    for (std::size_t i = 0; i < kOperations.size(); ++i)
    {
        const OperationCounts& counts = result.operations[i];
        report["operations"][kOperations[i].name] = {{"calls", counts.calls},
                                                     {"stalls", counts.stalls},
                                                     {"throws", counts.throws},
                                                     {"refusals", counts.refusals}};
    }
    for (std::size_t i = 0; i < kPromises.size(); ++i)
    {
        const PromiseCounts& counts = result.promises[i];
        report["promises"][kPromises[i].name] = {{"calls", counts.calls},
                                                 {"longest_seconds", counts.longest},
                                                 {"longest_own_seconds", counts.longestOwn}};
    }
    report["given_up_threads"] = result.givenUp.size();
    report["given_up_lines"] = result.linesOfGivenUp;
    report["given_up_traces"] = result.tracesOfGivenUp;
    const auto usage = [](const ProcessUsage& at)
    {
        return nlohmann::ordered_json{
            {"threads", at.threads}, {"descriptors", at.descriptors}, {"private_bytes", at.privateBytes}};
    };
    report["before"] = usage(result.before);
    report["after"] = usage(result.after);
    report["contract_faults"] = faults.Count();
    report["contract_fault_texts"] = faults.Texts();
    return report;
}

ExitStatus Judge(Console& console, const FaultList& faults, const HostileOptions& options,
                 const HostileResult& result)
{
    for (const std::string& text : faults.Texts())
        console.Line("contract broken: " + text);
    if (faults.Count() != 0)
        return ExitStatus::Contract;
    if (result.cycles < options.cycles)
        return ExitStatus::Interrupted;
    const auto delivered = static_cast<std::size_t>(Operation::DeliverFrame);
    return result.operations[delivered].calls == 0 ? ExitStatus::NoFrames : ExitStatus::Done;
}

} // namespace

ExitStatus Run(const PrivateFolder& folder, const HostileOptions& options)
{
    setenv("LARKMOOR_DEBUG", "1", 1); // for the traces of threads that are given up without a line
    const TraceCounter traces("was given up");
    std::vector<std::pair<std::uint16_t, Transport>> transports;
    HostileRun::Plan plan{{},           options.cycles,       options.atOnce,
                          options.seed, options.longestStall, options.longestUse};
    for (const HostileOptions::Stream& stream : options.streams)
    {
        transports.emplace_back(stream.port, stream.transport);
        plan.devices.push_back(MakeDevice(stream));
    }
    folder.Write(kSettingsFileName, SettingsText(transports));
    folder.Write("bastrel.dll.version", "7.4.4.0\n"); // from here on hosts take AAC

    Console console;
    FaultList faults;
    const DriverLibrary library(options.library);
    const HostileResult result = HostileRun(library, traces, faults, console, plan).Run();
    Print(result);
    const ExitStatus status = Judge(console, faults, options, result);
    nlohmann::ordered_json report = Report(options, result, faults);
    report["exit_status"] = static_cast<int>(status);
    WriteReport(options.json, report);
    return status;
}

} // namespace larkmoor::host
