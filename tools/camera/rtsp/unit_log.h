#pragma once

#include "camera/log/json_lines.h"
#include "camera/rtsp/h264_access_unit.h"
#include "camera/rtsp/media_faults.h"

#include <cstdint>
#include <string>

namespace larkmoor::camera
{

/// Every access unit unit by unit, for comparing what a receiver made of a damaged stream with what was sent:
/// a JSON object a line with `stream`, `rtp` (timestamp), `intact` (all of it was sent, once and in order)
/// and `units`, an array of `type` (nal_unit_type), `size`, `md5` and `whole` (no packet of the unit was
/// lost), each without start code.
class UnitLog
{
public:
    /// False says in `error` why not.
    [[nodiscard]] bool Open(const std::string& path, std::string& error) { return lines_.Open(path, error); }

    bool Wanted() const { return lines_.IsOpen(); }

    void Record(const std::string& stream, std::uint32_t rtp, const H264AccessUnit& unit,
                const PacketFates& fates);

private:
    JsonLines lines_;
};

} // namespace larkmoor::camera
