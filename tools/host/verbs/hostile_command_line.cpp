#include "host/verbs/hostile_command_line.h"

#include "host/base/text.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <limits>
#include <map>
#include <sstream>

namespace larkmoor::host
{

namespace
{

using Stream = HostileOptions::Stream;

constexpr std::uint32_t kMostAtOnce = 1000;
constexpr std::chrono::milliseconds kShortestTime(10);
constexpr std::chrono::milliseconds kLongestStall(15'000); // a longer one hides a stop that never ends
constexpr std::chrono::milliseconds kLongestUse(60'000);

const std::map<std::string, std::pair<Codec, Transport>> kStreams = {
    {"h264/udp", {Codec::H264, Transport::Udp}},
    {"h264/tcp", {Codec::H264, Transport::Tcp}},
    {"h264/multicast", {Codec::H264, Transport::Multicast}},
    {"mpeg4/udp", {Codec::Mpeg4, Transport::Udp}},
    {"mpeg4/tcp", {Codec::Mpeg4, Transport::Tcp}},
    {"mpeg4/multicast", {Codec::Mpeg4, Transport::Multicast}},
    {"mjpeg/udp", {Codec::Mjpeg, Transport::Udp}},
    {"mjpeg/tcp", {Codec::Mjpeg, Transport::Tcp}},
    {"mjpeg/multicast", {Codec::Mjpeg, Transport::Multicast}},
    {"mjpeg/http", {Codec::Mjpeg, Transport::Http}},
};

// "h264/udp:8080:8554".
Stream ReadStream(const std::string& text)
{
    std::istringstream words(text);
    std::string name, port, rtspPort;
    std::getline(words, name, ':');
    std::getline(words, port, ':');
    std::getline(words, rtspPort);
    const auto found = kStreams.find(name);
    const auto http = ReadNumber(port, std::numeric_limits<std::uint16_t>::max());
    const auto rtsp = ReadNumber(rtspPort, std::numeric_limits<std::uint16_t>::max());
    if (found == kStreams.end() || !http || !rtsp)
        throw CLI::ValidationError("STREAM", "\"" + text + "\" is not CODEC/TRANSPORT:PORT:RTSPPORT");
    return {found->second.first, found->second.second, static_cast<std::uint16_t>(*http),
            static_cast<std::uint16_t>(*rtsp)};
}

void ReadStreams(const std::vector<std::string>& texts, std::vector<Stream>& streams)
{
    for (const std::string& text : texts)
        streams.push_back(ReadStream(text));
    const auto multicast =
        static_cast<std::size_t>(std::ranges::count(streams, Transport::Multicast, &Stream::transport));
    if (multicast != 0 && multicast != streams.size())
        throw CLI::ValidationError("STREAM", "multicast is for all streams or for none");
}

void AddTime(CLI::App& app, const std::string& name, const std::string& help, std::chrono::milliseconds most,
             std::chrono::milliseconds& target)
{
    app.add_option_function<std::string>(
           name,
           [name, most, &target](const std::string& text)
           {
               const auto time = ReadDuration(text);
               if (!time || *time < kShortestTime || *time > most)
                   throw CLI::ValidationError(name, "\"" + text + "\" is not 10ms to " +
                                                        std::to_string(most.count()) + "ms");
               target = *time;
           },
           help)
        ->type_name("TIME");
}

} // namespace

void AddHostile(CLI::App& app, HostileOptions& options)
{
    app.add_option("--library", options.library, "the driver; liblarkmoor.so beside this program unless told")
        ->type_name("FILE");
    app.add_option("--json", options.json, "write what came of it to FILE")->type_name("FILE");
    app.add_option("--cycles", options.cycles, "how often a driver is opened, used and closed (2000)")
        ->check(CLI::Range(4u, 1'000'000u));
    app.add_option("--at-once", options.atOnce, "drivers at a time (32)")->check(CLI::Range(1u, kMostAtOnce));
    app.add_option("--seed", options.seed, "of all chances; the same seed does the same to the driver (1)");
    AddTime(app, "--longest-stall", "of a call into this host (8s)", kLongestStall, options.longestStall);
    AddTime(app, "--longest-use", "of a driver before it is stopped, now and then (40s)", kLongestUse,
            options.longestUse);
    app.add_option_function<std::vector<std::string>>(
           "STREAM",
           [&options](const std::vector<std::string>& texts) { ReadStreams(texts, options.streams); },
           "a device at 127.0.0.1, and what it sends: h264, mpeg4 or mjpeg over udp, tcp or multicast, or "
           "mjpeg/http")
        ->type_name("CODEC/TRANSPORT:PORT:RTSPPORT")
        ->required();
}

} // namespace larkmoor::host
