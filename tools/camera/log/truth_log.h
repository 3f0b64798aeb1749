#pragma once

#include "camera/log/json_lines.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace larkmoor::camera
{

/// One media unit that a right receiver hands to its host.
struct TruthUnit
{
    std::string stream;               ///< "c0_s1": channel and stream
    std::string kind;                 ///< "jpeg", "h264", "mpeg4", or an audio codec
    bool key;                         ///< decodable by itself
    std::size_t size;                 ///< in bytes
    std::string md5;                  ///< of exactly those bytes, 32 lower-case hexadecimal digits
    std::optional<std::uint32_t> rtp; ///< RTP timestamp; none over HTTP

    /// `stream`, `kind`, `key`, `size`, `md5`, `rtp` (null over HTTP).
    nlohmann::ordered_json Line() const;
};

/// What was sent whole, for comparing with what a receiver made of it. Any thread.
class TruthLog : public ItemLog<TruthUnit>
{
public:
    /// Tells of `bytes`, the whole unit in one piece, before its first byte goes out. Does nothing unless
    /// Wanted.
    void Record(const std::string& stream, const std::string& kind, bool key,
                std::span<const std::uint8_t> bytes, std::optional<std::uint32_t> rtp);
};

} // namespace larkmoor::camera
