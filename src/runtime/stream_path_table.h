#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace korvane
{

/// The paths under which a device serves its streams, as the capability query found them and the host gives
/// them back: "count;http paths;rtsp paths", each list with "," between channels and "!" between the streams
/// of one.
class CStreamPathTable
{
public:
    /// Any text is acceptable. One that doesn't have exactly three parts leaves the count at 4 and both lists
    /// empty.
    explicit CStreamPathTable(std::string_view text);

    std::uint32_t StreamCount() const { return streamCount_; }

    /// Empty if there is no such entry. `channel` and `stream` from 0.
    std::string HttpPath(std::uint32_t channel, std::uint32_t stream) const;
    std::string RtspPath(std::uint32_t channel, std::uint32_t stream) const;

private:
    using Paths = std::vector<std::vector<std::string>>; // by channel, by stream

    static std::string At(const Paths& paths, std::uint32_t channel, std::uint32_t stream);
    static Paths ReadList(std::string_view text);

    std::uint32_t streamCount_ = 4;
    Paths httpPaths_;
    Paths rtspPaths_;
};

} // namespace korvane
