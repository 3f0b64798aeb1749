#include "host/verbs/command_line.h"

#include "host/base/failure.h"
#include "host/verbs/hardware_command_line.h"
#include "host/verbs/hostile_command_line.h"

#include <larkmoor/host_frame.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>

namespace larkmoor::host
{

using namespace korvane::ipcapture;

namespace
{

constexpr std::uint32_t kMostStreams = 4096;

const std::map<std::string, Codec> kCodecs = {
    {"mjpeg", Codec::Mjpeg}, {"mpeg4", Codec::Mpeg4}, {"h264", Codec::H264}};
const std::map<std::string, Transport> kTransports = {{"udp", Transport::Udp},
                                                      {"tcp", Transport::Tcp},
                                                      {"multicast", Transport::Multicast},
                                                      {"http", Transport::Http}};

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
    std::map<std::uint32_t, std::string> properties;
    std::optional<Codec> codec;
    std::optional<Transport> transport;
};

// An option whose text is read by one of our readers, which says why it refuses.
template <typename Value>
CLI::Option* AddRead(CLI::App& app, const std::string& name, const std::string& help,
                     const std::string& shape, std::function<std::optional<Value>(const std::string&)> read,
                     std::function<void(const Value&)> store)
{
    return app
        .add_option(
            name,
            [name, shape, read, store](const CLI::results_t& texts)
            {
                for (const std::string& text : texts)
                {
                    const auto value = read(text);
                    if (!value)
                        throw CLI::ValidationError(name, "\"" + text + "\" is not " + shape);
                    store(*value);
                }
                return true;
            },
            help)
        ->type_name(shape);
}

template <typename Value>
CLI::Option* AddChoice(CLI::App& app, const std::string& name, const std::string& help,
                       const std::map<std::string, Value>& choices, std::optional<Value>& target)
{
    std::string shape;
    for (const auto& [text, value] : choices)
        shape += (shape.empty() ? "" : "|") + text;
    const auto read = [&choices](const std::string& text)
    {
        const auto found = choices.find(text);
        return found == choices.end() ? std::optional<Value>() : std::optional<Value>(found->second);
    };
    return AddRead<Value>(app, name, help, shape, read, [&target](const Value& value) { target = value; });
}

std::optional<std::chrono::milliseconds> ReadDurationText(const std::string& text)
{
    return ReadDuration(text);
}

std::optional<std::vector<std::uint32_t>> ReadAudioFormats(const std::string& text)
{
    if (text == "g711")
        return std::vector<std::uint32_t>{kFormatG711MuLaw, kFormatG711ALaw};
    if (text == "g726")
        return std::vector<std::uint32_t>{kFormatG726};
    return text == "aac" ? std::optional(std::vector<std::uint32_t>{kFormatAac}) : std::nullopt;
}

std::optional<std::pair<std::uint32_t, std::string>> ReadProperty(const std::string& text)
{
    const std::size_t equals = text.find('=');
    const auto number = ReadNumber(text.substr(0, equals), kLargestProperty);
    if (equals == std::string::npos || !number || *number == 0)
        return std::nullopt;
    return std::pair(static_cast<std::uint32_t>(*number), text.substr(equals + 1));
}

std::optional<RecordOptions::PictureAt> ReadPictureAt(const std::string& text)
{
    const std::size_t colon = text.find(':');
    const auto at = ReadDuration(text.substr(0, colon));
    if (!at || colon == std::string::npos || colon + 1 == text.size())
        return std::nullopt;
    return RecordOptions::PictureAt{*at, text.substr(colon + 1)};
}

void AddCommon(CLI::App& app, CommonOptions& common, DeviceArguments& device)
{
    app.add_option("--library", common.library, "the driver; liblarkmoor.so beside this program unless told")
        ->type_name("FILE");
    app.add_option("--json", common.json, "write what was measured to FILE")->type_name("FILE");
    app.add_option("--settings", common.settings, "give the driver a copy of this settings file")
        ->type_name("FILE")
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
    AddRead<std::pair<std::uint32_t, std::string>>(
        app, "--property", "a numbered property (repeatable)", "N=TEXT", ReadProperty,
        [&device](const auto& property) { device.properties[property.first] = property.second; })
        ->allow_extra_args(false)
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->group(group);
}

void AddTime(CLI::App& app, TimeOptions& time)
{
    const std::string group = "The stream";
    AddRead<std::chrono::milliseconds>(app, "--seconds",
                                       "how long, from the first frame on; until Ctrl-C unless told", "TIME",
                                       ReadDurationText, [&time](const auto& value) { time.seconds = value; })
        ->group(group);
    AddRead<std::chrono::milliseconds>(app, "--patience", "how long to wait for the first frame (30s)",
                                       "TIME", ReadDurationText,
                                       [&time](const auto& value) { time.patience = value; })
        ->group(group);
}

void AddAudio(CLI::App& app, AudioOptions& options, DeviceArguments& device)
{
    const std::string group = "The stream";
    AddChoice(app, "--transport", "how it comes (udp)", kTransports, device.transport)->group(group);
    app.add_option("--channel", options.channel, "audio channel, from 0 (0)")
        ->check(CLI::Range(0u, kMostChannels - 1))
        ->group(group);
    app.add_option("--video-channel", options.videoChannel, "video channel that it belongs to, from 0 (0)")
        ->check(CLI::Range(0u, kMostChannels - 1))
        ->group(group);
    AddRead<std::vector<std::uint32_t>>(
        app, "--take", "what this host plays (repeatable; all)", "g711|g726|aac", ReadAudioFormats,
        [&options](const auto& codes)
        { options.formats.insert(options.formats.end(), codes.begin(), codes.end()); })
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->allow_extra_args(false)
        ->group(group);
    app.add_option("--audio-codec", options.stream.audioCodec, "that the settings file names")
        ->check(CLI::IsMember({"aac4", "g711", "g726"}))
        ->group(group);
    AddTime(app, options.time);
    const std::string files = "What is written";
    app.add_option("--out", options.out, "a .wav, .mka or .aac file")->type_name("FILE")->group(files);
    app.add_option("--raw", options.raw, "the bytes of all frames, one behind the other")
        ->type_name("FILE")
        ->group(files);
    app.add_option("--frames", options.frames, "a JSON object a line for each frame")
        ->type_name("FILE")
        ->group(files);
}

void AddStream(CLI::App& app, StreamOptions& stream, DeviceArguments& device, TimeOptions& time)
{
    const std::string group = "The stream";
    AddChoice(app, "--codec", "what the device encodes (h264)", kCodecs, device.codec)->group(group);
    AddChoice(app, "--transport", "how it comes (udp; http is for mjpeg only)", kTransports, device.transport)
        ->group(group);
    AddRead<PictureSize>(app, "--size", "picture size in pixels (640x480)", "WxH", ReadSize,
                         [&stream](const PictureSize& size) { stream.size = size; })
        ->group(group);
    app.add_option("--rate", stream.rate, "frames a second (25); 0 asks for no rate")
        ->check(CLI::Range(0.0, 1000.0))
        ->group(group);
    app.add_option("--quality", stream.quality, "0 worst to 100 best (60)")
        ->check(CLI::Range(0, 100))
        ->group(group);
    app.add_option("--bitrate", stream.bitRate, "bits a second, in place of a quality")
        ->check(CLI::Range(10u, 100'000'000u))
        ->group(group);
    AddTime(app, time);
}

void AddQuery(CLI::App& app, QueryOptions& options)
{
    app.add_option("--save", options.save,
                   "write a device file for --device of the other verbs; it holds the password")
        ->type_name("FILE");
    app.add_flag("--raw", options.raw, "print every number and parameter as it came, too");
    app.add_flag("--ntsc", options.ntsc,
                 "for a device that does not tell its video standard; PAL unless told");
}

void AddRecord(CLI::App& app, RecordOptions& options)
{
    const std::string group = "What is written";
    app.add_option("--channel", options.channel, "video channel, from 0 (0)")
        ->check(CLI::Range(0u, kMostChannels - 1))
        ->group("The stream");
    AddRead<Change>(
        app, "--change", "change size, rate or both while recording, as 5s:640x480@10 (repeatable)",
        "TIME:WxH@FPS", [](const std::string& text) { return ReadChange(text); },
        [&options](const Change& change) { options.changes.push_back(change); })
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->allow_extra_args(false)
        ->group("The stream");
    app.add_flag("--audio", options.audio, "the sound of the channel too, in the Matroska recording")
        ->group("The stream");
    app.add_option("--audio-codec", options.stream.audioCodec, "of the sound, that the settings file names")
        ->check(CLI::IsMember({"aac4", "g711", "g726"}))
        ->group("The stream");
    app.add_option("--out", options.out,
                   "a Matroska recording; goes on in NAME-2.mkv when the picture size changes")
        ->type_name("FILE")
        ->group(group);
    app.add_option("--raw", options.raw, "the bytes of all frames, one behind the other")
        ->type_name("FILE")
        ->group(group);
    app.add_option("--frames", options.frames, "a JSON object a line for each frame")
        ->type_name("FILE")
        ->group(group);
    app.add_option("--picture", options.picture, "the last key frame as PNG")
        ->type_name("FILE")
        ->group(group);
    AddRead<RecordOptions::PictureAt>(
        app, "--picture-at", "the last key frame at that time as PNG (repeatable)", "TIME:FILE",
        ReadPictureAt, [&options](const auto& picture) { options.picturesAt.push_back(picture); })
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->allow_extra_args(false)
        ->group(group);
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
        device.properties[3] = std::to_string(*arguments.rtspPort);
    if (!arguments.streamPaths.empty())
    {
        (transport == Transport::Http ? paths.http : paths.rtsp) = arguments.streamPaths;
        (transport == Transport::Http ? paths.rtsp : paths.http).clear();
        device.properties[14] = StreamTable(paths, device.channels);
    }
    if (arguments.transport && device.codec == Codec::Mjpeg)
        device.properties[7] = transport == Transport::Http ? "1" : "0";
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
    if (!arguments.transport && common.device.codec == Codec::Mjpeg && common.device.properties[7] == "1")
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
        ->group("The stream");

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
    AddRead<std::chrono::milliseconds>(loadApp, "--ramp", "time over which the streams are started (2s)",
                                       "TIME", ReadDurationText,
                                       [&load](const auto& value) { load.ramp = value; })
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

    if (hostileApp.parsed())
        return Command(hostile);
    if (queryApp.parsed())
    {
        query.common.device = BuildDevice(device, 1, Transport::Udp);
        return Command(query);
    }
    const auto simple = [&](auto& options)
    {
        options.common.device = BuildDevice(device, 1, Transport::Udp);
        return Command(options);
    };
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
        Complete(record.common, record.stream, device, record.channel + 1);
        return Command(record);
    }
    if (watchApp.parsed())
    {
        if (watch.channels.empty())
            watch.channels.push_back(0);
        Complete(watch.common, watch.stream, device,
                 *std::max_element(watch.channels.begin(), watch.channels.end()) + 1);
        return Command(watch);
    }
    if (audioApp.parsed())
    {
        Complete(audio.common, audio.stream, device, audio.videoChannel + 1);
        return Command(audio);
    }
    Complete(load.common, load.stream, device, load.channels);
    return Command(load);
}

} // namespace larkmoor::host
