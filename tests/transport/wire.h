#pragma once

#include "support/bytes.h"

#include <cstdint>

namespace korvane::test
{

/// An RTP packet (RFC 3550, section 5.1) with nothing optional in it.
inline Bytes RTPBytes(std::uint16_t sequence, const Bytes& payload)
{
    const auto high = static_cast<std::uint8_t>(sequence >> 8);
    return Bytes{0x80, 96, high, static_cast<std::uint8_t>(sequence), 0, 0, 0, 0, 1, 2, 3, 4} + payload;
}

/// A frame among RTSP messages (RFC 2326, section 10.12).
inline Bytes Framed(std::uint8_t channel, const Bytes& content)
{
    return Bytes{'$', channel, static_cast<std::uint8_t>(content.size() >> 8),
                 static_cast<std::uint8_t>(content.size())} +
           content;
}

} // namespace korvane::test
