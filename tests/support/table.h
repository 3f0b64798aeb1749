#pragma once

#include <tuple>
#include <vector>

namespace korvane::test
{

/// The rows of a table test: `for (const auto& [name, text, passes] : Table<const char*, std::string,
/// bool>{...})`.
template <typename... Columns>
using Table = std::vector<std::tuple<Columns...>>;

} // namespace korvane::test
