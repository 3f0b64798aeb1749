#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <vector>

#include "transport/rtp_packet.h"

/// A sequence of RTP packets drawn from a fuzz input. Each packet is one byte of choices, one byte of length,
/// and that many bytes of payload:
///
///   bit 7    marker
///   bits 6-5 sequence number: the next (00, 01), one lost (10), the same again (11)
///   bit 4    timestamp: moves on, or stays
///   bit 3    length counts units of 64 bytes; the payload is then repeated to that length
struct PacketScript
{
    const std::uint8_t* data;
    std::size_t size;

    struct Choices
    {
        bool marker = false;
        bool gap = false; ///< the sequence is broken here
        std::size_t payloadBytes = 0;
    };

    /// Calls `take` with each packet and with how it was made.
    void Play(const std::function<void(korvane::CRTPPacket&, const Choices&)>& take) const
    {
        std::uint16_t sequence = 65530;
        std::uint32_t timestamp = 0xFFFFF000;
        std::size_t at = 0;
        bool first = true;
        while (size - at >= 2)
        {
            const std::uint8_t choice = data[at];
            std::size_t length = std::min<std::size_t>(data[at + 1], size - at - 2);
            at += 2;
            std::vector<std::uint8_t> payload(data + at, data + at + length);
            at += length;
            for (std::size_t i = 0; (choice & 0x08) != 0 && length > 0 && payload.size() < 64 * length; ++i)
                payload.push_back(payload[i]);

            const int kind = choice >> 5 & 3;
            sequence = static_cast<std::uint16_t>(sequence + (kind == 3 ? 0 : kind == 2 ? 2 : 1));
            timestamp += (choice & 0x10) == 0 ? 3600 : 0;
            Choices choices{(choice & 0x80) != 0, kind >= 2 && !first, payload.size()};
            Send(payload, sequence, timestamp, choices, take);
            first = false;
        }
    }

private:
    static void Send(const std::vector<std::uint8_t>& payload, std::uint16_t sequence,
                     std::uint32_t timestamp, const Choices& choices,
                     const std::function<void(korvane::CRTPPacket&, const Choices&)>& take)
    {
        const bool empty = payload.empty(); // such a packet passes with padding alone
        std::vector<std::uint8_t> bytes = {static_cast<std::uint8_t>(empty ? 0xA0 : 0x80),
                                           static_cast<std::uint8_t>(choices.marker ? 0xE0 : 0x60),
                                           static_cast<std::uint8_t>(sequence >> 8),
                                           static_cast<std::uint8_t>(sequence)};
        for (int shift = 24; shift >= 0; shift -= 8)
            bytes.push_back(static_cast<std::uint8_t>(timestamp >> shift));
        bytes.insert(bytes.end(), 4, 1);
        bytes.insert(bytes.end(), payload.begin(), payload.end());
        if (empty)
            bytes.push_back(1);
        bytes.shrink_to_fit();
        korvane::CRTPPacket packet;
        if (packet.ParseInPlace(bytes.data(), static_cast<std::uint32_t>(bytes.size())))
            take(packet, choices);
    }
};
