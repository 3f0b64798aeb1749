#include "host/verbs/command_line.h"

#include "base/choices.h"
#include "host/base/failure.h"
#include "host/contract/driver_library.h"
#include "host/verbs/add_options.h"

#include <larkmoor/device_property.h>
#include <larkmoor/host_frame.h>

#include <algorithm>
#include <map>

namespace larkmoor::host
{

using namespace korvane::ipcapture;

namespace
{

constexpr std::uint32_t kMostStreams = 4096;
constexpr const char* kStreamGroup = "The stream";
constexpr const char* kFilesGroup = "What is written";

// What stands on the command line about the device; put over the device file once all is read.
struct DeviceArguments
{
    std::optional<std::filesystem::path> file;
    std::optional<std::string> address;
    std::optional<std::uint16_t> port;
    std::optional<std::string> user;
    std::optional<std::string> password;
    std::optional<std::string> model;
    std::optional<std::uint32_t> channels;
    std::optional<std::uint16_t> rtspPort;
    std::vector<std::string> streamPaths;
    std::vector<std::pair<std::uint32_t, std::string>> properties;
    std::optional<Codec> codec;
    std::optional<Transport> transport;
};

template <typename Value>
CLI::Option* AddChoice(CLI::App& app, const std::string& name, std::optional<Value>& target,
                       const std::map<std::string, Value>& choices, const std::string& help)
{
    const CLI::Validator oneOf = OneOf(choices);
    return app.add_option(name, target, help)
        ->transform(oneOf)
        ->option_text(oneOf.get_description())
        ->group(kStreamGroup);
}

CLI::Option* AddFile(CLI::App& app, const std::string& name, std::filesystem::path& target,
                     const std::string& help)
{
    return app.add_option(name, target, help)->type_name("FILE");
}

std::optional<std::vector<std::uint32_t>> ReadAudioFormats(std::string_view text)
{
    if (text == "g711")
        return std::vector{kFormatG711MuLaw, kFormatG711ALaw};
    if (text == "g726")
        return std::vector{kFormatG726};
    return text == "aac" ? std::optional(std::vector{kFormatAac}) : std::nullopt;
}

std::optional<std::pair<std::uint32_t, std::string>> ReadProperty(std::string_view text)
{
    const auto value = CutBehind(text, '=');
    const auto number = ReadNumber<std::uint32_t>(text, kLargestProperty);
    if (!value || !number || *number == 0)
        return std::nullopt;
    return std::pair(*number, std::string(*value));
}

std::optional<RecordOptions::PictureAt> ReadPictureAt(std::string_view text)
{
    const auto at = ReadDuration(CutAt(text, ':'));
    return at && !text.empty() ? std::optional(RecordOptions::PictureAt{*at, text}) : std::nullopt;
}

void AddCommon(CLI::App& app, CommonOptions& common, DeviceArguments& device)
{
    AddFile(app, "--library", common.library,
            "the driver; liblarkmoor.so beside this program, else the installed one");
    AddFile(app, "--json", common.json, "write what was measured to FILE");
    AddFile(app, "--settings", common.settings, "give the driver a copy of this settings file")
        ->check(CLI::ExistingFile);
    app.add_option("--host-version", common.hostVersion,
                   "the version that the driver finds of its host, as 7.4.4.0");
    app.add_flag("--quiet", common.quiet, "show the driver's errors and warnings only");

    const std::string group = "The device";
    app.add_option("--device", device.file, "a device file; the options below override what it says")
        ->type_name("FILE")
        ->check(CLI::ExistingFile)
        ->group(group);
    app.add_option("--address", device.address, "host name or IP address (127.0.0.1)")->group(group);
    app.add_option("--port", device.port, "HTTP port (80)")->group(group);
    app.add_option("--rtsp-port", device.rtspPort, "RTSP port (554); property 3")->group(group);
    app.add_option("--user", device.user, "login name")->group(group);
    app.add_option("--password", device.password,
                   "login password; better in LARKMOOR_PASSWORD, where other users can't see it")
        ->envname("LARKMOOR_PASSWORD")
        ->group(group);
    app.add_option("--model", device.model, "model name that the driver gets")->group(group);
    app.add_option("--channels", device.channels, "video channels that the device has")
        ->check(CLI::Range(1u, kMostChannels))
        ->group(group);
    app.add_option(
           "--stream-path", device.streamPaths,
           "path of a stream on the device (repeatable: first stream, second, ...); %c becomes the number of "
           "the channel from 0, %C from 1; property 14")
        ->type_name("PATH")
        ->allow_extra_args(false)
        ->group(group);
    AddRead(app, "--property", device.properties, "N=TEXT", ReadProperty, "a numbered property (repeatable)")
        ->group(group);
}

void AddTime(CLI::App& app, TimeOptions& time)
{
    AddRead(app, "--seconds", time.seconds, "TIME", ReadDuration,
            "how long, from the first frame on; until Ctrl-C unless told")
        ->group(kStreamGroup);
    AddRead(app, "--patience", time.patience, "TIME", ReadDuration,
            "how long to wait for the first frame (30s)")
        ->group(kStreamGroup);
}

void AddChannel(CLI::App& app, const std::string& name, std::uint32_t& channel, const std::string& help)
{
    app.add_option(name, channel, help)->check(CLI::Range(0u, kMostChannels - 1))->group(kStreamGroup);
}

void AddAudioCodec(CLI::App& app, StreamOptions& stream, const std::string& help)
{
    app.add_option("--audio-codec", stream.audioCodec, help)
        ->check(CLI::IsMember({"aac4", "g711", "g726"}))
        ->group(kStreamGroup);
}

// The files of those verbs that keep frames.
template <typename Options>
void AddFrameFiles(CLI::App& app, Options& options, const std::string& helpOfOut)
{
    AddFile(app, "--out", options.out, helpOfOut)->group(kFilesGroup);
    AddFile(app, "--raw", options.raw, "the bytes of all frames, one behind the other")->group(kFilesGroup);
    AddFile(app, "--frames", options.frames, "a JSON object a line for each frame")->group(kFilesGroup);
}

void AddAudio(CLI::App& app, AudioOptions& options, DeviceArguments& device)
{
    AddChoice(app, "--transport", device.transport, kTransports, "how it comes (udp)");
    AddChannel(app, "--channel", options.channel, "audio channel, from 0 (0)");
    AddChannel(app, "--video-channel", options.videoChannel, "video channel that it belongs to, from 0 (0)");
    AddRead(app, "--take", options.formats, "g711|g726|aac", ReadAudioFormats,
            "what this host plays (repeatable; all)")
        ->group(kStreamGroup);
    AddAudioCodec(app, options.stream, "that the settings file names");
    AddTime(app, options.time);
    AddFrameFiles(app, options, "a .wav, .mka or .aac file");
}

void AddStream(CLI::App& app, StreamOptions& stream, DeviceArguments& device, TimeOptions& time)
{
    AddChoice(app, "--codec", device.codec, kCodecs, "what the device encodes (h264)");
    AddChoice(app, "--transport", device.transport, kTransports,
              "how it comes (udp; http is for mjpeg only)");
    AddRead(app, "--size", stream.size, "WxH", ReadSize, "picture size in pixels (640x480)")
        ->group(kStreamGroup);
    app.add_option("--rate", stream.rate, "frames a second (25); 0 asks for no rate")
        ->check(CLI::Range(0.0, 1000.0))
        ->group(kStreamGroup);
    app.add_option("--quality", stream.quality, "0 worst to 100 best (60)")
        ->check(CLI::Range(0, 100))
        ->group(kStreamGroup);
    app.add_option("--bitrate", stream.bitRate, "bits a second, in place of a quality")
        ->check(CLI::Range(10u, 100'000'000u))
        ->group(kStreamGroup);
    AddTime(app, time);
}

void AddQuery(CLI::App& app, QueryOptions& options)
{
    AddFile(app, "--save", options.save,
            "write a device file for --device of the other verbs; it holds the password");
    app.add_flag("--raw", options.raw, "print every number and parameter as it came, too");
    app.add_flag("--ntsc", options.ntsc,
                 "for a device that does not tell its video standard; PAL unless told");
}

void AddRecord(CLI::App& app, RecordOptions& options)
{
    AddChannel(app, "--channel", options.channel, "video channel, from 0 (0)");
    AddRead(app, "--change", options.changes, "TIME:WxH@FPS", ReadChange,
            "change size, rate or both while recording, as 5s:640x480@10 (repeatable)")
        ->group(kStreamGroup);
    app.add_flag("--audio", options.audio, "the sound of the channel too, in the Matroska recording")
        ->group(kStreamGroup);
    AddAudioCodec(app, options.stream, "of the sound, that the settings file names");
    AddFrameFiles(app, options, "a Matroska recording; goes on in NAME-2.mkv when the picture size changes");
    AddFile(app, "--picture", options.picture, "the last key frame as PNG")->group(kFilesGroup);
    AddRead(app, "--picture-at", options.picturesAt, "TIME:FILE", ReadPictureAt,
            "the last key frame at that time as PNG (repeatable)")
        ->group(kFilesGroup);
}

// The device out of its file, with what stands on the command line put over it.
Device BuildDevice(const DeviceArguments& arguments, std::uint32_t leastChannels, Transport transport)
{
    Device device = arguments.file ? ReadDeviceFile(*arguments.file) : Device();
    device.address = arguments.address.value_or(device.address);
    device.port = arguments.port.value_or(device.port);
    device.user = arguments.user.value_or(device.user);
    device.password = arguments.password.value_or(device.password);
    device.model = arguments.model.value_or(device.model);
    device.codec = arguments.codec.value_or(device.codec);
    device.channels = arguments.channels.value_or(std::max(device.channels, leastChannels));
    if (device.channels < leastChannels)
        throw Failure(ExitStatus::Usage,
                      "the device has only " + std::to_string(device.channels) + " channels");

    StreamPaths paths = UsualPaths(device.channels);
    if (arguments.rtspPort)
        device.properties[kPropertyRtspPort] = std::to_string(*arguments.rtspPort);
    if (!arguments.streamPaths.empty())
    {
        (transport == Transport::Http ? paths.http : paths.rtsp) = arguments.streamPaths;
        (transport == Transport::Http ? paths.rtsp : paths.http).clear();
        device.properties[kPropertyStreams] = StreamTable(paths, device.channels);
    }
    if (arguments.transport && device.codec == Codec::Mjpeg)
        device.properties[kPropertyJpegOverHttp] = transport == Transport::Http ? "1" : "0";
    for (const auto& [number, text] : arguments.properties)
        device.properties[number] = text;
    FillProperties(device, paths, transport);
    return device;
}

void Complete(CommonOptions& common, StreamOptions& stream, const DeviceArguments& arguments,
              std::uint32_t leastChannels)
{
    stream.transport = arguments.transport.value_or(Transport::Udp);
    common.device = BuildDevice(arguments, leastChannels, stream.transport);
    if (!arguments.transport && common.device.codec == Codec::Mjpeg &&
        common.device.properties[kPropertyJpegOverHttp] == "1")
        stream.transport = Transport::Http; // the device file says so
    if (stream.transport == Transport::Http && common.device.codec != Codec::Mjpeg)
        throw Failure(ExitStatus::Usage, "--transport http carries --codec mjpeg only");
}

/// What is to be done behind the end would never be done.
template <typename Item>
void RefuseBehindEnd(const char* option, const std::vector<Item>& items,
                     const std::optional<std::chrono::milliseconds>& seconds)
{
    for (const Item& item : items)
        if (seconds && item.at >= *seconds)
            throw Failure(ExitStatus::Usage, std::string(option) + " at " + std::to_string(item.at.count()) +
                                                 " ms is behind the end: --seconds is " +
                                                 std::to_string(seconds->count()) + " ms");
}

constexpr const char* kDescription =
    "Loads the capture driver as a recorder would, and works with it from the command line.\n\n"
    "Exit status: 0 done; 1 a fault of this program; 2 command line; 3 no driver; 4 no frames; 5 a file "
    "could not\n"
    "be written; 6 the driver broke its contract (frames leaked, released twice, overwritten); 130 "
    "interrupted.\n"
    "11 the driver or the device did not do what it was told.\n"
    "A query also: 7 the address is none; 8 login refused; 9 not reachable; 10 no device that the driver "
    "knows.";

} // namespace

std::variant<Command, NoCommand> ReadCommandLine(int argc, const char* const* argv)
{
    CLI::App app(kDescription, "larkmoor-host");
    app.require_subcommand(1);
    app.set_version_flag("--version",
                         [] { return "larkmoor-host " LARKMOOR_VERSION "\n" + DescribeDriver(); });
    app.set_help_all_flag("--help-all", "help of all verbs");

    QueryOptions query;
    RecordOptions record;
    WatchOptions watch;
    AudioOptions audio;
    LoadOptions load;
    PtzOptions ptz;
    PresetOptions preset;
    IoOptions io;
    HostileOptions hostile;
    DeviceArguments device;

    CLI::App& queryApp = *app.add_subcommand("query", "find out what a device is and can do");
    AddCommon(queryApp, query.common, device);
    AddQuery(queryApp, query);

    CLI::App& recordApp = *app.add_subcommand("record", "record one channel into files");
    AddCommon(recordApp, record.common, device);
    AddStream(recordApp, record.stream, device, record.time);
    AddRecord(recordApp, record);

    CLI::App& watchApp = *app.add_subcommand("watch", "show what comes from a device, live");
    AddCommon(watchApp, watch.common, device);
    AddStream(watchApp, watch.stream, device, watch.time);
    watchApp.add_option("--channel", watch.channels, "video channel, from 0 (repeatable; 0)")
        ->check(CLI::Range(0u, kMostChannels - 1))
        ->allow_extra_args(false)
        ->group(kStreamGroup);

    CLI::App& audioApp = *app.add_subcommand("audio", "record the sound of one channel, with its level");
    AddCommon(audioApp, audio.common, device);
    AddAudio(audioApp, audio, device);

    CLI::App& loadApp = *app.add_subcommand("load", "run many streams at once and measure what they cost");
    AddCommon(loadApp, load.common, device);
    AddStream(loadApp, load.stream, device, load.time);
    const std::string group = "The load";
    loadApp.add_option("--drivers", load.drivers, "drivers, each with its own connection to the device (1)")
        ->check(CLI::Range(1u, kMostStreams))
        ->group(group);
    loadApp.add_option("--streams", load.channels, "channels that each driver runs (1)")
        ->check(CLI::Range(1u, kMostChannels))
        ->group(group);
    AddRead(loadApp, "--ramp", load.ramp, "TIME", ReadDuration,
            "time over which the streams are started (2s)")
        ->group(group);
    loadApp.add_option("--rounds", load.rounds, "how often all is opened, run and closed (1)")
        ->check(CLI::Range(1u, 100'000u))
        ->group(group);

    CLI::App& ptzApp = *app.add_subcommand("ptz", "move a device's head");
    AddCommon(ptzApp, ptz.common, device);
    AddPtz(ptzApp, ptz);
    CLI::App& presetApp = *app.add_subcommand("preset", "list, keep, go to and forget views of a head");
    AddCommon(presetApp, preset.common, device);
    AddPreset(presetApp, preset);
    CLI::App& ioApp = *app.add_subcommand("io", "watch digital inputs and switch outputs");
    AddCommon(ioApp, io.common, device);
    AddIo(ioApp, io);
    CLI::App& hostileApp =
        *app.add_subcommand("hostile", "be a host that stalls, throws and refuses, and judge the driver");
    AddHostile(hostileApp, hostile);

    try
    {
        app.parse(argc, argv);
    }
    catch (const CLI::ParseError& error)
    {
        return NoCommand{app.exit(error) == 0 ? 0 : static_cast<int>(ExitStatus::Usage)};
    }

    const auto simple = [&](auto& options)
    {
        options.common.device = BuildDevice(device, 1, Transport::Udp);
        return Command(options);
    };
    const auto withStream = [&](auto& options, std::uint32_t leastChannels)
    {
        Complete(options.common, options.stream, device, leastChannels);
        return Command(options);
    };
    if (hostileApp.parsed())
        return Command(hostile);
    if (queryApp.parsed())
        return simple(query);
    if (ptzApp.parsed())
        return simple(ptz);
    if (presetApp.parsed())
        return simple(preset);
    if (ioApp.parsed())
    {
        RefuseBehindEnd("--set", io.switches, io.seconds);
        return simple(io);
    }
    if (recordApp.parsed())
    {
        RefuseBehindEnd("--picture-at", record.picturesAt, record.time.seconds);
        RefuseBehindEnd("--change", record.changes, record.time.seconds);
        return withStream(record, record.channel + 1);
    }
    if (watchApp.parsed())
    {
        if (watch.channels.empty())
            watch.channels.push_back(0);
        return withStream(watch, *std::ranges::max_element(watch.channels) + 1);
    }
    return audioApp.parsed() ? withStream(audio, audio.videoChannel + 1) : withStream(load, load.channels);
}

} // namespace larkmoor::host
