#include "host/verbs/options.h"

#include "host/base/web_probe.h"
#include "host/contract/capability_store.h"
#include "host/device/device_file.h"
#include "host/verbs/bench.h"
#include "host/verbs/query_report.h"

#include <array>
#include <cstdio>

namespace larkmoor::host
{

namespace
{

using std::chrono::milliseconds;

constexpr milliseconds kQueryPoll(100);
constexpr milliseconds kQueryLineEvery(5000);
constexpr milliseconds kProbe(5000);
constexpr double kPatienceSeconds = 180; // a device may answer byte by byte and never come to an end
constexpr double kCancelSeconds = 12;    // the request under way has 10 s

// Codes of a failed query.
constexpr std::uint32_t kBadAddress = 0;
constexpr std::uint32_t kLoginRefused = 1;

// One run of the verb, on the main thread.
class QueryRun
{
public:
    QueryRun(const PrivateFolder& folder, const QueryOptions& options)
        : options_(options), bench_(folder, options.common, StreamOptions())
    {
    }

    ExitStatus Run();

private:
    void Ask();
    void Follow();
    ExitStatus Judge();
    ExitStatus JudgeFailure(const QueryEnd& end);
    ExitStatus ExplainSilence();
    void Complain(const std::string& text) { bench_.console.Line("query: " + text); }
    std::string Where() const;
    nlohmann::ordered_json Report(ExitStatus status) const;

    const QueryOptions options_;
    Bench bench_;
    CapabilitySink sink_{bench_.faults};
    CapabilityStore store_{bench_.faults};
    const double start_ = MonotonicSeconds();
    double seconds_ = 0;
    bool cancelled_ = false;
};

ExitStatus QueryRun::Run()
{
    Ask();
    seconds_ = MonotonicSeconds() - start_;
    ExitStatus status = Judge();
    if (status == ExitStatus::Done)
    {
        PrintDevice(store_.Report(), stdout);
        if (options_.raw)
            PrintRaw(store_.Report(), stdout);
        if (!options_.save.empty())
            WriteDeviceFile(options_.save, store_.Report());
    }
    if (const ExitStatus contract = JudgeContract(bench_); contract != ExitStatus::Done)
        status = contract;
    WriteReport(options_.common.json, Report(status));
    return status;
}

void QueryRun::Ask()
{
    const Device& device = options_.common.device;
    auto* const module = bench_.library.createCapabilityQueryModule(&sink_, options_.ntsc ? 1 : 0);
    if (module == nullptr)
        throw Failure(ExitStatus::NoDriver, "the library makes no query");
    const bool runs = module->StartQuery(device.address.c_str(), device.port, device.user.c_str(),
                                         device.password.c_str(), &store_) != 0;
    if (runs)
    {
        double patience = kPatienceSeconds;
        while (!sink_.WaitFor(kQueryPoll) && MonotonicSeconds() - start_ < patience)
        {
            if (!cancelled_ && Interrupt::Requested())
            {
                cancelled_ = true;
                bench_.console.Line("cancelled; waiting for the answer under way, which has 10 s");
                patience = MonotonicSeconds() - start_ + kCancelSeconds;
                module->TerminateQuery();
            }
            Follow();
        }
    }
    bench_.console.Finish();
    bench_.library.deleteCapabilityQueryModule(module);
    if (!runs)
        throw Failure(ExitStatus::NoDriver, "the driver refuses to start a query");
}

void QueryRun::Follow()
{
    std::array<char, 32> passed{};
    std::snprintf(passed.data(), passed.size(), ", %.1f s", MonotonicSeconds() - start_);
    bench_.console.Show({"asking " + Where() + passed.data()}, kQueryLineEvery);
}

std::string QueryRun::Where() const
{
    return options_.common.device.address + " at port " + std::to_string(options_.common.device.port);
}

ExitStatus QueryRun::Judge()
{
    const QueryEnd end = sink_.End();
    if (end.kind == QueryEnd::Kind::Done)
        return ExitStatus::Done;
    if (cancelled_)
    {
        Complain("cancelled");
        return ExitStatus::Interrupted;
    }
    if (end.kind != QueryEnd::Kind::Failed)
    {
        Complain(Where() + " goes on answering without an end; the driver gave it up");
        return ExitStatus::NotReachable;
    }
    return JudgeFailure(end);
}

ExitStatus QueryRun::JudgeFailure(const QueryEnd& end)
{
    Complain(end.text);
    if (end.code == kBadAddress)
    {
        Complain("\"" + options_.common.device.address +
                 "\" is no host name or IP address; a port goes into --port");
        return ExitStatus::BadAddress;
    }
    if (end.code == kLoginRefused)
    {
        Complain(Where() + " does not take " +
                 (options_.common.device.user.empty() ? "a client without a name; give --user and --password"
                                                      : "that user and password"));
        return ExitStatus::LoginRefused;
    }
    return ExplainSilence();
}

/// The driver tells no more than that it failed: whether anything answers there is for the host to find out.
ExitStatus QueryRun::ExplainSilence()
{
    const std::string trouble =
        ProbeWebServer(options_.common.device.address, options_.common.device.port, kProbe);
    if (!trouble.empty())
    {
        Complain(Where() + " can't be reached: " + trouble);
        return ExitStatus::NotReachable;
    }
    Complain("something answers from " + Where() + ", but it is no device that the driver knows");
    return ExitStatus::UnknownDevice;
}

nlohmann::ordered_json QueryRun::Report(ExitStatus status) const
{
    const QueryEnd end = sink_.End();
    nlohmann::ordered_json report = {{"verb", "query"},     {"status", static_cast<int>(status)},
                                     {"seconds", seconds_}, {"cancelled", cancelled_},
                                     {"code", end.code},    {"text", end.text}};
    if (end.kind == QueryEnd::Kind::Done)
    {
        report["device"] = DeviceFile(store_.Report());
        report["device"].erase("password");
    }
    report.update(HostSideReport(bench_));
    return report;
}

} // namespace

ExitStatus Run(const PrivateFolder& folder, const QueryOptions& options)
{
    return QueryRun(folder, options).Run();
}

} // namespace larkmoor::host
