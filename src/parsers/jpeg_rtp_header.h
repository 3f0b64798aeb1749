#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace korvane
{

/// What the headers in front of a picture's scan say (RFC 2435, section 3.1), made complete: what a JPEG file
/// needs besides the scan itself.
struct JpegRtpHeader
{
    /// Behind the main header; no restart marker header with types below this.
    static constexpr std::uint8_t kFirstRestartType = 64;
    static constexpr std::size_t kMainBytes = 8;
    static constexpr std::size_t kRestartBytes = 4;

    bool isHalfHeight = false;                      ///< 4:2:0; else 4:2:2
    std::uint32_t width = 0;                        ///< pixels
    std::uint32_t height = 0;                       ///< pixels
    std::uint16_t restartInterval = 0;              ///< 0: none
    std::span<const std::uint8_t> tables;           ///< one table or two, from the stream; empty: made from Q
    std::array<std::uint8_t, 128> standardTables{}; ///< two tables by Q
    std::size_t size = 0;                           ///< bytes of all headers in front of the scan

    /// The tables that count.
    std::span<const std::uint8_t> Tables() const
    {
        return tables.empty() ? std::span<const std::uint8_t>(standardTables) : tables;
    }
};

/// Reads the headers at the start of a picture's first packet. Where the picture has more than twice the
/// pixels across or down that its 8-bit fields say, `channelWidth` and `channelHeight`, what the device was
/// asked for, count instead. Nothing when the headers use up all of `source`, or lie.
///
/// The result's tables lie in `source`.
std::optional<JpegRtpHeader> ReadJpegRtpHeader(std::span<const std::uint8_t> source,
                                               std::uint32_t channelWidth, std::uint32_t channelHeight);

/// Writes all of a JPEG file that stands before its scan (ITU-T T.81, annex B; JFIF 1.1) and gives its length
/// in bytes; 0 when `room` does not hold it.
std::size_t WriteJpegHeader(const JpegRtpHeader& header, std::span<std::uint8_t> room);

} // namespace korvane
