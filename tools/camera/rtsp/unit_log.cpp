#include "camera/rtsp/unit_log.h"

#include "base/annexb.h"
#include "base/md5.h"

namespace larkmoor::camera
{

void UnitLog::Record(const std::string& stream, std::uint32_t rtp, const H264AccessUnit& unit,
                     const PacketFates& fates)
{
    nlohmann::ordered_json units = nlohmann::ordered_json::array();
    for (const SentUnit& each : unit.Units())
    {
        bool whole = true;
        for (std::size_t packet = each.firstPacket; packet <= each.lastPacket && !fates.lost.empty();
             ++packet)
            whole = whole && !fates.lost[packet];
        units.push_back({{"type", static_cast<int>(NalTypeOf(each.bytes[0]))},
                         {"size", each.bytes.size()},
                         {"md5", Md5Hex(each.bytes)},
                         {"whole", whole}});
    }
    lines_.Write({{"stream", stream}, {"rtp", rtp}, {"intact", fates.intact}, {"units", units}});
}

} // namespace larkmoor::camera
