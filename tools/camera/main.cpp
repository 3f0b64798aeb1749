#include "base/choices.h"
#include "camera/device/profile.h"
#include "camera/simulated_camera.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <exception>
#include <map>
#include <string>

namespace
{

using namespace larkmoor::camera;

std::string Footer()
{
    std::string text = "Profiles:\n";
    for (const Profile& profile : Profile::All())
    {
        std::string line = "  " + profile.name;
        line.resize(28, ' ');
        text += line + profile.summary + "\n";
    }
    text += "\nFaults, for --fault 'NAME[=VALUE][@START[+DURATION]]', several with \",\" between them; times "
            "as in 5s, "
            "300ms, 2m:\n\n";
    return text + FaultPlan::HelpText();
}

void AddOptions(CLI::App& app, CameraOptions& options, unsigned& seconds)
{
    static const std::map<std::string, VideoSource> kSources = {
        {"live", VideoSource::Live}, {"canned", VideoSource::Canned}, {"flood", VideoSource::Flood}};

    app.add_option("--profile", options.profile, "The device to be, see below (single)")->group("Device");
    app.add_option(
           "--source", options.source,
           "live: one encoder a stream; canned: pictures encoded beforehand, for many clients; flood: "
           "the same as fast as they are taken")
        ->transform(larkmoor::OneOf(kSources))
        ->option_text("live|canned|flood")
        ->group("Device");
    app.add_option("--bind", options.bind, "Address to serve on (127.0.0.1)")->group("Network");
    app.add_option("--http-port", options.httpPort, "Port of the web server; 0 takes a free one (0)")
        ->group("Network");
    app.add_option("--rtsp-port", options.rtsp.port, "Port of the RTSP server; 0 takes a free one (0)")
        ->group("Network");
    app.add_flag("--tls", options.tls, "HTTPS, with a certificate made at the start")->group("Network");
    app.add_option("--auth", options.auth, "How clients have to say who they are (none)")
        ->transform(larkmoor::OneOf(kAuthSchemes))
        ->option_text("none|basic|digest")
        ->group("Credentials");
    app.add_option("--user", options.user, "The one user (root)")
        ->envname("LARKMOOR_CAMERA_USER")
        ->group("Credentials");
    app.add_option("--password", options.password, "Its password")
        ->envname("LARKMOOR_CAMERA_PASSWORD")
        ->group("Credentials");
    app.add_option("--fault", options.faults, "A fault to play, see below; may be given several times")
        ->allow_extra_args(false)
        ->option_text("TEXT")
        ->group("Faults");
    // What CLI11 calls a version flag prints a text and exits.
    app.set_version_flag("--list-faults", FaultPlan::Trials,
                         "Every fault as a program can play it, with marks")
        ->group("Faults");
    app.add_option("--seed", options.seed, "Of all chances (1)")->group("Faults");
    app.add_option("--request-log", options.requestLog, "File for every request, a JSON object a line")
        ->option_text("FILE")
        ->group("Reports");
    app.add_option("--truth", options.truth, "File for every picture sent, a JSON object a line")
        ->option_text("FILE")
        ->group("Reports");
    app.add_option("--truth-units", options.truthUnits,
                   "File for every H.264 access unit, NAL unit by NAL unit, a JSON object a line")
        ->option_text("FILE")
        ->group("Reports");
    app.add_option("--seconds", seconds, "Ends after so many seconds; otherwise on SIGINT or SIGTERM")
        ->group("Reports");
}

void AddStreamOptions(CLI::App& app, CameraOptions& options)
{
    app.add_option("--set", options.parameters,
                   "A parameter with its value at the start, as setparam takes it")
        ->allow_extra_args(false)
        ->option_text("KEY=VALUE")
        ->group("Device");
    app.add_option(
           "--input", options.inputs,
           "What the digital inputs do, INPUT[@START[/PERIOD]]=high|low|flip from 0, as in 1@3s=high or "
           "0@1s/500ms=flip; several with \",\" between them")
        ->allow_extra_args(false)
        ->option_text("TEXT")
        ->group("Device");
    app.add_option("--packet-bytes", options.rtsp.packetBytes, "Largest RTP packet (1400)")
        ->check(CLI::Range(200, 60000))
        ->group("RTP");
    app.add_flag("--stap-a", options.rtsp.aggregate, "H.264: parameter sets in one STAP-A packet")
        ->group("RTP");
    app.add_flag("--delimiters", options.rtsp.delimiters, "H.264: access unit delimiters")->group("RTP");
    app.add_flag("--info-units", options.rtsp.infoUnits, "H.264: an SEI unit before the slices")
        ->group("RTP");
    app.add_flag("--stamps", options.rtsp.stamps, "H.264 and Motion JPEG: the time of sending in each frame")
        ->group("RTP");
}

/// Waits for a signal to end, or for the time to be over; `seconds` of 0 waits for ever.
void WaitForEnd(boost::asio::io_context& context, unsigned seconds)
{
    boost::asio::steady_timer timer(context);
    if (seconds > 0)
    {
        timer.expires_after(std::chrono::seconds(seconds));
        timer.async_wait([&](const boost::system::error_code&) { context.stop(); });
    }
    context.run();
}

int Run(int argc, char** argv)
{
    CLI::App app("A network camera in software, for trying out recorders.", "larkmoor-camera");
    app.set_version_flag("--version", "larkmoor-camera " LARKMOOR_VERSION);
    CameraOptions options;
    unsigned seconds = 0;
    AddOptions(app, options, seconds);
    AddStreamOptions(app, options);
    app.footer(Footer);
    try
    {
        app.parse(argc, argv);
    }
    catch (const CLI::ParseError& problem)
    {
        return app.exit(problem) == 0 ? 0 : 2;
    }

    // Signals are caught before the first line is printed, so that whoever waits for it may end the camera at
    // once.
    boost::asio::io_context context;
    boost::asio::signal_set signals(context, SIGINT, SIGTERM);
    signals.async_wait([&](const boost::system::error_code&, int) { context.stop(); });

    SimulatedCamera camera(options);
    std::string error;
    if (!camera.Start(error))
    {
        std::fprintf(stderr, "larkmoor-camera: %s\n", error.c_str());
        return 1;
    }
    std::printf("ready http=%u rtsp=%u\n", static_cast<unsigned>(camera.HttpPort()),
                static_cast<unsigned>(camera.RtspPort()));
    std::fflush(stdout);
    WaitForEnd(context, seconds);
    camera.Stop();
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    try
    {
        return Run(argc, argv);
    }
    catch (const std::exception& problem)
    {
        std::fprintf(stderr, "larkmoor-camera: %s\n", problem.what());
        return 1;
    }
}
