#include "host/verbs/options.h"

#include "host/contract/stream_client.h"
#include "host/verbs/bench.h"
#include "host/verbs/stream_report.h"

#include <array>
#include <cstdio>
#include <memory>

namespace larkmoor::host
{

namespace
{

using std::chrono::milliseconds;

constexpr milliseconds kWatchPoll(50);
constexpr double kRedrawSeconds = 0.5;
constexpr milliseconds kTableEvery(2000);

// One channel that is watched.
struct Watched
{
    Watched(Bench& bench, std::uint32_t channelNumber, double start)
        : channel(channelNumber), client(bench.allocator, bench.faults, nullptr, &delays), states(start)
    {
    }

    std::uint32_t channel;
    DelayHistogram delays;
    StreamClient client;
    StateLog states;
    RateMeter meter;
};

constexpr const char* kHeading =
    "channel  state         frames   fps   Mbit/s  size         gaps  missing  key frame  longest pause";

std::string Row(Watched& watched, double now)
{
    const StreamCounts counts = watched.client.Counts();
    watched.meter.Add(now, counts);
    std::array<char, 32> size{};
    std::snprintf(size.data(), size.size(), "%ux%u", counts.width, counts.height);
    std::array<char, 32> key{};
    if (counts.keyFrames != 0)
        std::snprintf(key.data(), key.size(), "%.1f s ago", now - counts.lastKeyFrame);
    std::array<char, 160> row{};
    std::snprintf(
        row.data(), row.size(), "%7u  %-10s  %8llu %5.1f  %7.2f  %-9s  %6llu  %7llu  %9s  %11.2f s",
        watched.channel, StateName(watched.states.Last()).c_str(),
        static_cast<unsigned long long>(counts.frames), watched.meter.FramesPerSecond(),
        watched.meter.BitsPerSecond() / 1e6, counts.frames == 0 ? "-" : size.data(),
        static_cast<unsigned long long>(counts.gaps),
        static_cast<unsigned long long>(counts.stamped != 0 ? counts.missingByStamp : counts.missingByTime),
        counts.keyFrames == 0 ? "-" : key.data(), counts.longestPause);
    return row.data();
}

// One run of the verb, on the main thread.
class WatchRun
{
public:
    WatchRun(const PrivateFolder& folder, const WatchOptions& options)
        : options_(options), bench_(folder, options.common, options.stream)
    {
        for (const std::uint32_t channel : options.channels)
            watched_.push_back(std::make_unique<Watched>(bench_, channel, start_));
    }

    ExitStatus Run();

private:
    bool Look(OpenDriver& driver, double now); // false when the time is over
    double FirstFrame() const;                 // of any channel; 0: none yet
    void Draw(double now);
    nlohmann::ordered_json Report(ExitStatus status) const;
    ExitStatus Judge();

    WatchOptions options_;
    Bench bench_;
    double start_ = MonotonicSeconds();
    Pace draw_;
    std::vector<std::unique_ptr<Watched>> watched_;
};

double WatchRun::FirstFrame() const
{
    double first = 0;
    for (const auto& watched : watched_)
    {
        const double own = watched->client.Counts().firstFrame;
        first = first == 0 || (own != 0 && own < first) ? own : first;
    }
    return first;
}

void WatchRun::Draw(double now)
{
    if (!bench_.console.IsTerminal())
    {
        for (const auto& watched : watched_)
        {
            const StreamCounts counts = watched->client.Counts();
            watched->meter.Add(now, counts);
            bench_.console.Line("channel " + std::to_string(watched->channel) + ": " +
                                StateName(watched->states.Last()) + ", " +
                                ProgressText(counts, watched->meter,
                                             counts.frames == 0 ? 0 : now - counts.firstFrame,
                                             options_.time.seconds));
        }
        return;
    }
    std::vector<std::string> table = {kHeading};
    for (const auto& watched : watched_)
        table.push_back(Row(*watched, now));
    bench_.console.Show(table, kTableEvery);
}

bool WatchRun::Look(OpenDriver& driver, double now)
{
    // Somebody who watches without a time wants to see what becomes of a silent device.
    if (options_.time.seconds && IsOver(options_.time, now, start_, FirstFrame()))
        return false;
    for (const auto& watched : watched_)
        watched->states.Add(driver.State(watched->channel));
    const double every =
        bench_.console.IsTerminal() ? kRedrawSeconds : std::chrono::duration<double>(kTableEvery).count();
    if (draw_.IsDue(now, every))
        Draw(now);
    return true;
}

ExitStatus WatchRun::Run()
{
    {
        OpenDriver driver(bench_, options_.common.device);
        for (const auto& watched : watched_)
            driver.Start(watched->channel, watched->client, options_.stream);
        Follow(kWatchPoll, [&](double now) { return Look(driver, now); });
        for (const auto& watched : watched_)
        {
            driver.Video().StopChannel(watched->channel);
            watched->states.Add(driver.State(watched->channel));
        }
    }
    bench_.console.Finish();
    const ExitStatus status = Judge();
    WriteReport(options_.common.json, Report(status));
    return status;
}

ExitStatus WatchRun::Judge()
{
    if (const ExitStatus contract = JudgeContract(bench_); contract != ExitStatus::Done)
        return contract;
    for (const auto& watched : watched_)
    {
        std::printf("channel %u\n", watched->channel);
        PrintSummary(watched->client.Counts(), start_, watched->delays);
    }
    std::fflush(stdout);
    for (const auto& watched : watched_)
    {
        if (watched->client.Counts().frames == 0)
            return Interrupt::Requested() ? ExitStatus::Interrupted : ExitStatus::NoFrames;
    }
    return Interrupt::Requested() && options_.time.seconds ? ExitStatus::Interrupted : ExitStatus::Done;
}

nlohmann::ordered_json WatchRun::Report(ExitStatus status) const
{
    nlohmann::ordered_json report = ReportHead("watch", options_.common, &options_.stream);
    report["channels"] = nlohmann::ordered_json::array();
    for (const auto& watched : watched_)
    {
        nlohmann::ordered_json channel = {{"channel", watched->channel}};
        channel.update(StreamReport(watched->client.Counts(), start_, watched->delays));
        channel["states"] = watched->states.Report();
        report["channels"].push_back(channel);
    }
    report.update(HostSideReport(bench_));
    report["exit_status"] = static_cast<int>(status);
    return report;
}

} // namespace

ExitStatus Run(const PrivateFolder& folder, const WatchOptions& options)
{
    return WatchRun(folder, options).Run();
}

} // namespace larkmoor::host
