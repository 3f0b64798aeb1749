// ./dev bench peers: the driver beside other receivers of the same streams, in one run.
//
// One simulated camera with pictures encoded beforehand sends N streams to each receiver in turn: a bare loop
// that throws the bytes away (the floor), the bench host with the driver, GStreamer in one process, and
// FFmpeg with one process per stream. Processor time, memory and threads are read from /proc over the same
// length of time: the scheduler's nanoseconds of each thread, since a single stream needs less than a tick.
//
// peers BUILD_FOLDER [SECONDS [LOAD...]]   a load is named by its streams and transport, as in 16udp or
// 1flood

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace
{

using Words = std::vector<std::string>;
using Seconds = std::chrono::seconds;

struct Load
{
    int streams;
    std::string transport; // udp or tcp
    std::string size;      // WxH
    int bitrate;           // bit/s of one stream
    bool flood;            // as fast as the receiver takes it
};

struct Usage
{
    double cpuSeconds = 0;
    double memoryMB = 0;
    int threads = 0;
};

struct Result
{
    std::string receiver;
    double msPerStreamSecond = 0; // processor time
    double memoryMBPerStream = 0;
    double marginalMBPerStream = 0; // of each stream but the first; 0 with one stream
    int threads = 0;
    double frames = 0; // whole run
    double megabytesPerSecond = 0;
};

std::string ReadFile(const std::string& path)
{
    std::ifstream stream(path);
    std::stringstream text;
    text << stream.rdbuf();
    return text.str();
}

double Number(const std::string& text, const std::string& pattern)
{
    double value = 0;
    const std::regex wanted(pattern);
    for (std::sregex_iterator match(text.begin(), text.end(), wanted), end; match != end; ++match)
        value = std::atof((*match)[1].str().c_str()); // the last one counts
    return value;
}

pid_t Start(const Words& words, const std::string& output)
{
    const pid_t child = fork();
    if (child != 0)
        return child;
    const int out = open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    const int nothing = open("/dev/null", O_RDONLY);
    dup2(nothing, 0);
    dup2(out, 1);
    dup2(out, 2);
    std::vector<char*> arguments;
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    std::perror(arguments[0]);
    _exit(127);
}

Usage UsageOf(const std::vector<pid_t>& processes)
{
    Usage usage;
    for (const pid_t process : processes)
    {
        const std::string folder = "/proc/" + std::to_string(process);
        std::error_code gone;
        for (const auto& task : std::filesystem::directory_iterator(folder + "/task", gone))
            usage.cpuSeconds += std::atof(ReadFile(task.path() / "schedstat").c_str()) / 1e9;
        const std::string status = ReadFile(folder + "/status");
        usage.memoryMB += Number(ReadFile(folder + "/smaps_rollup"), "\nPss:\\s+(\\d+)") / 1024.0;
        usage.threads += static_cast<int>(Number(status, "Threads:\\s+(\\d+)"));
    }
    return usage;
}

class Camera
{
public:
    Camera(const std::string& build, bool flood)
        : process_(Start({build + "/larkmoor-camera", "--source", flood ? "flood" : "canned"}, kOutput))
    {
        for (int tries = 0; tries < 100 && http == 0; ++tries)
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            const std::string text = ReadFile(kOutput);
            http = static_cast<int>(Number(text, "http=(\\d+)"));
            rtsp = static_cast<int>(Number(text, "rtsp=(\\d+)"));
        }
    }
    ~Camera()
    {
        kill(process_, SIGTERM);
        waitpid(process_, nullptr, 0);
    }
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;

    int http = 0;
    int rtsp = 0;

private:
    static constexpr const char* kOutput = "/tmp/larkmoor-peers-camera.log";
    const pid_t process_;
};

class Run
{
public:
    Run(std::string build, int seconds, const Load& load, const Camera& camera)
        : build_(std::move(build)), seconds_(seconds), load_(load), camera_(camera)
    {
    }

    // First, because it sets the camera's encoder for those behind it.
    Result Driver() { return Driver("driver", build_); }

    Result Driver(const std::string& name, const std::string& build)
    {
        const std::string json = "/tmp/larkmoor-peers-load.json";
        Words words = {build + "/larkmoor-host",
                       "load",
                       "--address",
                       "127.0.0.1",
                       "--port",
                       Text(camera_.http),
                       "--rtsp-port",
                       Text(camera_.rtsp),
                       "--codec",
                       "h264",
                       "--transport",
                       load_.transport,
                       "--size",
                       load_.size,
                       "--rate",
                       "25",
                       "--bitrate",
                       Text(load_.bitrate),
                       "--drivers",
                       Text(load_.streams),
                       "--seconds",
                       Text(kWarmSeconds + seconds_ + 1),
                       "--json",
                       json,
                       "--quiet"};
        Result result = Measure(name, {words});
        const std::string report = ReadFile(json);
        result.frames = Number(report, "\"frames\": (\\d+)");
        result.megabytesPerSecond = Number(report, "\"bytes\": (\\d+)") / 1e6 / (kWarmSeconds + seconds_ + 1);
        return result;
    }

    Result Bare() { return Library("bare loop", build_ + "/bare_receiver"); }
    Result GStreamer() { return Library("GStreamer", build_ + "/gstreamer_receiver"); }

    // It tells no bytes: those of a frame are the driver's.
    Result FFmpeg(const Result& driver)
    {
        std::vector<Words> commands(static_cast<std::size_t>(load_.streams),
                                    {"ffmpeg",
                                     "-nostdin",
                                     "-hide_banner",
                                     "-loglevel",
                                     "error",
                                     "-progress",
                                     "pipe:1",
                                     "-stats_period",
                                     "60",
                                     "-rtsp_transport",
                                     load_.transport,
                                     "-i",
                                     "rtsp://127.0.0.1:" + Text(camera_.rtsp) + "/" + kPath,
                                     "-t",
                                     Text(load_.flood ? 1000000 : kWarmSeconds + seconds_), // of the media
                                     "-c",
                                     "copy",
                                     "-f",
                                     "null",
                                     "-"});
        Result result = Measure("FFmpeg", commands);
        for (std::size_t i = 0; i < commands.size(); ++i)
            result.frames += Number(ReadFile(Output(i)), "frame=(\\d+)");
        if (driver.frames > 0)
            result.megabytesPerSecond = result.frames * driver.megabytesPerSecond / driver.frames *
                                        (kWarmSeconds + seconds_ + 1) / (kWarmSeconds + seconds_ - 1);
        return result;
    }

private:
    static constexpr int kWarmSeconds = 8;
    static constexpr const char* kPath = "live.sdp";

    static std::string Text(int value) { return std::to_string(value); }
    static std::string Output(std::size_t index)
    {
        return "/tmp/larkmoor-peers-" + std::to_string(index) + ".log";
    }

    Result Library(const std::string& name, const std::string& program)
    {
        Words words = {program, load_.transport, Text(camera_.rtsp), Text(kWarmSeconds + seconds_ + 1)};
        words.insert(words.end(), static_cast<std::size_t>(load_.streams), kPath);
        Result result = Measure(name, {words});
        const std::string text = ReadFile(Output(0));
        result.frames = Number(text, "\"frames\": (\\d+)");
        result.megabytesPerSecond = Number(text, "\"bytes\": (\\d+)") / 1e6 / (kWarmSeconds + seconds_);
        return result;
    }

    Result Measure(const std::string& name, const std::vector<Words>& commands)
    {
        std::vector<pid_t> processes;
        for (std::size_t i = 0; i < commands.size(); ++i)
            processes.push_back(Start(commands[i], Output(i)));
        std::this_thread::sleep_for(Seconds(kWarmSeconds));
        const Usage before = UsageOf(processes);
        std::this_thread::sleep_for(Seconds(seconds_ - 1));
        const Usage after = UsageOf(processes);
        if (load_.flood && name == "FFmpeg")
            for (const pid_t process : processes)
                kill(process, SIGINT); // the media have no end
        for (const pid_t process : processes)
            waitpid(process, nullptr, 0);
        Result result;
        result.receiver = name;
        result.msPerStreamSecond =
            (after.cpuSeconds - before.cpuSeconds) * 1000.0 / (seconds_ - 1) / load_.streams;
        result.memoryMBPerStream = after.memoryMB / load_.streams;
        result.threads = after.threads;
        return result;
    }

    const std::string build_;
    const int seconds_;
    const Load load_;
    const Camera& camera_;
};

// What a program needs for itself is in the memory of one stream, and is taken off that of many.
void FillMarginalMemory(const Load& load, std::vector<Result>& results)
{
    static std::map<std::string, double> ofOne; // by receiver, transport and size
    for (Result& result : results)
    {
        const std::string key = result.receiver + load.transport + load.size;
        if (load.streams == 1)
            ofOne[key] = result.memoryMBPerStream;
        else if (ofOne.contains(key))
            result.marginalMBPerStream =
                (result.memoryMBPerStream * load.streams - ofOne[key]) / (load.streams - 1);
    }
}

void Print(const Load& load, const std::vector<Result>& results)
{
    std::printf("\n%d streams of %.1f Mbit/s (%s) over %s%s\n", load.streams, load.bitrate / 1e6,
                load.size.c_str(), load.transport.c_str(), load.flood ? ", as fast as it is taken" : "");
    std::printf("  %-10s %10s %15s %10s %10s %8s %10s\n", "receiver", "frames", "cpu ms/stream/s",
                "MB/stream", "MB/further", "threads", "MB/s");
    for (const Result& result : results)
        std::printf("  %-10s %10.0f %15.2f %10.2f %10.2f %8d %10.1f\n", result.receiver.c_str(),
                    result.frames, result.msPerStreamSecond, result.memoryMBPerStream,
                    result.marginalMBPerStream, result.threads, result.megabytesPerSecond);
    const Result& driver = results.front();
    double cpu = 1e9;
    double memory = 1e9;
    double marginal = 1e9;
    double speed = 0;
    for (const Result& result : results)
    {
        if (result.receiver != "GStreamer" && result.receiver != "FFmpeg")
            continue;
        cpu = std::min(cpu, result.msPerStreamSecond);
        memory = std::min(memory, result.memoryMBPerStream);
        marginal = std::min(marginal, result.marginalMBPerStream);
        speed = std::max(speed, result.megabytesPerSecond);
    }
    if (load.flood)
        std::printf("  driver's speed to the best peer's: %.2f\n", driver.megabytesPerSecond / speed);
    else
        std::printf("  driver to the best peer: processor time %.2f, memory %.2f, of a further stream %.2f; "
                    "processor time to the floor %.2f\n",
                    driver.msPerStreamSecond / cpu, driver.memoryMBPerStream / memory,
                    marginal > 0 ? driver.marginalMBPerStream / marginal : 0.0,
                    driver.msPerStreamSecond / results[1].msPerStreamSecond);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2)
        return 2;
    const std::string build = argv[1];
    const int seconds = argc > 2 ? std::max(3, std::atoi(argv[2])) : 15;
    std::vector<Load> loads;
    for (const char* transport : {"udp", "tcp"})
    {
        for (const int streams : {1, 16, 64})
            loads.push_back({streams, transport, "640x480", 1000000, false});
        for (const int streams : {1, 16})
            loads.push_back({streams, transport, "1920x1080", 4000000, false});
    }
    loads.push_back({1, "tcp", "1920x1080", 4000000, true});
    for (const Load& load : loads)
    {
        const std::string name = std::to_string(load.streams) + (load.flood ? "flood" : load.transport);
        if (argc > 3 && std::find(argv + 3, argv + argc, name) == argv + argc)
            continue;
        const Camera camera(build, load.flood);
        if (camera.rtsp == 0)
        {
            std::fprintf(stderr, "the camera did not start\n");
            return 1;
        }
        Run run(build, seconds, load, camera);
        std::vector<Result> results = {run.Driver(), run.Bare(), run.GStreamer()};
        results.push_back(run.FFmpeg(results.front()));
        if (const char* before = std::getenv("LARKMOOR_BEFORE"))
            results.push_back(run.Driver("before", before));
        FillMarginalMemory(load, results);
        Print(load, results);
    }
    return 0;
}
