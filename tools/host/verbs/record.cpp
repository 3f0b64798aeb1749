#include "host/verbs/options.h"

#include "host/contract/driver_settings.h"
#include "host/contract/stream_client.h"
#include "host/recording/frame_files.h"
#include "host/recording/matroska_writer.h"
#include "host/recording/picture.h"
#include "host/recording/recorder.h"
#include "host/verbs/bench.h"
#include "host/verbs/stream_report.h"

#include <algorithm>
#include <cstdio>

namespace larkmoor::host
{

namespace
{

using std::chrono::milliseconds;

constexpr milliseconds kRecordPoll(20);
constexpr double kProgressSeconds = 0.5;
constexpr milliseconds kPlainProgress(10'000);

// The files of one recording.
struct Writers
{
    std::unique_ptr<MatroskaWriter> matroska;
    std::unique_ptr<RawWriter> raw;
    std::unique_ptr<FrameLog> frames;
    PictureKeeper pictures;

    explicit Writers(const RecordOptions& options)
    {
        if (!options.out.empty())
            matroska = std::make_unique<MatroskaWriter>(options.out, options.audio);
        if (!options.raw.empty())
            raw = std::make_unique<RawWriter>(options.raw);
        if (!options.frames.empty())
            frames = std::make_unique<FrameLog>(options.frames);
        if (!options.picture.empty())
            pictures.WantLast(options.picture);
    }

    std::vector<IFrameWriter*> All(const RecordOptions& options)
    {
        std::vector<IFrameWriter*> all;
        for (IFrameWriter* writer :
             {static_cast<IFrameWriter*>(matroska.get()), static_cast<IFrameWriter*>(raw.get()),
              static_cast<IFrameWriter*>(frames.get())})
        {
            if (writer != nullptr)
                all.push_back(writer);
        }
        if (!options.picture.empty() || !options.picturesAt.empty())
            all.push_back(&pictures);
        return all;
    }
};

// One run of the verb, on the main thread.
class RecordRun
{
public:
    RecordRun(const PrivateFolder& folder, const RecordOptions& options)
        : options_(options),
          bench_(folder, options.common, options.stream),
          writers_(options),
          recorder_(writers_.All(options)),
          client_(bench_.allocator, bench_.faults, &recorder_, &delays_),
          audio_(bench_.allocator, bench_.faults, &recorder_, AllAudioFormats())
    {
        const auto earlier = [](const auto& a, const auto& b) { return a.at < b.at; };
        std::stable_sort(options_.changes.begin(), options_.changes.end(), earlier);
        std::stable_sort(options_.picturesAt.begin(), options_.picturesAt.end(), earlier);
    }

    ExitStatus Run();

private:
    bool Look(OpenDriver& driver, double now);
    void DoWhatIsDue(OpenDriver& driver, milliseconds sinceFirstFrame);
    void ApplyChange(OpenDriver& driver, const Change& change, milliseconds sinceFirstFrame);
    void ShowProgress(double now);
    void Summarise(const StreamCounts& counts);
    nlohmann::ordered_json Report(const StreamCounts& counts, const RecordingEnd& end,
                                  ExitStatus status) const;

    RecordOptions options_;
    Bench bench_;
    Writers writers_;
    Recorder recorder_;
    DelayHistogram delays_;
    StreamClient client_;
    AudioClient audio_;
    double start_ = MonotonicSeconds();
    std::int64_t startWall_ = WallMicroseconds();
    StateLog states_{start_};
    RateMeter meter_;
    Pace progress_;
    std::size_t nextChange_ = 0;
    std::size_t nextPicture_ = 0;
    nlohmann::ordered_json changes_ = nlohmann::ordered_json::array();
    double stopSeconds_ = 0;
    double closeSeconds_ = 0;
};

void RecordRun::ApplyChange(OpenDriver& driver, const Change& change, milliseconds sinceFirstFrame)
{
    options_.stream.size = change.size.value_or(options_.stream.size);
    options_.stream.rate = change.rate.value_or(options_.stream.rate);
    ChannelSettings size(options_.stream.size, 0, 0);
    const bool taken =
        driver.Video().ChangeChannel(options_.channel, &size, IntervalOfRate(options_.stream.rate));
    client_.ForgetRate();
    bench_.console.Line("change to " + std::to_string(options_.stream.size.width) + "x" +
                        std::to_string(options_.stream.size.height) + " at " +
                        std::to_string(IntervalOfRate(options_.stream.rate)) + " ms a frame" +
                        (taken ? "" : ": refused by the driver"));
    changes_.push_back({{"seconds", static_cast<double>(sinceFirstFrame.count()) / 1000},
                        {"width", options_.stream.size.width},
                        {"height", options_.stream.size.height},
                        {"frame_interval", IntervalOfRate(options_.stream.rate)},
                        {"taken", taken}});
}

void RecordRun::DoWhatIsDue(OpenDriver& driver, milliseconds sinceFirstFrame)
{
    for (;
         nextPicture_ < options_.picturesAt.size() && options_.picturesAt[nextPicture_].at <= sinceFirstFrame;
         ++nextPicture_)
        writers_.pictures.WantNow(options_.picturesAt[nextPicture_].file);
    for (; nextChange_ < options_.changes.size() && options_.changes[nextChange_].at <= sinceFirstFrame;
         ++nextChange_)
        ApplyChange(driver, options_.changes[nextChange_], sinceFirstFrame);
}

void RecordRun::ShowProgress(double now)
{
    if (!progress_.IsDue(now, kProgressSeconds))
        return;
    const StreamCounts counts = client_.Counts();
    meter_.Add(now, counts);
    const double done = counts.frames == 0 ? 0 : now - counts.firstFrame;
    bench_.console.Show(
        {StateName(states_.Last()) + ", " + ProgressText(counts, meter_, done, options_.time.seconds)},
        kPlainProgress);
}

// False when there is nothing more to wait for.
bool RecordRun::Look(OpenDriver& driver, double now)
{
    states_.Add(driver.State(options_.channel));
    const double firstFrame = client_.Counts().firstFrame;
    if (firstFrame != 0)
        DoWhatIsDue(driver, milliseconds(static_cast<long>((now - firstFrame) * 1000)));
    if (IsOver(options_.time, now, start_, firstFrame) || recorder_.HasFailed())
        return false;
    ShowProgress(now);
    return true;
}

ExitStatus RecordRun::Run()
{
    const Device& device = options_.common.device;
    bench_.console.Line("recording " + StreamName(device.codec, options_.stream.transport) + " from " +
                        device.address + ":" + std::to_string(device.port) + ", channel " +
                        std::to_string(options_.channel));
    {
        OpenDriver driver(bench_, device);
        driver.Start(options_.channel, client_, options_.stream);
        if (options_.audio)
            driver.StartAudio(0, options_.channel, audio_);
        Follow(kRecordPoll, [&](double now) { return Look(driver, now); });
        const double stopping = MonotonicSeconds();
        driver.Video().StopChannel(options_.channel);
        driver.StopAudio(0);
        stopSeconds_ = MonotonicSeconds() - stopping;
        states_.Add(driver.State(options_.channel));
        closeSeconds_ = MonotonicSeconds();
    }
    closeSeconds_ = MonotonicSeconds() - closeSeconds_;
    std::optional<std::string> writeFailure = recorder_.Finish();
    bench_.console.Finish();

    const StreamCounts counts = client_.Counts();
    Summarise(counts);
    const RecordingEnd end{"frame", counts.frames, counts.refused, std::move(writeFailure)};
    const ExitStatus status = JudgeRecording(bench_, options_.time, end);
    WriteReport(options_.common.json, Report(counts, end, status));
    return status;
}

void RecordRun::Summarise(const StreamCounts& counts)
{
    PrintSummary(counts, start_, delays_);
    if (options_.audio)
        PrintAudioSummary(audio_.Counts(), start_);
    if (writers_.matroska)
    {
        for (const RecordedFile& file : writers_.matroska->Files())
        {
            std::printf("wrote   %s: %llu frames of %ux%u", file.path.c_str(),
                        static_cast<unsigned long long>(file.frames), file.width, file.height);
            if (options_.audio)
                std::printf(", %.1f s of sound, %llu breaks", file.soundSeconds,
                            static_cast<unsigned long long>(file.soundSlips));
            std::printf("\n");
        }
    }
    std::printf("stop    %.3f s, close %.3f s\n", stopSeconds_, closeSeconds_);
    std::fflush(stdout);
}

nlohmann::ordered_json RecordRun::Report(const StreamCounts& counts, const RecordingEnd& end,
                                         ExitStatus status) const
{
    nlohmann::ordered_json report = ReportHead("record", options_.common, &options_.stream);
    report.update({{"channel", options_.channel}, {"started", IsoTime(startWall_)}});
    report.update(StreamReport(counts, start_, delays_));
    if (options_.audio)
        report.update(AudioReport(audio_.Counts(), start_));
    report["states"] = states_.Report();
    report["changes"] = changes_;
    report["files"] = nlohmann::ordered_json::array();
    if (writers_.matroska)
    {
        for (const RecordedFile& file : writers_.matroska->Files())
            report["files"].push_back({{"path", file.path.string()},
                                       {"frames", file.frames},
                                       {"width", file.width},
                                       {"height", file.height},
                                       {"first_time", IsoTime(file.firstTime)},
                                       {"last_time", IsoTime(file.lastTime)},
                                       {"times_moved", file.moved},
                                       {"sound_frames", file.soundFrames},
                                       {"sound_seconds", file.soundSeconds},
                                       {"sound_breaks", file.soundSlips}});
    }
    report["stop_seconds"] = stopSeconds_;
    report["close_seconds"] = closeSeconds_;
    report.update(RecordingReport(bench_, end, status));
    return report;
}

} // namespace

ExitStatus Run(const PrivateFolder& folder, const RecordOptions& options)
{
    return RecordRun(folder, options).Run();
}

} // namespace larkmoor::host
