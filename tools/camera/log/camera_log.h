#pragma once

#include <nlohmann/json.hpp>

#include <atomic>
#include <cstdint>
#include <fstream>
#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace larkmoor::camera
{

/// A text file that gets one JSON object (RFC 8259) a line. Any thread; each line is whole and in the file
/// when Write returns, so that whoever follows the file sees it at once.
class JsonLines
{
public:
    /// Makes the file anew. False leaves it closed and says in `error` why.
    [[nodiscard]] bool Open(const std::string& path, std::string& error);

    bool IsOpen() const { return isOpen_; }
    void Write(const nlohmann::ordered_json& object);

    /// Any bytes as a text that a line can hold: those that are not ASCII become \u00XX, so that a line is
    /// well-formed whatever a client sent.
    static std::string Text(std::string_view bytes);

private:
    std::mutex lock_; // guards the file; innermost
    std::ofstream file_;
    std::atomic<bool> isOpen_{false};
};

/// Items of one kind, for a file and a listener. Any thread.
template <typename Item>
class ItemLog
{
public:
    using Listener = std::function<void(const Item&)>;

    /// Writes a JSON object a line into `path` from now on. False says in `error` why not.
    [[nodiscard]] bool Open(const std::string& path, std::string& error)
    {
        const bool isOpen = lines_.Open(path, error);
        wanted_ = isOpen;
        return isOpen;
    }

    /// Calls `listener` for each item from now on, on the thread that tells it and under the log's lock: it
    /// must not call the log. An empty function ends that; when SetListener returns, no call is under way.
    void SetListener(Listener listener)
    {
        const std::lock_guard guard(lock_);
        listener_ = std::move(listener);
        wanted_ = lines_.IsOpen() || listener_;
    }

    /// False while nobody reads the log: then there is no need to work items out.
    bool Wanted() const { return wanted_; }

    void Record(const Item& item)
    {
        const std::lock_guard guard(lock_);
        if (lines_.IsOpen())
            lines_.Write(item.Line());
        if (listener_)
            listener_(item);
    }

private:
    std::mutex lock_; // guards the listener and its calls
    Listener listener_;
    JsonLines lines_;
    std::atomic<bool> wanted_{false};
};

/// One request that the camera got, and how it answered.
struct LoggedRequest
{
    std::string protocol; ///< "http", "https", "rtsp"
    std::string method;
    std::string target; ///< as it came, query included
    int status;         ///< 0 when no answer was given

    /// `time` (now: UTC, ISO 8601, to the millisecond), `protocol`, `method`, `target`, `status`.
    nlohmann::ordered_json Line() const;
};

/// Every request of every protocol, in the order of their answers. Any thread.
using RequestLog = ItemLog<LoggedRequest>;

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
