#include "camera/device/profile.h"

#include "base/text.h"
#include "camera/device/profile_texts.h"

#include <algorithm>

namespace larkmoor::camera
{

namespace
{

std::string AccessNameKey(const Profile& profile, std::string_view protocol, StreamId id)
{
    if (profile.legacy)
        return protocol == "rtsp" ? "network.accessname" : "network.http.accessname";
    // A device with a single video input leaves the channel out of these keys.
    const std::string head = "network_" + std::string(protocol);
    const std::string channel = profile.channels < 2 ? "" : "_c" + std::to_string(id.channel);
    return head + channel + "_s" + std::to_string(id.stream) + "_accessname";
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
    std::string_view item = CutAt(line, ';');
    const std::string_view key = Trim(CutAt(item, '='));
    const Profile::Parameter pattern{std::string(key), std::string(Trim(item)), std::string(Trim(line))};
    const std::uint32_t channels = pattern.key.find("%c") == std::string::npos ? 1 : profile.channels;
    const std::uint32_t streams = pattern.key.find("%s") == std::string::npos ? 1 : profile.streams;
    for (std::uint32_t channel = 0; channel < channels; ++channel)
    {
        for (std::uint32_t stream = 0; stream < streams; ++stream)
        {
            Profile::Parameter parameter = pattern;
            for (std::string* text : {&parameter.key, &parameter.value})
            {
                ReplaceAll(*text, "%c", std::to_string(channel));
                ReplaceAll(*text, "%s", std::to_string(stream));
                ReplaceAll(*text, "%C", std::to_string(channel + 1));
                ReplaceAll(*text, "%S", std::to_string(stream + 1));
            }
            Set(profile, std::move(parameter));
        }
    }
}

void AddText(Profile& profile, std::string_view text);

void AddDirective(Profile& profile, std::string_view line)
{
    const std::string_view word = CutAt(line, ' ');
    const std::string_view value = Trim(line);
    if (word == "@summary")
        profile.summary = value;
    else if (word == "@channels")
        profile.channels = ReadNumber<std::uint32_t>(value).value_or(1);
    else if (word == "@streams")
        profile.streams = ReadNumber<std::uint32_t>(value).value_or(1);
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
        const std::string_view line = Trim(CutAt(text, '\n'));
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

std::vector<StreamId> AllStreams(const Profile& profile)
{
    std::vector<StreamId> streams;
    for (std::uint32_t channel = 0; channel < profile.channels; ++channel)
    {
        for (std::uint32_t stream = 0; stream < profile.streams; ++stream)
            streams.push_back({channel, stream});
    }
    return streams;
}

std::optional<StreamId> FindStream(const ParameterStore& store, const Profile& profile,
                                   std::string_view protocol, std::string_view name)
{
    if (name.starts_with('/'))
        name.remove_prefix(1);
    if (name.empty())
        return std::nullopt;
    for (const StreamId id : AllStreams(profile))
    {
        if (store.Get(AccessNameKey(profile, protocol, id)) == name)
            return id;
    }
    return std::nullopt;
}

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
