#pragma once

#include <CLI/CLI.hpp>

#include <map>
#include <string>

namespace larkmoor
{

/// Takes the words of `choices` for an option whose target is an enumeration, and gives their values.
template <typename Choice>
CLI::Validator OneOf(const std::map<std::string, Choice>& choices)
{
    std::string words;
    for (const auto& choice : choices)
        words += (words.empty() ? "" : "|") + choice.first;
    const auto translate = [choices, words](std::string& text)
    {
        const auto found = choices.find(text);
        if (found == choices.end())
            return "\"" + text + "\" is none of " + words;
        text = std::to_string(static_cast<int>(found->second));
        return std::string();
    };
    return CLI::Validator(translate, words);
}

} // namespace larkmoor
