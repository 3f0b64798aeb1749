#include "camera/log/camera_log.h"

#include "base/md5.h"
#include "base/text.h"

#include <cerrno>
#include <chrono>
#include <cstring>

namespace larkmoor::camera
{

bool JsonLines::Open(const std::string& path, std::string& error)
{
    const std::lock_guard guard(lock_);
    file_.open(path, std::ios::out | std::ios::trunc);
    isOpen_ = file_.is_open();
    if (isOpen_)
        return true;
    error = "cannot write " + path + ": " + std::strerror(errno);
    return false;
}

void JsonLines::Write(const nlohmann::ordered_json& object)
{
    const std::string line = object.dump(-1, ' ', true);
    const std::lock_guard guard(lock_);
    file_ << line << '\n' << std::flush;
}

std::string JsonLines::Text(std::string_view bytes)
{
    std::string text; // UTF-8
    for (const char c : bytes)
    {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80)
            text += c;
        else
            text += {static_cast<char>(0xC0 | byte >> 6), static_cast<char>(0x80 | (byte & 0x3F))};
    }
    return text;
}

nlohmann::ordered_json LoggedRequest::Line() const
{
    return {{"time", IsoTime(std::chrono::system_clock::now())},
            {"protocol", protocol},
            {"method", JsonLines::Text(method)},
            {"target", JsonLines::Text(target)},
            {"status", status}};
}

nlohmann::ordered_json TruthUnit::Line() const
{
    return {{"stream", stream}, {"kind", kind}, {"key", key},
            {"size", size},     {"md5", md5},   {"rtp", rtp ? nlohmann::ordered_json(*rtp) : nullptr}};
}

void TruthLog::Record(const std::string& stream, const std::string& kind, bool key,
                      std::span<const std::uint8_t> bytes, std::optional<std::uint32_t> rtp)
{
    if (Wanted())
        ItemLog::Record({stream, kind, key, bytes.size(), Md5Hex(bytes), rtp});
}

} // namespace larkmoor::camera
