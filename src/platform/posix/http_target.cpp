#include "platform/posix/http_target.h"

#include <algorithm>
#include <curl/curl.h>
#include <memory>

namespace korvane::platform
{

namespace
{

using Url = std::unique_ptr<CURLU, void (*)(CURLU*)>;

Url NewUrl()
{
    return {curl_url(), curl_url_cleanup};
}

std::string UrlPart(CURLU* url, CURLUPart part, unsigned flags = 0)
{
    char* text = nullptr;
    if (curl_url_get(url, part, &text, flags) != CURLUE_OK)
        return {};
    const std::unique_ptr<char, void (*)(void*)> owner(text, curl_free);
    return text;
}

bool IsOutsideUrl(unsigned char byte)
{
    return byte <= 0x20 || byte == 0x7F || byte == '#';
}

bool IsOutsideAscii(unsigned char byte)
{
    return byte >= 0x80;
}

void AppendEscaped(std::string& out, unsigned char byte)
{
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    out += '%';
    out += kDigits[byte >> 4];
    out += kDigits[byte & 0x0F];
}

std::string Escaped(std::string_view text, bool keepBytesOutsideAscii)
{
    std::string result;
    result.reserve(text.size());
    for (const char character : text)
    {
        const auto byte = static_cast<unsigned char>(character);
        if (IsOutsideUrl(byte) || (!keepBytesOutsideAscii && IsOutsideAscii(byte)))
            AppendEscaped(result, byte);
        else
            result += character;
    }
    return result;
}

std::string UrlBase(bool secure, const std::string& host, std::uint16_t port)
{
    const Url url = NewUrl();
    const bool isBareIPv6 = host.find(':') != std::string::npos && host.front() != '[';
    const std::string urlHost = isBareIPv6 ? "[" + host + "]" : host;
    if (!url || curl_url_set(url.get(), CURLUPART_SCHEME, secure ? "https" : "http", 0) != CURLUE_OK ||
        curl_url_set(url.get(), CURLUPART_HOST, urlHost.c_str(), 0) != CURLUE_OK ||
        (port != 0 && curl_url_set(url.get(), CURLUPART_PORT, std::to_string(port).c_str(), 0) != CURLUE_OK))
    {
        return {};
    }
    std::string base = UrlPart(url.get(), CURLUPART_URL);
    if (!base.empty() && base.back() == '/')
        base.pop_back();
    return base;
}

} // namespace

bool MakeHttpTarget(bool secure, const std::string& host, std::uint16_t port, std::string_view target,
                    bool rawQuery, HttpTarget& out)
{
    const std::string base = host.empty() ? std::string() : UrlBase(secure, host, port);
    if (base.empty() || target.empty())
        return false;
    const std::size_t queryAt = std::min(target.find('?'), target.size());
    const std::string_view query = target.substr(queryAt);
    std::string path = Escaped(target.substr(0, queryAt), false);
    if (path.empty() || path.front() != '/')
        path.insert(0, 1, '/');

    out.url = base + path + Escaped(query, rawQuery);
    out.requestLine.clear();
    if (!rawQuery)
        return true;
    if (query.find_first_of(std::string_view("\r\n\0", 3)) != std::string_view::npos)
        return false;
    std::string line = path.append(query);
    if (base + line != out.url)
        out.requestLine = std::move(line);
    return true;
}

std::string ResolveRedirect(const std::string& url, std::string_view location)
{
    const Url from = NewUrl();
    const Url to = NewUrl();
    if (!from || !to || location.empty() ||
        curl_url_set(from.get(), CURLUPART_URL, url.c_str(), 0) != CURLUE_OK ||
        curl_url_set(to.get(), CURLUPART_URL, url.c_str(), 0) != CURLUE_OK)
    {
        return {};
    }
    const std::string next =
        Escaped(location.substr(0, location.find('#')), false); // no fragment on the wire
    if (curl_url_set(to.get(), CURLUPART_URL, next.c_str(), CURLU_DISALLOW_USER) != CURLUE_OK)
        return {};

    const std::string fromScheme = UrlPart(from.get(), CURLUPART_SCHEME);
    const std::string toScheme = UrlPart(to.get(), CURLUPART_SCHEME);
    const bool isKnownScheme = toScheme == "https" || (toScheme == "http" && fromScheme == "http");
    const bool isSameHost = curl_strequal(UrlPart(from.get(), CURLUPART_HOST).c_str(),
                                          UrlPart(to.get(), CURLUPART_HOST).c_str()) != 0;
    return isKnownScheme && isSameHost ? UrlPart(to.get(), CURLUPART_URL) : std::string();
}

} // namespace korvane::platform
