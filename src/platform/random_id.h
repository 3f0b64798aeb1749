#pragma once

#include <array>
#include <cstdint>

namespace korvane::platform
{

/// 128 random bits, as of a new GUID. False, with all zero in `id`, if the system gives none. Any thread.
bool MakeRandomId(std::array<std::uint8_t, 16>& id);

} // namespace korvane::platform
