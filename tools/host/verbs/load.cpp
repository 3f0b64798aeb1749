#include "host/verbs/options.h"

#include "host/verbs/bench.h"
#include "host/verbs/load_round.h"

#include <cstdio>

namespace larkmoor::host
{

namespace
{

ExitStatus Judge(Bench& bench, const LoadOptions& options, std::size_t silent)
{
    if (const ExitStatus contract = JudgeContract(bench); contract != ExitStatus::Done)
        return contract;
    if (Interrupt::Requested() && (options.time.seconds || silent != 0))
        return ExitStatus::Interrupted;
    return silent == 0 ? ExitStatus::Done : ExitStatus::NoFrames;
}

} // namespace

ExitStatus Run(const PrivateFolder& folder, const LoadOptions& options)
{
    Bench bench(folder, options.common, options.stream);
    const Device& device = options.common.device;
    bench.console.Line("loading " + std::to_string(options.drivers) + " drivers with " +
                       std::to_string(options.channels) + " streams each, " +
                       StreamName(device.codec, options.stream.transport) + " from " + device.address + ":" +
                       std::to_string(device.port));

    nlohmann::ordered_json report = ReportHead("load", options.common, &options.stream);
    report.update({{"drivers", options.drivers}, {"streams_per_driver", options.channels}});
    report["rounds"] = nlohmann::ordered_json::array();
    std::size_t silent = 0;
    for (std::uint32_t round = 0; round < options.rounds && !Interrupt::Requested(); ++round)
    {
        DelayHistogram delays;
        const LoadResult result = LoadRound(bench, options, delays).Run();
        if (options.rounds > 1)
            std::printf("round %u of %u\n", round + 1, options.rounds);
        PrintLoad(result, delays);
        report["rounds"].push_back(LoadReport(result, delays));
        silent += result.silent;
    }

    const ExitStatus status = Judge(bench, options, silent);
    report.update(HostSideReport(bench));
    report["exit_status"] = static_cast<int>(status);
    WriteReport(options.common.json, report);
    return status;
}

} // namespace larkmoor::host
