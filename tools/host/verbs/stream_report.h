#pragma once

#include "host/base/delay_histogram.h"
#include "host/contract/audio_client.h"
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

/// The states of a channel in the order in which they came. The driver is asked again and again, so what
/// lasts shorter than the time between two questions may be missed. One thread.
class StateLog
{
public:
    /// Seconds are counted from `start`, of `MonotonicSeconds`.
    explicit StateLog(double start) : start_(start) {}

    /// Takes a state; true if it is another than the last.
    bool Add(std::uint32_t state);

    std::uint32_t Last() const { return changes_.empty() ? 3 : changes_.back().state; }

    /// [{"seconds": 1.25, "time": "...", "state": 0}, ...]; the first ten thousand.
    nlohmann::ordered_json Report() const;

private:
    struct Moment
    {
        double seconds;
        std::int64_t wall;
        std::uint32_t state;
    };

    double start_;
    std::vector<Moment> changes_;
};

/// "G.711 mu-law, 8000 Hz, mono, 64 kbit/s"
std::string SoundName(const FrameInfo& info);

/// What came of an audio channel, for a report; moments count from `start`.
nlohmann::ordered_json AudioReport(const AudioCounts& counts, double start);

/// A line to standard output, beginning "audio".
void PrintAudioSummary(const AudioCounts& counts, double start);

/// The codes of all formats that the bench host takes.
std::vector<std::uint32_t> AllAudioFormats();

} // namespace larkmoor::host
