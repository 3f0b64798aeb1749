#include "platform/host_process.h"

#include <array>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string_view>

namespace korvane::platform
{

namespace
{

constexpr std::size_t kLongestVersionText = 64; // four numbers, three dots, and white space to spare

std::optional<ProductVersion> ParseVersion(std::string_view text)
{
    while (!text.empty() && std::string_view(" \t\r\n").find(text.back()) != std::string_view::npos)
        text.remove_suffix(1);
    std::array<std::uint16_t, 4> parts{};
    const char* at = text.data();
    const char* const end = at + text.size();
    for (std::size_t i = 0; i < parts.size(); ++i)
    {
        if (i != 0 && (at == end || *at++ != '.'))
            return std::nullopt;
        const auto [behind, error] = std::from_chars(at, end, parts[i]);
        if (error != std::errc())
            return std::nullopt;
        at = behind;
    }
    if (at != end)
        return std::nullopt;
    return ProductVersion{parts[0], parts[1], parts[2], parts[3]};
}

std::string ExecutableDirectory()
{
    std::error_code error;
    const std::string path = std::filesystem::read_symlink("/proc/self/exe", error).string();
    return path.substr(0, path.rfind('/') + 1);
}

std::string ReadHostDirectory()
{
    const char* const chosen = std::getenv("LARKMOOR_HOST_DIRECTORY");
    const std::string directory = chosen == nullptr ? "" : chosen;
    if (directory.empty())
        return ExecutableDirectory();
    return directory.back() == '/' ? directory : directory + '/';
}

} // namespace

std::string HostDirectory()
{
    static const std::string directory = ReadHostDirectory();
    return directory;
}

bool IsFileThere(const std::string& path)
{
    std::error_code ignored;
    return std::filesystem::exists(path, ignored);
}

std::optional<ProductVersion> ReadProductVersion(const std::string& name, const std::string& directory)
{
    std::ifstream file(directory + name + ".version", std::ios::binary);
    std::array<char, kLongestVersionText> text{};
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    const auto length = static_cast<std::size_t>(file.gcount());
    if (length == 0 || length == text.size())
        return std::nullopt;
    return ParseVersion({text.data(), length});
}

void WriteDebugText(const std::string& text)
{
    static const bool isWanted = std::getenv("LARKMOOR_DEBUG") != nullptr;
    if (isWanted)
        std::fwrite(text.data(), 1, text.size(), stderr); // one call: the stream's own lock keeps it whole
}

} // namespace korvane::platform
