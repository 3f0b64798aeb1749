#include "camera/log/truth_log.h"

#include "base/md5.h"

namespace larkmoor::camera
{

nlohmann::ordered_json TruthUnit::Line() const
{
    return {{"stream", stream}, {"kind", kind}, {"key", key},
            {"size", size},     {"md5", md5},   {"rtp", rtp ? nlohmann::ordered_json(*rtp) : nullptr}};
}

void TruthLog::Record(const std::string& stream, const std::string& kind, bool key,
                      std::span<const std::uint8_t> bytes, std::optional<std::uint32_t> rtp)
{
    if (Wanted())
        Tell({stream, kind, key, bytes.size(), Md5Hex(bytes), rtp});
}

} // namespace larkmoor::camera
