#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace korvane::platform
{

/// The host's directory, with its closing separator: the one that the environment variable
/// LARKMOOR_HOST_DIRECTORY names, for a host that shares its executable with others; if that is not set or
/// empty, the directory of the executable. Read once per process. Empty if it can't be told. Any thread.
std::string HostDirectory();

/// Holds the settings of all hosts on this machine that have no file of their own.
inline constexpr const char* kSystemDirectory = "/etc/larkmoor/";

bool IsFileThere(const std::string& path); ///< of any kind; any thread

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

/// The product version of the module `name` (such as "bastrel.dll") in the host's directory.
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
