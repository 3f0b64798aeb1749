#include "host/verbs/audio_report.h"

#include <cstdio>

namespace larkmoor::host
{

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
