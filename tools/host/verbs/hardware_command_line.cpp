#include "host/verbs/hardware_command_line.h"

#include "host/base/text.h"
#include "host/verbs/ptz.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace larkmoor::host
{

namespace
{

using std::chrono::milliseconds;

constexpr std::uint32_t kMostPixels = 65535;
constexpr std::uint32_t kMostOutputs = 255;

// "left", "left:2s", "wait:500ms", "centre:320,240".
PtzAction ReadAction(const std::string& text)
{
    const std::size_t colon = std::min(text.find(':'), text.size());
    PtzAction action;
    action.name = text.substr(0, colon);
    const std::string rest = text.substr(std::min(colon + 1, text.size()));
    bool good = IsPtzAction(action.name);
    if (action.name == "centre")
    {
        const std::size_t comma = std::min(rest.find(','), rest.size());
        const auto x = ReadNumber(rest.substr(0, comma), kMostPixels);
        const auto y = ReadNumber(rest.substr(std::min(comma + 1, rest.size())), kMostPixels);
        good = x && y;
        action.x = static_cast<std::uint32_t>(x.value_or(0));
        action.y = static_cast<std::uint32_t>(y.value_or(0));
    }
    else if (colon < text.size())
    {
        action.lasts = ReadDuration(rest);
        good = good && action.lasts && action.name != "stop";
    }
    else if (action.name == "wait")
        good = false;
    if (!good)
        throw CLI::ValidationError("ACTION", "\"" + text + "\" is no action; --help lists all");
    return action;
}

// "0=on", "0@5s=off".
IoOptions::Switch ReadSwitch(const std::string& text)
{
    const std::size_t equals = std::min(text.find('='), text.size());
    const std::size_t at = std::min(text.find('@'), equals);
    const std::string state = text.substr(std::min(equals + 1, text.size()));
    const auto output = ReadNumber(text.substr(0, at), kMostOutputs);
    const auto time = at == equals ? milliseconds(0) : ReadDuration(text.substr(at + 1, equals - at - 1));
    if (!output || !time || (state != "on" && state != "off"))
        throw CLI::ValidationError("--set", "\"" + text + "\" is not OUTPUT[@TIME]=on|off");
    return {*time, static_cast<std::uint32_t>(*output), state == "on"};
}

void AddSpeed(CLI::App& app, std::uint32_t& speed)
{
    app.add_option("--speed", speed, "1 slowest to 16 fastest (8)")->check(CLI::Range(1u, 16u));
}

} // namespace

void AddPtz(CLI::App& app, PtzOptions& options)
{
    AddSpeed(app, options.speed);
    app.add_option_function<std::string>(
           "--settle",
           [&options](const std::string& text)
           {
               const auto time = ReadDuration(text);
               if (!time)
                   throw CLI::ValidationError("--settle", "\"" + text + "\" is no time");
               options.settle = *time;
           },
           "time for the last commands to reach the device before the driver is closed (2s)")
        ->type_name("TIME");
    app.add_option_function<std::vector<std::string>>(
           "ACTION",
           [&options](const std::vector<std::string>& texts)
           {
               for (const std::string& text : texts)
                   options.actions.push_back(ReadAction(text));
           },
           "what the head does, in turn; by the arrow keys on a terminal if there is none:\n" +
               PtzActionNames() +
               "stop, wait:TIME, centre:X,Y (of the picture). NAME:TIME stops after that time.")
        ->type_name("NAME[:TIME]");
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
    app.add_option_function<std::vector<std::string>>(
           "--set",
           [&options](const std::vector<std::string>& texts)
           {
               for (const std::string& text : texts)
                   options.switches.push_back(ReadSwitch(text));
               std::stable_sort(options.switches.begin(), options.switches.end(),
                                [](const auto& a, const auto& b) { return a.at < b.at; });
           },
           "switch an output, from 0, as 0=on or 0@5s=off (repeatable); the driver itself switches all off "
           "at the start")
        ->type_name("OUTPUT[@TIME]=on|off")
        ->allow_extra_args(false);
    app.add_option_function<std::string>(
           "--seconds",
           [&options](const std::string& text)
           {
               options.seconds = ReadDuration(text);
               if (!options.seconds)
                   throw CLI::ValidationError("--seconds", "\"" + text + "\" is no time");
           },
           "how long; until Ctrl-C unless told")
        ->type_name("TIME");
}

} // namespace larkmoor::host
