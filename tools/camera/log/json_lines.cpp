#include "camera/log/json_lines.h"

#include <cerrno>
#include <cstring>

namespace larkmoor::camera
{

bool JsonLines::Open(const std::string& path, std::string& error)
{
    const std::lock_guard guard(lock_);
    file_.open(path, std::ios::out | std::ios::trunc);
    if (file_.is_open())
        return true;
    error = "cannot write " + path + ": " + std::strerror(errno);
    return false;
}

void JsonLines::Write(const std::string& object)
{
    const std::lock_guard guard(lock_);
    file_ << object << '\n' << std::flush;
}

std::string JsonLines::Quote(std::string_view text)
{
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string quoted = "\"";
    for (const char c : text)
    {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\')
            quoted += '\\';
        if (byte >= 0x20 && byte < 0x7F)
            quoted += c;
        else
            quoted += {'\\', 'u', '0', '0', kDigits[byte >> 4], kDigits[byte & 15]};
    }
    return quoted + '"';
}

} // namespace larkmoor::camera
