#pragma once

#include "platform/http_service.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace korvane::platform
{

/// What is kept of the heads of one exchange: of the last response, and the challenge of the last refusal,
/// which an answered challenge leaves behind.
class HttpHead
{
public:
    static constexpr std::size_t kMaxBytes =
        256 * 1024; ///< of all heads of an exchange; real ones have a few

    /// Takes one line with its line end. False when the heads have grown too long.
    bool AddLine(std::string_view line);

    bool IsComplete() const { return complete_; } ///< the last head, which may be an interim one
    std::uint32_t Status() const { return status_; }
    std::uint32_t ContentLength() const { return contentLength_; } ///< 0 when unknown or beyond 32 bits
    const std::string& Location() const { return location_; }
    std::uint32_t Refusals() const { return refusals_; } ///< heads with status 401
    const HttpOfferedSchemes& Offered() const { return offered_; }
    bool IsRedirect() const;

private:
    void Begin(std::string_view statusLine);
    void AddField(std::string_view name, std::string_view value);
    void AddChallenges(std::string_view value);

    std::size_t bytes_ = 0;
    bool complete_ = false;
    std::uint32_t status_ = 0;
    std::uint32_t contentLength_ = 0;
    std::uint32_t refusals_ = 0;
    std::string location_;
    HttpOfferedSchemes offered_;
};

} // namespace korvane::platform
