#include "runtime/stream_path_table.h"

#include "runtime/text.h"

#include <algorithm>

namespace korvane
{

CStreamPathTable::CStreamPathTable(std::string_view text)
{
    if (std::count(text.begin(), text.end(), ';') != 2)
        return;
    const std::size_t first = text.find(';');
    const std::size_t second = text.find(';', first + 1);
    streamCount_ = Utils::ToUInt32(text.substr(0, first));
    httpPaths_ = ReadList(text.substr(first + 1, second - first - 1));
    rtspPaths_ = ReadList(text.substr(second + 1));
}

std::string CStreamPathTable::HttpPath(std::uint32_t channel, std::uint32_t stream) const
{
    return At(httpPaths_, channel, stream);
}

std::string CStreamPathTable::RtspPath(std::uint32_t channel, std::uint32_t stream) const
{
    return At(rtspPaths_, channel, stream);
}

std::string CStreamPathTable::At(const Paths& paths, std::uint32_t channel, std::uint32_t stream)
{
    if (channel >= paths.size() || stream >= paths[channel].size())
        return std::string();
    return paths[channel][stream];
}

CStreamPathTable::Paths CStreamPathTable::ReadList(std::string_view text)
{
    Paths paths;
    for (const std::string& channel : Utils::SplitString(text, ','))
        paths.push_back(Utils::SplitString(channel, '!'));
    return paths;
}

} // namespace korvane
