#pragma once

#include <cstdint>
#include <string>

namespace larkmoor::camera
{

/// The 40 bytes that tell a receiver when frame `number` of its stream was sent: now. See
/// docs/frame-stamp.md.
std::string MakeFrameStamp(std::uint32_t number);

} // namespace larkmoor::camera
