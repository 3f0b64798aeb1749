#include "host/verbs/bench.h"

#include "host/contract/driver_settings.h"
#include "host/device/settings_file.h"
#include "host/recording/frame_files.h"

#include <fstream>
#include <sstream>

namespace larkmoor::host
{

namespace
{

constexpr const char* kCoreLibraryVersionFile = "bastrel.dll.version";

std::string ReadWhole(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    if (!stream)
        throw Failure(ExitStatus::Usage, "can't read " + file.string());
    return text.str();
}

std::string PrepareFolder(const PrivateFolder& folder, const CommonOptions& options,
                          const StreamOptions& stream)
{
    const std::string text = options.settings.empty()
                                 ? SettingsText(stream.transport, stream.bitRate, stream.audioCodec)
                                 : ReadWhole(options.settings);
    const std::filesystem::path file = folder.Write(kSettingsFileName, text);
    if (!options.hostVersion.empty())
        folder.Write(kCoreLibraryVersionFile, options.hostVersion + "\n");
    return file.string();
}

} // namespace

Bench::Bench(const PrivateFolder& folder, const CommonOptions& options, const StreamOptions& stream)
    : sink(console, options.quiet), library(options.library)
{
    console.Line("the driver's settings: " + PrepareFolder(folder, options, stream));
}

OpenDriver::OpenDriver(Bench& bench, const Device& device)
    : bench_(bench), driver_(bench.library.createIPCaptureEx4())
{
    if (driver_ == nullptr)
        throw Failure(ExitStatus::NoDriver, "the library makes no driver");
    DeviceSettings settings(device, &bench.faults);
    if (driver_->Open(&bench.sink, &bench.allocator, &settings))
        video_ = driver_->GetVideoCaptureEx();
    if (video_ != nullptr)
        return;
    driver_->Close();
    bench.library.deleteIPCaptureEx4(driver_);
    throw Failure(ExitStatus::NoDriver, "the driver refuses to open (property 1 has to be a number)");
}

OpenDriver::~OpenDriver()
{
    driver_->Close();
    bench_.library.deleteIPCaptureEx4(driver_);
}

IIPPTZApi& OpenDriver::Head()
{
    IIPPTZDriver* const heads = driver_->GetPTZ();
    IIPPTZApi* const head = heads == nullptr ? nullptr : heads->GetPTZControl(0);
    if (head == nullptr)
        throw Failure(ExitStatus::NoDriver, "the driver gives no control of a head");
    return *head;
}

void OpenDriver::Start(std::uint32_t channel, IHostChannelClient& client, const StreamOptions& stream)
{
    ChannelSettings settings(stream.size, IntervalOfRate(stream.rate), stream.quality, &bench_.faults);
    if (!video_->StartChannel(channel, &client, &settings))
        throw Failure(ExitStatus::NoDriver, "the driver refuses to start channel " + std::to_string(channel));
}

void OpenDriver::StartAudio(std::uint32_t channel, std::uint32_t videoChannel, AudioClient& client)
{
    IIPAudioCapture2* const audio = driver_->GetAudioCapture();
    if (audio == nullptr)
        throw Failure(ExitStatus::NoDriver,
                      "the device has no sound (parameter 101; see --device and --property)");
    if (!audio->StartChannel(channel, videoChannel, &client, &client))
        throw Failure(ExitStatus::NoDriver,
                      "the driver refuses to start audio channel " + std::to_string(channel));
}

void OpenDriver::StopAudio(std::uint32_t channel)
{
    if (IIPAudioCapture2* const audio = driver_->GetAudioCapture(); audio != nullptr)
        audio->StopChannel(channel);
}

std::uint32_t OpenDriver::State(std::uint32_t channel)
{
    std::uint32_t state = 3;
    std::uint32_t detail = 0;
    video_->GetChannelState(channel, &state, &detail, nullptr, 0);
    return state;
}

bool IsOver(const TimeOptions& time, double now, double start, double firstFrame)
{
    using Seconds = std::chrono::duration<double>;
    if (firstFrame == 0)
        return now - start > Seconds(time.patience).count();
    return time.seconds && now - firstFrame >= Seconds(*time.seconds).count();
}

bool Pace::IsDue(double now, double seconds)
{
    if (now < next_)
        return false;
    next_ = now + seconds;
    return true;
}

std::string StateName(std::uint32_t state)
{
    switch (state)
    {
    case 0:
        return "running";
    case 2:
        return "connecting";
    case 3:
        return "stopped";
    default:
        return std::to_string(state);
    }
}

std::string StreamName(Codec codec, Transport transport)
{
    const auto nameOf = [](const auto& names, auto value)
    { return std::ranges::find(names, value, [](const auto& each) { return each.second; })->first; };
    return nameOf(kCodecs, codec) + " over " + nameOf(kTransports, transport);
}

nlohmann::ordered_json ReportHead(const char* verb, const CommonOptions& common, const StreamOptions* stream)
{
    const Device& device = common.device;
    nlohmann::ordered_json head = {{"verb", verb},
                                   {"device", device.address + ":" + std::to_string(device.port)}};
    if (stream != nullptr)
        head["stream"] = StreamName(device.codec, stream->transport);
    return head;
}

nlohmann::ordered_json HostSideReport(const Bench& bench)
{
    nlohmann::ordered_json counts = nlohmann::ordered_json::object();
    for (const auto& [level, count] : bench.sink.CountByLevel())
        counts[LevelName(level)] = count;
    nlohmann::ordered_json lines = nlohmann::ordered_json::array();
    for (const LogLine& line : bench.sink.Lines())
        lines.push_back({{"seconds", line.seconds}, {"level", line.level}, {"text", line.text}});
    return {{"allocated_frames", bench.allocator.Allocated()},
            {"outstanding_frames", bench.allocator.Outstanding()},
            {"contract_faults", bench.faults.Count()},
            {"contract_fault_texts", bench.faults.Texts()},
            {"log", counts},
            {"log_lines", lines}};
}

ExitStatus JudgeContract(Bench& bench)
{
    if (const std::uint64_t outstanding = bench.allocator.Outstanding(); outstanding != 0)
        bench.faults.Add(std::to_string(outstanding) + " frames were never released");
    for (const std::string& text : bench.faults.Texts())
        bench.console.Line("contract broken: " + text);
    return bench.faults.Count() == 0 ? ExitStatus::Done : ExitStatus::Contract;
}

ExitStatus JudgeOrders(Bench& bench, ExitStatus status)
{
    const ExitStatus contract = JudgeContract(bench);
    return contract == ExitStatus::Done ? status : contract;
}

ExitStatus JudgeRecording(Bench& bench, const TimeOptions& time, const RecordingEnd& end)
{
    const ExitStatus contract = JudgeContract(bench);
    const bool isInterrupted = Interrupt::Requested() && (time.seconds || end.taken == 0);
    const bool isSilent = end.taken == 0 && end.refused == 0;
    if (isSilent && !isInterrupted) // what could not be written for want of frames needs no word
        bench.console.Line("no " + std::string(end.media) + " came within " +
                           std::to_string(time.patience.count()) + " ms");
    else if (end.writeFailure)
        bench.console.Line(*end.writeFailure);
    if (contract != ExitStatus::Done)
        return contract;
    if (isInterrupted)
        return ExitStatus::Interrupted;
    if (isSilent)
        return ExitStatus::NoFrames;
    return end.writeFailure ? ExitStatus::Output : ExitStatus::Done;
}

nlohmann::ordered_json RecordingReport(const Bench& bench, const RecordingEnd& end, ExitStatus status)
{
    nlohmann::ordered_json report = HostSideReport(bench);
    report["write_failure"] =
        end.writeFailure ? nlohmann::ordered_json(*end.writeFailure) : nlohmann::ordered_json();
    report["exit_status"] = static_cast<int>(status);
    return report;
}

void WriteReport(const std::filesystem::path& file, const nlohmann::ordered_json& report)
{
    if (file.empty())
        return;
    // Texts may hold what a camera sent, which need not be UTF-8.
    const std::string text = report.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + '\n';
    OutputFile output(file);
    output.Write(text);
    output.Finish();
}

} // namespace larkmoor::host
