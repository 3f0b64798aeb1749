#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace larkmoor
{

/// What a camera that wants to be measured writes into a frame; docs/frame-stamp.md has the layout.
struct FrameStamp
{
    std::int64_t sent = 0;    ///< microseconds since 1970
    std::uint32_t number = 0; ///< of the frame in its stream; wraps
};

/// The 40 bytes that tell a receiver when frame `number` of its stream was sent: now.
std::string MakeFrameStamp(std::uint32_t number);

/// Looks at both ends of a frame. None if there is no stamp, or a damaged one.
std::optional<FrameStamp> FindStamp(std::span<const std::uint8_t> frame);

} // namespace larkmoor
