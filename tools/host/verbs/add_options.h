#pragma once

#include "host/verbs/options.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <string>

namespace larkmoor::host
{

/// An option whose text `read` takes, which gives none for what is not `shape`. What it gives goes into
/// `target`, which outlives the parsing. A list lets the option be repeated, and takes one value or several
/// of each text.
template <typename Target, typename Read>
CLI::Option* AddRead(CLI::App& app, const std::string& name, Target& target, const std::string& shape,
                     Read read, const std::string& help)
{
    constexpr bool kIsList = requires
    {
        target.clear();
    };
    const auto take = [name, shape, read, &target](const CLI::results_t& texts)
    {
        for (const std::string& text : texts)
        {
            const auto value = read(text);
            if (!value)
                throw CLI::ValidationError(name, "\"" + text + "\" is not " + shape);
            if constexpr (requires { target.push_back(*value); })
                target.push_back(*value);
            else if constexpr (kIsList)
                target.insert(target.end(), value->begin(), value->end());
            else
                target = *value;
        }
        return true;
    };
    CLI::Option* const option = app.add_option(name, take, help)->type_name(shape);
    if constexpr (kIsList)
        option->expected(1)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)->allow_extra_args(false);
    return option;
}

/// Adds what the verbs of heads, inputs and outputs and of the hostile host take, beyond what all take. Both
/// objects outlive the parsing.
void AddPtz(CLI::App& app, PtzOptions& options);
void AddPreset(CLI::App& app, PresetOptions& options);
void AddIo(CLI::App& app, IoOptions& options);
void AddHostile(CLI::App& app, HostileOptions& options);

} // namespace larkmoor::host
