#include "discovery/audio_codecs.h"

#include "runtime/text.h"

#include <algorithm>

namespace korvane
{

std::string SelectAudioCodecs(std::string_view offered, bool isAacAllowed)
{
    const std::vector<std::string> entries = Utils::SplitString(offered, ',');
    std::vector<std::string> selected;
    for (const std::string_view codec : {"aac4", "g711", "g726"})
    {
        if (codec == "aac4" && !isAacAllowed)
            continue;
        const auto entry = std::ranges::find_if(entries, [&](const std::string& text)
                                                { return Utils::ToLower(text) == codec; });
        if (entry != entries.end())
            selected.push_back(*entry);
    }
    return Utils::JoinWithComma(selected);
}

} // namespace korvane
