#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace korvane
{

/// Under which names a device gives its streams, and the text in which these travel through the host as the
/// property "Vivotek streams".
struct StreamAccessNames
{
    /// Names by channel, and in it by stream. An empty name is a stream without access.
    using Table = std::vector<std::vector<std::string>>;

    std::uint32_t streamCount = 4; ///< of one channel
    Table http;
    Table rtsp;

    /// "2;a!b;c!d" for two streams on one channel, "1;a,b;c,d" for one stream on each of two channels.
    std::string Text() const;
};

} // namespace korvane
