#include "discovery/stream_access_names.h"

namespace korvane
{

namespace
{

void Append(std::string& text, const StreamAccessNames::Table& table)
{
    text += ';';
    for (std::size_t channel = 0; channel < table.size(); ++channel)
    {
        if (channel > 0)
            text += ',';
        for (std::size_t stream = 0; stream < table[channel].size(); ++stream)
        {
            if (stream > 0)
                text += '!';
            text += table[channel][stream];
        }
    }
}

} // namespace

std::string StreamAccessNames::Text() const
{
    std::string text = std::to_string(streamCount);
    Append(text, http);
    Append(text, rtsp);
    return text;
}

} // namespace korvane
