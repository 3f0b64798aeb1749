#include "camera/device/profile.h"

#include "camera/device/profile_texts.h"

#include <algorithm>
#include <charconv>

namespace larkmoor::camera
{

namespace
{

std::string_view Trim(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::uint32_t ToNumber(std::string_view text)
{
    std::uint32_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

void Replace(std::string& text, std::string_view mark, std::uint32_t number)
{
    for (std::size_t at = text.find(mark); at != std::string::npos; at = text.find(mark))
        text.replace(at, mark.size(), std::to_string(number));
}

void Set(Profile& profile, Profile::Parameter parameter)
{
    const auto known = std::find_if(profile.parameters.begin(), profile.parameters.end(),
                                    [&](const auto& other) { return other.key == parameter.key; });
    if (known == profile.parameters.end())
        profile.parameters.push_back(std::move(parameter));
    else
        *known = std::move(parameter);
}

/// A line `key = value ; rule`, once for each channel (%c from 0, %C from 1) and stream (%s, %S) that it
/// names.
void AddParameter(Profile& profile, std::string_view line)
{
    const std::size_t semicolon = std::min(line.find(';'), line.size());
    const std::string_view item = line.substr(0, semicolon);
    const std::size_t equals = std::min(item.find('='), item.size());
    const Profile::Parameter pattern{std::string(Trim(item.substr(0, equals))),
                                     std::string(Trim(item.substr(std::min(equals + 1, item.size())))),
                                     std::string(Trim(line.substr(std::min(semicolon + 1, line.size()))))};
    const std::uint32_t channels = pattern.key.find("%c") == std::string::npos ? 1 : profile.channels;
    const std::uint32_t streams = pattern.key.find("%s") == std::string::npos ? 1 : profile.streams;
    for (std::uint32_t channel = 0; channel < channels; ++channel)
    {
        for (std::uint32_t stream = 0; stream < streams; ++stream)
        {
            Profile::Parameter parameter = pattern;
            for (std::string* text : {&parameter.key, &parameter.value})
            {
                Replace(*text, "%c", channel);
                Replace(*text, "%s", stream);
                Replace(*text, "%C", channel + 1);
                Replace(*text, "%S", stream + 1);
            }
            Set(profile, std::move(parameter));
        }
    }
}

void AddText(Profile& profile, std::string_view text);

void AddDirective(Profile& profile, std::string_view line)
{
    const std::size_t blank = std::min(line.find(' '), line.size());
    const std::string_view word = line.substr(0, blank);
    const std::string_view value = Trim(line.substr(blank));
    if (word == "@summary")
        profile.summary = value;
    else if (word == "@channels")
        profile.channels = ToNumber(value);
    else if (word == "@streams")
        profile.streams = ToNumber(value);
    else if (word == "@legacy")
        profile.legacy = true;
    else if (word == "@like")
    {
        for (const ProfileText& other : kProfileTexts)
        {
            if (value == other.name)
                AddText(profile, other.text);
        }
    }
}

void AddText(Profile& profile, std::string_view text)
{
    while (!text.empty())
    {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = Trim(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        if (line.starts_with('@'))
            AddDirective(profile, line);
        else if (!line.empty() && !line.starts_with('#'))
            AddParameter(profile, line);
    }
}

Profile Load(const ProfileText& text)
{
    Profile profile{text.name, {}, 1, 1, false, {}};
    AddText(profile, text.text);
    return profile;
}

} // namespace

std::vector<Profile> Profile::All()
{
    std::vector<Profile> profiles;
    for (const ProfileText& text : kProfileTexts)
    {
        if (text.name[0] != '_')
            profiles.push_back(Load(text));
    }
    return profiles;
}

std::optional<Profile> Profile::Find(std::string_view name)
{
    for (const ProfileText& text : kProfileTexts)
    {
        if (text.name[0] != '_' && name == text.name)
            return Load(text);
    }
    return std::nullopt;
}

void Profile::Fill(ParameterStore& store) const
{
    for (const Parameter& parameter : parameters)
        store.Define(parameter.key, parameter.value, parameter.rule);
    if (legacy)
        store.LeaveOutQuotes();
}

} // namespace larkmoor::camera
