#pragma once

#include "host/base/delay_histogram.h"
#include "host/contract/stream_client.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <deque>
#include <optional>
#include <string>

namespace larkmoor::host
{

/// Frames and bytes a second over the last few seconds. One thread.
class RateMeter
{
public:
    /// Takes the counts at a moment, of `MonotonicSeconds`.
    void Add(double now, const StreamCounts& counts);

    double FramesPerSecond() const;
    double BitsPerSecond() const;

private:
    struct Sample
    {
        double at;
        std::uint64_t frames;
        std::uint64_t bytes;
    };

    std::deque<Sample> samples_;
};

/// "12.0 of 60 s, 300 frames, 25.0 a second, 4.1 Mbit/s, 640x480, 2 gaps"
std::string ProgressText(const StreamCounts& counts, const RateMeter& meter, double seconds,
                         std::optional<std::chrono::milliseconds> wanted);

/// What came of a stream, a line for each kind of thing, to standard output. `start` is when the channel was
/// started.
void PrintSummary(const StreamCounts& counts, double start, const DelayHistogram& delays);

/// The same as JSON members.
nlohmann::ordered_json StreamReport(const StreamCounts& counts, double start, const DelayHistogram& delays);

/// The delay from the camera's stamp to delivery in microseconds; null when no frame was stamped.
nlohmann::ordered_json DelayReport(const DelayHistogram& delays);

} // namespace larkmoor::host
