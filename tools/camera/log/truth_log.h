#pragma once

#include "camera/log/json_lines.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
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
};

/// What was sent whole, for comparing with what a receiver made of it. Any thread.
class TruthLog
{
public:
    using Listener = std::function<void(const TruthUnit&)>;

    /// Writes a JSON object a line into `path` from now on: `stream`, `kind`, `key`, `size`, `md5`, `rtp`
    /// (null over HTTP). False says in `error` why not.
    [[nodiscard]] bool Open(const std::string& path, std::string& error);

    /// As that of RequestLog.
    void SetListener(Listener listener);

    /// False while nobody reads the truth: then there is no need to work it out.
    bool Wanted() const { return wanted_.load(std::memory_order_acquire); }

    /// Tells of `bytes`, the whole unit in one piece, before its first byte goes out. Does nothing unless
    /// Wanted.
    void Record(const std::string& stream, const std::string& kind, bool key,
                std::span<const std::uint8_t> bytes, std::optional<std::uint32_t> rtp);

private:
    std::mutex lock_; // guards the listener and its calls
    Listener listener_;
    JsonLines lines_;
    std::atomic<bool> hasFile_{false};
    std::atomic<bool> wanted_{false};
};

/// MD5 (RFC 1321) of `bytes` as 32 lower-case hexadecimal digits; it serves as a fingerprint and in Digest
/// answers, so it works also where the system allows it for nothing else.
std::string Md5Hex(std::span<const std::uint8_t> bytes);
std::string Md5Hex(std::string_view text);

} // namespace larkmoor::camera
