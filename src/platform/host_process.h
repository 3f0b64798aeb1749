#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace korvane::platform
{

/// The directory of the host's executable with its closing separator; empty if it can't be told. Any thread.
std::string HostDirectory();

/// The four parts of a product version; members compare in order.
struct ProductVersion
{
    std::uint16_t major = 0;
    std::uint16_t minor = 0;
    std::uint16_t build = 0;
    std::uint16_t revision = 0;

    auto
    operator<=>(const ProductVersion&) const = default; // NOLINT(modernize-use-nullptr): not in this text
};

/// The product version of the module `name` (such as "bastrel.dll") beside the host's executable.
///
/// There is no version block to read here, so the version stands in a text file `name.version` in the host's
/// directory: four numbers of 0 to 65535 with dots between, as in "7.4.4.0", and at most white space behind.
/// Nothing if the file is missing or holds anything else. Read anew at each call. Any thread.
std::optional<ProductVersion> ReadProductVersion(const std::string& name,
                                                 const std::string& directory = HostDirectory());

/// Writes `text` as it stands to the debug channel: standard error, and only if the environment variable
/// LARKMOOR_DEBUG was set when the first text came. Any thread; texts of several threads don't mix.
void WriteDebugText(const std::string& text);

} // namespace korvane::platform
