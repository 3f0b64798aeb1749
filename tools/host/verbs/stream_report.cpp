#include "host/verbs/stream_report.h"

#include "host/base/stopwatch.h"
#include "host/base/text.h"

#include <array>
#include <cstdarg>
#include <cstdio>

namespace larkmoor::host
{

namespace
{

using ULL = unsigned long long;

constexpr double kMeterSeconds = 3.0;

[[gnu::format(printf, 1, 2)]] std::string Format(const char* format, ...)
{
    std::array<char, 256> text{};
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    return text.data();
}

} // namespace

void RateMeter::Add(double now, const StreamCounts& counts)
{
    samples_.push_back({now, counts.frames, counts.bytes});
    while (samples_.size() > 2 && now - samples_.front().at > kMeterSeconds)
        samples_.pop_front();
}

double RateMeter::FramesPerSecond() const
{
    if (samples_.size() < 2)
        return 0;
    return static_cast<double>(samples_.back().frames - samples_.front().frames) /
           (samples_.back().at - samples_.front().at);
}

double RateMeter::BitsPerSecond() const
{
    if (samples_.size() < 2)
        return 0;
    return 8 * static_cast<double>(samples_.back().bytes - samples_.front().bytes) /
           (samples_.back().at - samples_.front().at);
}

std::string ProgressText(const StreamCounts& counts, const RateMeter& meter, double seconds,
                         std::optional<std::chrono::milliseconds> wanted)
{
    std::string text = Format("%.1f", seconds);
    if (wanted)
        text += Format(" of %g", static_cast<double>(wanted->count()) / 1000);
    text += Format(" s, %llu frames, %.1f a second, %.2f Mbit/s, %ux%u, %llu gaps",
                   static_cast<ULL>(counts.frames), meter.FramesPerSecond(), meter.BitsPerSecond() / 1e6,
                   counts.width, counts.height, static_cast<ULL>(counts.gaps));
    return text;
}

void PrintSummary(const StreamCounts& counts, double start, const DelayHistogram& delays)
{
    const double length = counts.lastFrame - counts.firstFrame;
    std::printf("frames  %llu (%llu key), %s in %.1f s", static_cast<ULL>(counts.frames),
                static_cast<ULL>(counts.keyFrames), ReadableBytes(counts.bytes).c_str(), length);
    if (counts.frames > 1 && length > 0)
        std::printf(", %.2f a second", static_cast<double>(counts.frames - 1) / length);
    std::printf("\n");
    if (counts.frames != 0)
        std::printf("first   after %.2f s; longest pause %.2f s\n", counts.firstFrame - start,
                    counts.longestPause);
    std::printf("losses  %llu gaps by time (about %llu frames)", static_cast<ULL>(counts.gaps),
                static_cast<ULL>(counts.missingByTime));
    if (counts.stamped != 0)
        std::printf(", %llu frames by stamp", static_cast<ULL>(counts.missingByStamp));
    std::printf(", %llu refused, signal lost %llu times\n", static_cast<ULL>(counts.refused),
                static_cast<ULL>(counts.signalLostCount));
    if (delays.Count() != 0)
        std::printf("delay   median %llu us, 99th percentile %llu us from sending to delivery\n",
                    static_cast<ULL>(delays.Quantile(0.5)), static_cast<ULL>(delays.Quantile(0.99)));
}

nlohmann::ordered_json DelayReport(const DelayHistogram& delays)
{
    if (delays.Count() == 0)
        return nullptr;
    return {{"count", delays.Count()},
            {"median", delays.Quantile(0.5)},
            {"p99", delays.Quantile(0.99)},
            {"largest", delays.Quantile(1)}};
}

nlohmann::ordered_json StreamReport(const StreamCounts& counts, double start, const DelayHistogram& delays)
{
    nlohmann::ordered_json lost = nlohmann::ordered_json::array();
    for (const double moment : counts.signalLost)
        lost.push_back(moment - start);
    const bool any = counts.frames != 0;
    return {{"frames", counts.frames},
            {"key_frames", counts.keyFrames},
            {"bytes", counts.bytes},
            {"refused", counts.refused},
            {"width", counts.width},
            {"height", counts.height},
            {"first_frame_seconds", any ? nlohmann::ordered_json(counts.firstFrame - start) : nullptr},
            {"last_frame_seconds", any ? nlohmann::ordered_json(counts.lastFrame - start) : nullptr},
            {"longest_pause_seconds", counts.longestPause},
            {"gaps", counts.gaps},
            {"missing_by_time", counts.missingByTime},
            {"stamped_frames", counts.stamped},
            {"missing_by_stamp", counts.missingByStamp},
            {"times_back", counts.timesBack},
            {"delay_us", DelayReport(delays)},
            {"signal_lost_count", counts.signalLostCount},
            {"signal_lost_seconds", lost}};
}

bool StateLog::Add(std::uint32_t state)
{
    constexpr std::size_t kMost = 10'000;
    if (!changes_.empty() && changes_.back().state == state)
        return false;
    const Moment moment{MonotonicSeconds() - start_, WallMicroseconds(), state};
    if (changes_.size() < kMost)
        changes_.push_back(moment);
    else
        changes_.back() = moment;
    return true;
}

nlohmann::ordered_json StateLog::Report() const
{
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const Moment& moment : changes_)
        list.push_back(
            {{"seconds", moment.seconds}, {"time", IsoTime(moment.wall)}, {"state", moment.state}});
    return list;
}

std::vector<std::uint32_t> AllAudioFormats()
{
    return {kFormatG711MuLaw, kFormatG711ALaw, kFormatG726, kFormatAac};
}

std::string SoundName(const FrameInfo& info)
{
    std::string name = info.format == kFormatG711MuLaw  ? "G.711 mu-law"
                       : info.format == kFormatG711ALaw ? "G.711 A-law"
                       : info.format == kFormatG726     ? "G.726"
                       : info.format == kFormatAac      ? "AAC"
                                                        : FormatName(info.format);
    name += ", " + std::to_string(info.sampleRate) + " Hz, " + (info.stereo ? "stereo" : "mono");
    return info.audioBitRate == 0 ? name : name + ", " + std::to_string(info.audioBitRate / 1000) + " kbit/s";
}

nlohmann::ordered_json AudioReport(const AudioCounts& counts, double start)
{
    nlohmann::ordered_json report = {
        {"audio_frames", counts.frames}, {"audio_bytes", counts.bytes}, {"audio_refused", counts.refused}};
    if (counts.frames != 0)
    {
        report["audio_format"] = FormatName(counts.info.format);
        report["audio_sample_rate"] = counts.info.sampleRate;
        report["audio_bit_rate"] = counts.info.audioBitRate;
        report["audio_first_frame"] = counts.firstFrame - start;
    }
    report["audio_states"] = nlohmann::ordered_json::array();
    for (const auto& [moment, state] : counts.states)
        report["audio_states"].push_back({{"seconds", moment - start}, {"state", AudioStateName(state)}});
    return report;
}

void PrintAudioSummary(const AudioCounts& counts, double start)
{
    if (counts.frames == 0)
        std::printf("audio   no frame, %s\n", AudioStateName(counts.state).c_str());
    else
        std::printf("audio   %s: %llu frames in %.1f s, the first after %.2f s, %llu bytes\n",
                    SoundName(counts.info).c_str(), static_cast<unsigned long long>(counts.frames),
                    counts.lastFrame - counts.firstFrame, counts.firstFrame - start,
                    static_cast<unsigned long long>(counts.bytes));
}

} // namespace larkmoor::host
