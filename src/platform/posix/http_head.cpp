#include "platform/posix/http_head.h"

#include <algorithm>
#include <charconv>
#include <curl/curl.h>

namespace korvane::platform
{

namespace
{

bool EqualText(std::string_view a, std::string_view b)
{
    return a.size() == b.size() && curl_strnequal(a.data(), b.data(), a.size()) != 0;
}

std::string_view Trimmed(std::string_view text)
{
    const std::size_t first = std::min(text.find_first_not_of(" \t\r\n"), text.size());
    const std::size_t last = text.find_last_not_of(" \t\r\n");
    return last == std::string_view::npos ? std::string_view() : text.substr(first, last - first + 1);
}

std::uint32_t NumberOf(std::string_view text)
{
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() ? value : 0;
}

/// The end of the first element of a comma-separated list, commas in quoted strings passed over (RFC 9110,
/// section 5.6.4).
std::size_t ElementEnd(std::string_view list)
{
    bool isQuoted = false;
    for (std::size_t at = 0; at < list.size(); ++at)
    {
        if (isQuoted && list[at] == '\\')
            ++at;
        else if (list[at] == '"')
            isQuoted = !isQuoted;
        else if (list[at] == ',' && !isQuoted)
            return at;
    }
    return list.size();
}

HttpScheme SchemeOf(std::string_view name)
{
    if (EqualText(name, "Basic"))
        return HttpScheme::kBasic;
    if (EqualText(name, "Digest"))
        return HttpScheme::kDigest;
    if (EqualText(name, "NTLM"))
        return HttpScheme::kNtlm;
    return HttpScheme::kNone;
}

} // namespace

bool HttpHead::AddLine(std::string_view line)
{
    bytes_ += line.size();
    if (bytes_ > kMaxBytes)
        return false;
    const std::string_view text = Trimmed(line);
    if (line.starts_with("HTTP/"))
        Begin(text);
    else if (complete_)
        return true; // a trailer behind a chunked body
    else if (text.empty())
        complete_ = true;
    else if (const std::size_t colon = text.find(':'); colon != std::string_view::npos)
        AddField(text.substr(0, colon), Trimmed(text.substr(colon + 1)));
    return true;
}

bool HttpHead::IsRedirect() const
{
    return (status_ == 301 || status_ == 302 || status_ == 303 || status_ == 307 || status_ == 308) &&
           !location_.empty();
}

void HttpHead::Begin(std::string_view statusLine)
{
    const std::size_t blank = std::min(statusLine.find(' '), statusLine.size());
    status_ = NumberOf(Trimmed(statusLine.substr(blank)).substr(0, 3));
    complete_ = false;
    contentLength_ = 0;
    location_.clear();
    if (status_ == 401)
        ++refusals_;
    if (status_ == 401 || status_ == 407)
        offered_ = {};
}

void HttpHead::AddField(std::string_view name, std::string_view value)
{
    if (EqualText(name, "Content-Length"))
        contentLength_ = NumberOf(value);
    else if (EqualText(name, "Location"))
        location_ = value;
    else if ((status_ == 401 && EqualText(name, "WWW-Authenticate")) ||
             (status_ == 407 && EqualText(name, "Proxy-Authenticate")))
        AddChallenges(value);
}

void HttpHead::AddChallenges(std::string_view value)
{
    // A list of challenges, each of which is a list of parameters: "Digest realm=\"a, b\", qop=auth, Basic".
    // An element begins a challenge when its first word isn't the name of a parameter.
    while (!value.empty())
    {
        const std::size_t end = ElementEnd(value);
        const std::string_view element = Trimmed(value.substr(0, end));
        const std::string_view word = element.substr(0, element.find_first_of(" \t="));
        const bool isParameter = Trimmed(element.substr(word.size())).starts_with('=');
        const HttpScheme scheme = isParameter ? HttpScheme::kNone : SchemeOf(word);
        if (scheme != HttpScheme::kNone)
        {
            offered_.schemes |= static_cast<std::uint32_t>(scheme);
            offered_.target = status_ == 407 ? HttpAuthTarget::kProxy : HttpAuthTarget::kServer;
            if (offered_.first == HttpScheme::kNone)
                offered_.first = scheme;
        }
        value.remove_prefix(std::min(end + 1, value.size()));
    }
}

} // namespace korvane::platform
