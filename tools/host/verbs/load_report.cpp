#include "host/verbs/load_round.h"

#include "host/base/text.h"
#include "host/verbs/stream_report.h"

#include <cstdio>

namespace larkmoor::host
{

namespace
{

using ULL = unsigned long long;

nlohmann::ordered_json UsageReport(const ProcessUsage& usage)
{
    return {{"resident_bytes", usage.residentBytes},
            {"private_bytes", usage.privateBytes},
            {"threads", usage.threads},
            {"descriptors", usage.descriptors},
            {"processor_seconds", usage.processorSeconds}};
}

void PrintUsage(const char* when, const ProcessUsage& usage)
{
    std::printf("%-8s %9s resident, %9s of it heap and stacks, %5llu threads, %5llu descriptors\n", when,
                ReadableBytes(usage.residentBytes).c_str(), ReadableBytes(usage.privateBytes).c_str(),
                static_cast<ULL>(usage.threads), static_cast<ULL>(usage.descriptors));
}

} // namespace

nlohmann::ordered_json LoadReport(const LoadResult& result, const DelayHistogram& delays)
{
    return {{"streams", result.streams},
            {"silent_streams", result.silent},
            {"start_seconds", result.startSeconds},
            {"measured_seconds", result.seconds},
            {"frames", result.frames},
            {"bytes", result.bytes},
            {"slowest_frames_per_second", result.slowestRate},
            {"fastest_frames_per_second", result.fastestRate},
            {"gaps", result.gaps},
            {"missing_by_time", result.missingByTime},
            {"stamped_frames", result.stamped},
            {"missing_by_stamp", result.missingByStamp},
            {"refused", result.refused},
            {"signal_lost_count", result.signalLost},
            {"delay_us", DelayReport(delays)},
            {"processor_seconds", result.processorSeconds},
            {"processor_seconds_per_stream_second", result.ProcessorPerStream()},
            {"resident_bytes_per_stream", result.ResidentPerStream()},
            {"stop_seconds", result.stopSeconds},
            {"before", UsageReport(result.before)},
            {"during", UsageReport(result.during)},
            {"after", UsageReport(result.after)}};
}

void PrintLoad(const LoadResult& result, const DelayHistogram& delays)
{
    std::printf("streams  %zu, %zu of them silent; all started within %.2f s\n", result.streams,
                result.silent, result.startSeconds);
    std::printf("frames   %llu in %.1f s, %.2f to %.2f a second and stream, %.1f MB/s in all\n",
                static_cast<ULL>(result.frames), result.seconds, result.slowestRate, result.fastestRate,
                result.seconds > 0 ? static_cast<double>(result.bytes) / result.seconds / 1e6 : 0.0);
    std::printf("losses   %llu gaps by time (about %llu frames)", static_cast<ULL>(result.gaps),
                static_cast<ULL>(result.missingByTime));
    if (result.stamped != 0)
        std::printf(", %llu frames by stamp", static_cast<ULL>(result.missingByStamp));
    std::printf(", %llu refused, signal lost %llu times\n", static_cast<ULL>(result.refused),
                static_cast<ULL>(result.signalLost));
    if (delays.Count() != 0)
        std::printf(
            "delay    median %llu us, 99th percentile %llu us, largest %llu us from sending to delivery\n",
            static_cast<ULL>(delays.Quantile(0.5)), static_cast<ULL>(delays.Quantile(0.99)),
            static_cast<ULL>(delays.Quantile(1)));
    else
        std::printf("delay    unknown: the frames bear no stamp\n");
    std::printf("cost     %.3f ms of processor a stream and second (%.2f s in all), %s resident a stream\n",
                result.ProcessorPerStream() * 1000, result.processorSeconds,
                ReadableBytes(static_cast<std::uint64_t>(std::max(0.0, result.ResidentPerStream()))).c_str());
    PrintUsage("before", result.before);
    PrintUsage("during", result.during);
    PrintUsage("after", result.after);
    std::printf("stopped, closed and deleted in %.3f s\n", result.stopSeconds);
    std::fflush(stdout);
}

} // namespace larkmoor::host
