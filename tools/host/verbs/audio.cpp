#include "host/verbs/options.h"

#include "host/recording/frame_files.h"
#include "host/recording/recorder.h"
#include "host/recording/sound_file.h"
#include "host/verbs/bench.h"
#include "host/verbs/stream_report.h"

#include <cstdio>

namespace larkmoor::host
{

namespace
{

using std::chrono::milliseconds;

constexpr milliseconds kAudioPoll(20);
constexpr double kMeterSeconds = 0.25;
constexpr milliseconds kPlainProgress(10'000);

// One run of the verb, on the main thread.
class AudioRun
{
public:
    AudioRun(const PrivateFolder& folder, const AudioOptions& options)
        : options_(options), bench_(folder, options.common, options.stream)
    {
        if (!options.out.empty())
            writers_.push_back((file_ = std::make_unique<SoundFile>(options.out)).get());
        if (!options.raw.empty())
            writers_.push_back((raw_ = std::make_unique<RawWriter>(options.raw, true)).get());
        if (!options.frames.empty())
            writers_.push_back((frames_ = std::make_unique<FrameLog>(options.frames)).get());
        writers_.push_back(&meter_);
        recorder_ = std::make_unique<Recorder>(writers_);
        client_ =
            std::make_unique<AudioClient>(bench_.allocator, bench_.faults, recorder_.get(),
                                          options.formats.empty() ? AllAudioFormats() : options.formats);
    }

    ExitStatus Run();

private:
    bool Look(double now);
    void ShowProgress(double now, const AudioCounts& counts);
    nlohmann::ordered_json Report(const AudioCounts& counts, const RecordingEnd& end,
                                  ExitStatus status) const;

    const AudioOptions options_;
    Bench bench_;
    std::unique_ptr<SoundFile> file_;
    std::unique_ptr<RawWriter> raw_;
    std::unique_ptr<FrameLog> frames_;
    LevelMeter meter_;
    std::vector<IFrameWriter*> writers_;
    std::unique_ptr<Recorder> recorder_;
    std::unique_ptr<AudioClient> client_;
    double start_ = MonotonicSeconds();
    Pace progress_;
    double stopSeconds_ = 0;
};

void AudioRun::ShowProgress(double now, const AudioCounts& counts)
{
    if (!progress_.IsDue(now, kMeterSeconds))
        return;
    std::string line = AudioStateName(counts.state);
    if (counts.frames != 0)
    {
        char seconds[32];
        std::snprintf(seconds, sizeof seconds, ", %.1f s  ", now - counts.firstFrame);
        line += seconds + LevelBar(meter_.TakePeak()) + "  " + SoundName(counts.info);
    }
    bench_.console.Show({line}, kPlainProgress);
}

// False when there is nothing more to wait for.
bool AudioRun::Look(double now)
{
    const AudioCounts counts = client_->Counts();
    if (IsOver(options_.time, now, start_, counts.firstFrame) || recorder_->HasFailed())
        return false;
    ShowProgress(now, counts);
    return true;
}

ExitStatus AudioRun::Run()
{
    const Device& device = options_.common.device;
    bench_.console.Line("recording the sound of " + device.address + ":" + std::to_string(device.port));
    {
        OpenDriver driver(bench_, device);
        driver.StartAudio(options_.channel, options_.videoChannel, *client_);
        Follow(kAudioPoll, [this](double now) { return Look(now); });
        const double stopping = MonotonicSeconds();
        driver.StopAudio(options_.channel);
        stopSeconds_ = MonotonicSeconds() - stopping;
    }
    std::optional<std::string> writeFailure = recorder_->Finish();
    bench_.console.Finish();

    const AudioCounts counts = client_->Counts();
    PrintAudioSummary(counts, start_);
    if (file_)
        std::printf("wrote   %s: %llu frames, %.3f s, %llu breaks\n", options_.out.c_str(),
                    static_cast<unsigned long long>(file_->Frames()), file_->Seconds(),
                    static_cast<unsigned long long>(file_->Slips()));
    std::printf("stop    %.3f s\n", stopSeconds_);
    std::fflush(stdout);
    const RecordingEnd end{"sound", counts.frames, counts.refused, std::move(writeFailure)};
    const ExitStatus status = JudgeRecording(bench_, options_.time, end);
    WriteReport(options_.common.json, Report(counts, end, status));
    return status;
}

nlohmann::ordered_json AudioRun::Report(const AudioCounts& counts, const RecordingEnd& end,
                                        ExitStatus status) const
{
    nlohmann::ordered_json report = ReportHead("audio", options_.common, nullptr);
    report["channel"] = options_.channel;
    report.update(AudioReport(counts, start_));
    if (file_)
        report["file"] = {{"path", options_.out.string()},
                          {"frames", file_->Frames()},
                          {"seconds", file_->Seconds()},
                          {"breaks", file_->Slips()}};
    report["stop_seconds"] = stopSeconds_;
    report.update(RecordingReport(bench_, end, status));
    return report;
}

} // namespace

ExitStatus Run(const PrivateFolder& folder, const AudioOptions& options)
{
    return AudioRun(folder, options).Run();
}

} // namespace larkmoor::host
