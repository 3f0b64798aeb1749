#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <vector>

#include "camera/media/annexb.h"
#include "camera/media/canned_loop.h"

namespace larkmoor::bench
{

using Packet = std::vector<std::uint8_t>;

/// Some seconds of the test picture, encoded by libx264 and cut into RTP packets of network size (RFC 6184):
/// single units where they fit, else FU-A; parameter sets
/// in front of each key picture.
class H264Packets
{
public:
    static constexpr std::size_t kHeaderBytes = 12;
    static constexpr std::size_t kFragmentBytes = 1400;

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
            const auto units = camera::SplitAnnexB(frame->bytes);
            for (const auto& unit : units)
                AddUnit(frame->Unit(unit), &unit == &units.back());
            timestamp_ += 90000 / settings.frameRate;
            ++pictures;
        }
    }

    std::vector<Packet> packets;
    std::size_t payloadBytes = 0;
    std::size_t pictures = 0;

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
            Add({indicator, header}, unit.subspan(at, size), last && end);
        }
    }

    void Add(const Packet& head, std::span<const std::uint8_t> bytes, bool marker)
    {
        Packet packet = {0x80, static_cast<std::uint8_t>(marker ? 0xE0 : 0x60),
                         static_cast<std::uint8_t>(packets.size() >> 8),
                         static_cast<std::uint8_t>(packets.size())};
        for (int shift = 24; shift >= 0; shift -= 8)
            packet.push_back(static_cast<std::uint8_t>(timestamp_ >> shift));
        packet.insert(packet.end(), {0, 0, 0, 1});
        packet.insert(packet.end(), head.begin(), head.end());
        packet.insert(packet.end(), bytes.begin(), bytes.end());
        payloadBytes += packet.size() - kHeaderBytes;
        packets.push_back(std::move(packet));
    }

    std::uint32_t timestamp_ = 90000;
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
