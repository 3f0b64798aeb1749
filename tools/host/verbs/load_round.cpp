#include "host/verbs/load_round.h"

#include <algorithm>
#include <atomic>
#include <thread>

namespace larkmoor::host
{

namespace
{

using std::chrono::milliseconds;
using Seconds = std::chrono::duration<double>;

constexpr milliseconds kRoundPoll(100);
constexpr milliseconds kMeasuringLook(1000); // what it costs is measured, too
constexpr milliseconds kRoundLineEvery(5000);
constexpr std::size_t kStoppers = 16; // threads that stop and close

} // namespace

double LoadResult::ResidentPerStream() const
{
    const double grown =
        static_cast<double>(during.residentBytes) - static_cast<double>(before.residentBytes);
    return streams == 0 ? 0 : grown / static_cast<double>(streams);
}

double LoadResult::ProcessorPerStream() const
{
    return streams == 0 || seconds <= 0 ? 0 : processorSeconds / seconds / static_cast<double>(streams);
}

LoadRound::LoadRound(Bench& bench, const LoadOptions& options, DelayHistogram& delays)
    : bench_(bench), options_(options), delays_(delays)
{
    result_.streams = std::size_t{options.drivers} * options.channels;
}

void LoadRound::Show(const std::string& text)
{
    bench_.console.Show({text}, kRoundLineEvery);
}

void LoadRound::StartAll()
{
    const Seconds pause = options_.ramp / static_cast<double>(result_.streams);
    start_ = MonotonicSeconds();
    for (std::uint32_t i = 0; i < options_.drivers && !Interrupt::Requested(); ++i)
    {
        drivers_.push_back(std::make_unique<OpenDriver>(bench_, options_.common.device));
        for (std::uint32_t channel = 0; channel < options_.channels; ++channel)
        {
            Stream& stream = streams_.emplace_back();
            stream.client =
                std::make_unique<StreamClient>(bench_.allocator, bench_.faults, nullptr, &delays_);
            drivers_.back()->Start(channel, *stream.client, options_.stream);
            const Seconds due(start_ + pause.count() * static_cast<double>(streams_.size()) -
                              MonotonicSeconds());
            if (due.count() > 0.001 && Interrupt::WaitFor(std::chrono::ceil<milliseconds>(due)))
                return;
        }
        Show("started " + std::to_string(streams_.size()) + " of " + std::to_string(result_.streams) + ", " +
             std::to_string(Delivering()) + " deliver");
    }
}

std::size_t LoadRound::Delivering() const
{
    return static_cast<std::size_t>(std::count_if(streams_.begin(), streams_.end(),
                                                  [](const Stream& stream)
                                                  { return stream.client->Counts().frames != 0; }));
}

void LoadRound::WaitForFrames()
{
    const double end = MonotonicSeconds() + Seconds(options_.time.patience).count();
    std::size_t delivering = 0;
    Follow(kRoundPoll,
           [&](double now)
           {
               delivering = Delivering();
               Show(std::to_string(delivering) + " of " + std::to_string(result_.streams) +
                    " streams deliver");
               return delivering < result_.streams && now < end;
           });
    result_.silent = result_.streams - delivering;
    for (const Stream& stream : streams_)
        lastFirstFrame_ = std::max(lastFirstFrame_, stream.client->Counts().firstFrame);
    result_.startSeconds = lastFirstFrame_ == 0 ? 0 : lastFirstFrame_ - start_;
}

void LoadRound::Measure()
{
    const ProcessUsage begin = MeasureProcess();
    const double beginning = MonotonicSeconds();
    delays_.Clear();
    for (Stream& stream : streams_)
        stream.begin = stream.client->Counts();
    milliseconds look = kMeasuringLook;
    while (!Interrupt::WaitFor(look))
    {
        const double passed = MonotonicSeconds() - beginning;
        if (options_.time.seconds)
        {
            const Seconds left = Seconds(*options_.time.seconds) - Seconds(passed);
            if (left.count() <= 0)
                break;
            look = std::min(kMeasuringLook, std::chrono::ceil<milliseconds>(left));
        }
        Show("measuring for " + std::to_string(static_cast<long>(passed)) + " s");
    }
    result_.seconds = MonotonicSeconds() - beginning;
    for (const Stream& stream : streams_)
        Sum(stream.begin, stream.client->Counts());
    result_.during = MeasureProcess();
    result_.processorSeconds = result_.during.processorSeconds - begin.processorSeconds;
}

void LoadRound::Sum(const StreamCounts& begin, const StreamCounts& end)
{
    const std::uint64_t frames = end.frames - begin.frames;
    const double rate = result_.seconds <= 0 ? 0 : static_cast<double>(frames) / result_.seconds;
    result_.slowestRate = result_.frames == 0 ? rate : std::min(result_.slowestRate, rate);
    result_.fastestRate = std::max(result_.fastestRate, rate);
    result_.frames += frames;
    result_.bytes += end.bytes - begin.bytes;
    result_.gaps += end.gaps - begin.gaps;
    result_.missingByTime += end.missingByTime - begin.missingByTime;
    result_.stamped += end.stamped - begin.stamped;
    result_.missingByStamp += end.missingByStamp - begin.missingByStamp;
    result_.refused += end.refused - begin.refused;
    result_.signalLost += end.signalLostCount;
}

void LoadRound::StopAll()
{
    const double begin = MonotonicSeconds();
    std::atomic<std::size_t> next{0};
    std::vector<std::thread> stoppers;
    for (std::size_t i = 0; i < std::min(kStoppers, drivers_.size()); ++i)
    {
        stoppers.emplace_back(
            [this, &next]
            {
                for (std::size_t at = next++; at < drivers_.size(); at = next++)
                {
                    for (std::uint32_t channel = 0; channel < options_.channels; ++channel)
                        drivers_[at]->Video().StopChannel(channel);
                    drivers_[at].reset();
                }
            });
    }
    for (std::thread& stopper : stoppers)
        stopper.join();
    drivers_.clear();
    streams_.clear();
    result_.stopSeconds = MonotonicSeconds() - begin;
}

LoadResult LoadRound::Run()
{
    bench_.allocator.Trim();
    result_.before = MeasureProcess();
    try
    {
        StartAll();
    }
    catch (const Failure&)
    {
        StopAll();
        throw;
    }
    WaitForFrames();
    Measure();
    Show("stopping");
    StopAll();
    bench_.allocator.Trim();
    result_.after = MeasureProcess();
    bench_.console.Finish();
    return result_;
}

} // namespace larkmoor::host
