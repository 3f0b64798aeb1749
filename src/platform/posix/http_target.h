#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace korvane::platform
{

/// A request's target in the two shapes that libcurl wants.
struct HttpTarget
{
    std::string url;         ///< whole, and such that libcurl takes it
    std::string requestLine; ///< what the request line holds where that differs from the URL; else empty
};

/// Makes the URL of `target` (path and query) on a device. Port 0 is the transport's own. False for an empty
/// target, for a host that can't stand in a URL, and for a raw query that would break the request's line.
bool MakeHttpTarget(bool secure, const std::string& host, std::uint16_t port, std::string_view target,
                    bool rawQuery, HttpTarget& out);

/// Where `location` of a redirect leads from `url`; empty unless that is the same host, by http or https, and
/// not from https back to http.
std::string ResolveRedirect(const std::string& url, std::string_view location);

} // namespace korvane::platform
