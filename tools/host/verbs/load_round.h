#pragma once

#include "host/base/process_usage.h"
#include "host/contract/stream_client.h"
#include "host/verbs/bench.h"

#include <nlohmann/json.hpp>

#include <memory>
#include <vector>

namespace larkmoor::host
{

/// What one round of a load has shown. Sums are over all streams and the measured time only, which begins
/// when all streams deliver.
struct LoadResult
{
    std::size_t streams = 0;
    std::size_t silent = 0;  ///< streams that never delivered
    double seconds = 0;      ///< measured
    double startSeconds = 0; ///< from the first start to the first frame of the last stream
    std::uint64_t frames = 0;
    std::uint64_t bytes = 0;
    std::uint64_t gaps = 0;
    std::uint64_t missingByTime = 0;
    std::uint64_t stamped = 0;
    std::uint64_t missingByStamp = 0;
    std::uint64_t refused = 0;
    std::uint64_t signalLost = 0;
    double slowestRate = 0; ///< frames a second of the stream with the fewest
    double fastestRate = 0;
    double stopSeconds = 0; ///< to stop, close and delete all
    ProcessUsage before;    ///< with the library loaded and no driver made
    ProcessUsage during;    ///< at the end of the measured time
    ProcessUsage after;     ///< all drivers deleted
    double processorSeconds = 0;

    double ResidentPerStream() const;  ///< bytes
    double ProcessorPerStream() const; ///< seconds of processor for a second of a stream
};

/// One round: opens the drivers, starts the streams one after the other, measures, stops all and closes.
/// Host's thread; stops are made from several threads, as a host that shuts down makes them.
class LoadRound
{
public:
    /// All outlive the round.
    LoadRound(Bench& bench, const LoadOptions& options, DelayHistogram& delays);

    LoadResult Run();

private:
    struct Stream
    {
        std::unique_ptr<StreamClient> client;
        StreamCounts begin; ///< when measuring began
    };

    void StartAll();
    void WaitForFrames();
    void Measure();
    void StopAll();
    void Sum(const StreamCounts& begin, const StreamCounts& end);
    std::size_t Delivering() const;
    void Show(const std::string& text);

    Bench& bench_;
    const LoadOptions& options_;
    DelayHistogram& delays_;
    LoadResult result_;
    double start_ = 0;
    double lastFirstFrame_ = 0;
    std::vector<Stream> streams_; // clients outlive the drivers below
    std::vector<std::unique_ptr<OpenDriver>> drivers_;
};

/// As JSON members.
nlohmann::ordered_json LoadReport(const LoadResult& result, const DelayHistogram& delays);

/// A table to standard output.
void PrintLoad(const LoadResult& result, const DelayHistogram& delays);

} // namespace larkmoor::host
