#pragma once

#include <cstdint>

/// Integers in network byte order, read and written one byte at a time, so any alignment will do.
/// The caller has checked that the bytes are there.
namespace korvane::Utils
{

[[nodiscard]] constexpr std::uint16_t LoadBigEndian16(const std::uint8_t* bytes)
{
    return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
}

[[nodiscard]] constexpr std::uint32_t LoadBigEndian32(const std::uint8_t* bytes)
{
    return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 | std::uint32_t{bytes[2]} << 8 |
           std::uint32_t{bytes[3]};
}

constexpr void StoreBigEndian16(std::uint8_t* bytes, std::uint16_t value)
{
    bytes[0] = static_cast<std::uint8_t>(value >> 8);
    bytes[1] = static_cast<std::uint8_t>(value);
}

constexpr void StoreBigEndian32(std::uint8_t* bytes, std::uint32_t value)
{
    StoreBigEndian16(bytes, static_cast<std::uint16_t>(value >> 16));
    StoreBigEndian16(bytes + 2, static_cast<std::uint16_t>(value));
}

} // namespace korvane::Utils
