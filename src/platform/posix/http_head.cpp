#include "platform/posix/http_request.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace korvane::platform
{

namespace
{

struct KnownScheme
{
    HttpScheme scheme = HttpScheme::kNone;
    unsigned long curlBit = 0;
    const char* name = nullptr;
};

/// Those that a user and a password answer, in the order in which libcurl prefers them.
constexpr KnownScheme kSchemes[] = {
    {HttpScheme::kDigest, CURLAUTH_DIGEST, "Digest"},
    {HttpScheme::kNtlm, CURLAUTH_NTLM, "NTLM"},
    {HttpScheme::kBasic, CURLAUTH_BASIC, "Basic"},
};

/// The first that `fits`; one without anything if none does.
template <typename Fits>
KnownScheme FirstOf(const Fits& fits)
{
    const auto* const found = std::ranges::find_if(kSchemes, fits);
    return found == std::end(kSchemes) ? KnownScheme() : *found;
}

std::string_view Trimmed(std::string_view text)
{
    const std::size_t first = std::min(text.find_first_not_of(" \t"), text.size());
    return text.substr(first, text.find_last_not_of(" \t") + 1 - first);
}

std::uint32_t NumberOf(std::string_view text)
{
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() ? value : 0;
}

/// The value of a header of the last response, the `index`th of its name.
std::optional<std::string_view> HeaderOf(CURL* easy, const char* name, std::size_t index = 0)
{
    curl_header* header = nullptr;
    if (curl_easy_header(easy, name, index, CURLH_HEADER, -1, &header) != CURLHE_OK)
        return std::nullopt;
    return header->value;
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

} // namespace

unsigned long CurlAuthOf(HttpScheme scheme)
{
    if (scheme == HttpScheme::kNegotiate)
        return CURLAUTH_NEGOTIATE;
    return FirstOf([scheme](const KnownScheme& known) { return known.scheme == scheme; }).curlBit;
}

HttpScheme PickedOf(std::uint32_t offered)
{
    const auto isOffered = [offered](const KnownScheme& known)
    { return (offered & static_cast<std::uint32_t>(known.scheme)) != 0; };
    return FirstOf(isOffered).scheme;
}

bool HttpHead::AddLine(CURL* easy, std::string_view line)
{
    bytes += line.size();
    if (line.starts_with("HTTP/"))
        isComplete = false;
    else if (!isComplete && line.find_first_of("\r\n") == 0) // else a trailer behind a chunked body ends
        ReadWhole(easy);
    return bytes <= kMaxBytes;
}

bool HttpHead::IsRedirect() const
{
    return (status == 301 || status == 302 || status == 303 || status == 307 || status == 308) &&
           !location.empty();
}

void HttpHead::ReadWhole(CURL* easy)
{
    long code = 0;
    curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &code);
    isComplete = true;
    status = static_cast<std::uint32_t>(code);
    contentLength = NumberOf(HeaderOf(easy, "Content-Length").value_or(""));
    location = HeaderOf(easy, "Location").value_or("");
    if (status != 401 && status != 407)
        return;
    refusals += status == 401 ? 1 : 0;
    offered = {};
    offered.byProxy = status == 407;
    const char* const name = offered.byProxy ? "Proxy-Authenticate" : "WWW-Authenticate";
    for (std::size_t i = 0; const auto value = HeaderOf(easy, name, i); ++i)
        AddChallenges(*value);
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
        const auto isNamed = [name = std::string(word), isParameter](const KnownScheme& known)
        { return !isParameter && curl_strequal(name.c_str(), known.name) != 0; };
        const HttpScheme scheme = FirstOf(isNamed).scheme;
        offered.schemes |= static_cast<std::uint32_t>(scheme);
        if (offered.first == HttpScheme::kNone)
            offered.first = scheme;
        value.remove_prefix(std::min(end + 1, value.size()));
    }
}

} // namespace korvane::platform
