#include "host/verbs/options.h"

#include "host/base/web_probe.h"
#include "host/verbs/bench.h"

#include <chrono>
#include <cstdio>

namespace larkmoor::host
{

namespace
{

constexpr std::size_t kLongestName = 1024; // a camera's name may have any length

std::vector<std::string> NamesOf(IIPPTZApi& head)
{
    std::vector<std::string> names;
    const std::uint32_t count = head.GetPresetCount();
    for (std::uint32_t index = 0; index < count; ++index)
    {
        char name[kLongestName] = "";
        head.GetPresetName(index, name, sizeof name);
        names.emplace_back(name);
    }
    return names;
}

std::int32_t Do(IIPPTZApi& head, const PresetOptions& options)
{
    switch (options.what)
    {
    case PresetOptions::What::Add:
        return head.AddPreset(options.name.c_str());
    case PresetOptions::What::Go:
        return head.RecallPreset(options.speed, options.name.c_str());
    case PresetOptions::What::Delete:
        return head.DeletePreset(options.name.c_str());
    case PresetOptions::What::List:
        break;
    }
    return kPTZDone;
}

std::string ReasonOf(std::int32_t result)
{
    switch (result)
    {
    case kPTZBadArgument:
        return "the name is invalid";
    case kPTZPresetListFull:
        return "all places are taken";
    default:
        return "the device refused, or knows no such name (" + std::to_string(result) + ")";
    }
}

/// A device without presets and one that is not there look alike to the driver.
bool Answers(Bench& bench, const Device& device)
{
    const std::string trouble = ProbeWebServer(device.address, device.port, std::chrono::seconds(5));
    if (!trouble.empty())
        bench.console.Line("the device can't be reached: " + trouble);
    return trouble.empty();
}

} // namespace

ExitStatus Run(const PrivateFolder& folder, const PresetOptions& options)
{
    Bench bench(folder, options.common, {});
    std::vector<std::string> names;
    std::int32_t result = 0;
    {
        OpenDriver driver(bench, options.common.device);
        IIPPTZApi& head = driver.Head();
        result = Do(head, options);
        names = NamesOf(head);
    }
    if (options.what == PresetOptions::What::List)
    {
        for (const std::string& name : names)
            std::printf("%s\n", name.c_str());
        std::fflush(stdout);
    }
    bool good = result == kPTZDone;
    if (!good)
        bench.console.Line(ReasonOf(result));
    if (options.what == PresetOptions::What::List && names.empty())
        good = Answers(bench, options.common.device);
    const ExitStatus status = JudgeOrders(bench, good ? ExitStatus::Done : ExitStatus::Refused);
    WriteReport(options.common.json, {{"verb", "preset"},
                                      {"result", result},
                                      {"presets", names},
                                      {"log_and_frames", HostSideReport(bench)},
                                      {"exit_status", static_cast<int>(status)}});
    return status;
}

} // namespace larkmoor::host
