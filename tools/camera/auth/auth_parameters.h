#pragma once

#include <map>
#include <string>
#include <string_view>

namespace larkmoor::camera
{

/// The parameters behind the scheme of an "Authorization" header (RFC 7235, section 2.1): `name=value` or
/// `name="value"` with "," between them. Names come in lower case; of two with one name the first counts.
/// What does not follow the grammar ends the reading, and what was read before it stays.
std::map<std::string, std::string> ParseAuthParameters(std::string_view text);

} // namespace larkmoor::camera
