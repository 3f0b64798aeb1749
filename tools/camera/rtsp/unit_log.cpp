#include "camera/rtsp/unit_log.h"

#include "camera/log/truth_log.h"
#include "camera/media/annexb.h"

#include <algorithm>

namespace larkmoor::camera
{

bool UnitLog::Open(const std::string& path, std::string& error)
{
    wanted_ = lines_.Open(path, error);
    return wanted_;
}

void UnitLog::Record(const std::string& stream, std::uint32_t rtp, const H264AccessUnit& unit,
                     const PacketFates& fates)
{
    std::string line = "{\"stream\":" + JsonLines::Quote(stream) + ",\"rtp\":" + std::to_string(rtp) +
                       ",\"intact\":" + (fates.intact ? "true" : "false") + ",\"units\":[";
    for (const SentUnit& each : unit.Units())
    {
        bool whole = true;
        for (std::size_t packet = each.firstPacket; packet <= each.lastPacket && !fates.lost.empty();
             ++packet)
            whole = whole && !fates.lost[packet];
        if (line.back() != '[')
            line += ',';
        line += "{\"type\":" + std::to_string(NalTypeOf(each.bytes[0])) +
                ",\"size\":" + std::to_string(each.bytes.size()) + ",\"md5\":\"" + Md5Hex(each.bytes) +
                "\",\"whole\":" + (whole ? "true" : "false") + "}";
    }
    lines_.Write(line + "]}");
}

} // namespace larkmoor::camera
