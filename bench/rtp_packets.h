#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace larkmoor::bench
{

using Packet = std::vector<std::uint8_t>;

/// A stream of RTP packets of one source, in sequence, as a parser takes them.
class RtpPackets
{
public:
    static constexpr std::size_t kHeaderBytes = 12;
    static constexpr std::size_t kFragmentBytes = 1400;

    std::vector<Packet> packets;
    std::size_t payloadBytes = 0;
    std::size_t pictures = 0;

protected:
    void Add(std::span<const std::uint8_t> head, std::span<const std::uint8_t> bytes, bool marker)
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

    void EndPicture(std::uint32_t frameRate)
    {
        timestamp_ += 90000 / frameRate;
        ++pictures;
    }

private:
    std::uint32_t timestamp_ = 90000;
};

} // namespace larkmoor::bench
