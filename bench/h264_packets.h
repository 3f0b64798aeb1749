#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <vector>

#include "base/annexb.h"
#include "camera/media/canned_loop.h"
#include "rtp_packets.h"

namespace larkmoor::bench
{

/// Some seconds of the test picture, encoded by libx264 and cut into RTP packets of network size (RFC 6184):
/// single units where they fit, else FU-A; parameter sets in front of each key picture.
class H264Packets : public RtpPackets
{
public:
    explicit H264Packets(const camera::VideoSettings& settings)
    {
        camera::CannedLoops loops;
        const auto loop = loops.Get(settings);
        if (loop == nullptr)
            throw std::runtime_error("no encoder takes these settings");
        for (const auto& frame : loop->frames)
        {
            if (frame->key)
            {
                Add({}, loop->parameterSets->sps, false);
                Add({}, loop->parameterSets->pps, false);
            }
            const auto units = larkmoor::SplitAnnexB(frame->bytes);
            for (const auto& unit : units)
                AddUnit(frame->Unit(unit), &unit == &units.back());
            EndPicture(settings.frameRate);
        }
    }

private:
    void AddUnit(std::span<const std::uint8_t> unit, bool last)
    {
        if (unit.size() <= kFragmentBytes)
        {
            Add({}, unit, last);
            return;
        }
        for (std::size_t at = 1; at < unit.size(); at += kFragmentBytes)
        {
            const std::size_t size = std::min(kFragmentBytes, unit.size() - at);
            const bool end = at + size == unit.size();
            const auto indicator = static_cast<std::uint8_t>((unit[0] & 0xE0) | 28);
            const auto header =
                static_cast<std::uint8_t>((at == 1 ? 0x80 : 0) | (end ? 0x40 : 0) | (unit[0] & 0x1F));
            Add(Packet{indicator, header}, unit.subspan(at, size), last && end);
        }
    }
};

/// A 1080p stream of 25 pictures a second and about 4 Mbit/s.
inline const H264Packets& FullHighDefinition()
{
    static const H264Packets stream = []
    {
        camera::VideoSettings settings;
        settings.width = 1920;
        settings.height = 1080;
        settings.rateControl = camera::RateControl::ConstantBitrate;
        settings.bitrate = 4'000'000;
        return H264Packets(settings);
    }();
    return stream;
}

} // namespace larkmoor::bench
