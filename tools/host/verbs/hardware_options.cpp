#include "host/verbs/add_options.h"

#include "host/verbs/options.h"

#include <algorithm>

namespace larkmoor::host
{

namespace
{

using std::chrono::milliseconds;

constexpr std::uint32_t kMostOutputs = 255;

// "left", "left:2s", "wait:500ms", "centre:320,240".
std::optional<PtzAction> ReadAction(std::string_view text)
{
    const auto more = CutBehind(text, ':');
    PtzAction action;
    action.name = text;
    if (!IsPtzAction(action.name))
        return std::nullopt;
    if (action.name == "centre")
    {
        const auto place = ReadPair<std::uint16_t>(more.value_or(""), ',');
        if (!place)
            return std::nullopt;
        std::tie(action.x, action.y) = *place;
        return action;
    }
    action.lasts = ReadDuration(more.value_or(""));
    const bool good = more ? action.lasts && action.name != "stop" : action.name != "wait";
    return good ? std::optional(action) : std::nullopt;
}

// "0=on", "0@5s=off".
std::optional<IoOptions::Switch> ReadSwitch(std::string_view text)
{
    const std::string_view state = CutBehind(text, '=').value_or("");
    const auto time = CutBehind(text, '@');
    const auto output = ReadNumber<std::uint32_t>(text, kMostOutputs);
    const auto at = time ? ReadDuration(*time) : milliseconds(0);
    if (!output || !at || (state != "on" && state != "off"))
        return std::nullopt;
    return IoOptions::Switch{*at, *output, state == "on"};
}

void AddSpeed(CLI::App& app, std::uint32_t& speed)
{
    app.add_option("--speed", speed, "1 slowest to 16 fastest (8)")->check(CLI::Range(1u, 16u));
}

} // namespace

void AddPtz(CLI::App& app, PtzOptions& options)
{
    AddSpeed(app, options.speed);
    AddRead(app, "--settle", options.settle, "TIME", ReadDuration,
            "time for the last commands to reach the device before the driver is closed (2s)");
    AddRead(app, "ACTION", options.actions, "NAME[:TIME]", ReadAction,
            "what the head does, in turn; by the arrow keys on a terminal if there is none:\n" +
                PtzActionNames() +
                "stop, wait:TIME, centre:X,Y (of the picture). NAME:TIME stops after that time.")
        ->expected(CLI::detail::expected_max_vector_size);
}

void AddPreset(CLI::App& app, PresetOptions& options)
{
    using What = PresetOptions::What;
    AddSpeed(app, options.speed);
    app.require_subcommand(1);
    app.fallthrough();
    const auto add = [&](const char* name, const char* help, What what)
    {
        CLI::App* const sub = app.add_subcommand(name, help);
        sub->callback([&options, what] { options.what = what; });
        if (what != What::List)
            sub->add_option("NAME", options.name, "name of the preset")->required();
    };
    add("list", "names in the host's order", What::List);
    add("add", "keep where the head looks", What::Add);
    add("go", "go there", What::Go);
    add("delete", "forget it", What::Delete);
}

void AddIo(CLI::App& app, IoOptions& options)
{
    AddRead(app, "--set", options.switches, "OUTPUT[@TIME]=on|off", ReadSwitch,
            "switch an output, from 0, as 0=on or 0@5s=off (repeatable); the driver itself switches all off "
            "at the start")
        ->expected(CLI::detail::expected_max_vector_size)
        ->allow_extra_args(false);
    AddRead(app, "--seconds", options.seconds, "TIME", ReadDuration, "how long; until Ctrl-C unless told");
    app.callback([&options] { std::ranges::stable_sort(options.switches, {}, &IoOptions::Switch::at); });
}

} // namespace larkmoor::host
