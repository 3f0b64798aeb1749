#include "host/verbs/add_options.h"

#include <algorithm>
#include <map>

namespace larkmoor::host
{

namespace
{

using std::chrono::milliseconds;
using Stream = HostileOptions::Stream;

constexpr std::uint32_t kMostAtOnce = 1000;
constexpr milliseconds kShortestTime(10);
constexpr milliseconds kLongestStall(15'000); // a longer one hides a stop that never ends
constexpr milliseconds kLongestUse(60'000);

// "h264/udp:8080:8554".
std::optional<Stream> ReadStream(std::string_view text)
{
    const auto codec = kCodecs.find(std::string(CutAt(text, '/')));
    const auto transport = kTransports.find(std::string(CutAt(text, ':')));
    const auto ports = ReadPair<std::uint16_t>(text, ':');
    if (codec == kCodecs.end() || transport == kTransports.end() || !ports)
        return std::nullopt;
    if (transport->second == Transport::Http && codec->second != Codec::Mjpeg)
        return std::nullopt;
    return Stream{codec->second, transport->second, ports->first, ports->second};
}

void AddTime(CLI::App& app, const std::string& name, milliseconds& target, milliseconds most,
             const std::string& help)
{
    const auto read = [most](const std::string& text)
    {
        const auto time = ReadDuration(text);
        return time && *time >= kShortestTime && *time <= most ? time : std::nullopt;
    };
    AddRead(app, name, target, "10ms to " + std::to_string(most.count()) + "ms", read, help)
        ->type_name("TIME");
}

} // namespace

void AddHostile(CLI::App& app, HostileOptions& options)
{
    app.add_option("--library", options.library,
                   "the driver; liblarkmoor.so beside this program, else the installed one")
        ->type_name("FILE");
    app.add_option("--json", options.json, "write what came of it to FILE")->type_name("FILE");
    app.add_option("--cycles", options.cycles, "how often a driver is opened, used and closed (2000)")
        ->check(CLI::Range(4u, 1'000'000u));
    app.add_option("--at-once", options.atOnce, "drivers at a time (32)")->check(CLI::Range(1u, kMostAtOnce));
    app.add_option("--seed", options.seed, "of all chances; the same seed does the same to the driver (1)");
    AddTime(app, "--longest-stall", options.longestStall, kLongestStall, "of a call into this host (8s)");
    AddTime(app, "--longest-use", options.longestUse, kLongestUse,
            "of a driver before it is stopped, now and then (40s)");
    AddRead(app, "STREAM", options.streams, "CODEC/TRANSPORT:PORT:RTSPPORT", ReadStream,
            "a device at 127.0.0.1, and what it sends: h264, mpeg4 or mjpeg over udp, tcp or multicast, or "
            "mjpeg/http")
        ->expected(CLI::detail::expected_max_vector_size)
        ->required();
    app.callback(
        [&options]
        {
            const auto multicast =
                std::ranges::count(options.streams, Transport::Multicast, &Stream::transport);
            if (multicast != 0 && multicast != std::ssize(options.streams))
                throw CLI::ValidationError("STREAM", "multicast is for all streams or for none");
        });
}

} // namespace larkmoor::host
