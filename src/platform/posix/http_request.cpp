#include "platform/posix/http_request.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace korvane::platform
{

namespace
{

constexpr std::string_view kLineBreaks("\r\n\0", 3);

using Url = std::unique_ptr<CURLU, void (*)(CURLU*)>;

Url NewUrl()
{
    return {curl_url(), curl_url_cleanup};
}

std::string UrlPart(const Url& url, CURLUPart part)
{
    char* text = nullptr;
    if (curl_url_get(url.get(), part, &text, 0) != CURLUE_OK)
        return {};
    const std::unique_ptr<char, void (*)(void*)> owner(text, curl_free);
    return text;
}

bool SetUrlPart(const Url& url, CURLUPart part, const std::string& text, unsigned flags = 0)
{
    return url && curl_url_set(url.get(), part, text.c_str(), flags) == CURLUE_OK;
}

std::string Escaped(std::string_view text, bool keepBytesOutsideAscii)
{
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string result;
    result.reserve(text.size());
    for (const char character : text)
    {
        const auto byte = static_cast<unsigned char>(character);
        const bool isOutsideUrl = byte <= 0x20 || byte == 0x7F || byte == '#';
        if (isOutsideUrl || (byte >= 0x80 && !keepBytesOutsideAscii))
            (result += '%').append({kDigits[byte >> 4], kDigits[byte & 0x0F]});
        else
            result += character;
    }
    return result;
}

/// Scheme, host and port; empty for a host that can't be in a URL.
std::string UrlBase(bool secure, const std::string& host, std::uint16_t port)
{
    const Url url = NewUrl();
    const bool isBareIPv6 = host.find(':') != std::string::npos && host.front() != '[';
    if (!SetUrlPart(url, CURLUPART_SCHEME, secure ? "https" : "http") ||
        !SetUrlPart(url, CURLUPART_HOST, isBareIPv6 ? "[" + host + "]" : host) ||
        (port != 0 && !SetUrlPart(url, CURLUPART_PORT, std::to_string(port))))
    {
        return {};
    }
    std::string base = UrlPart(url, CURLUPART_URL);
    if (!base.empty() && base.back() == '/')
        base.pop_back();
    return base;
}

bool IsToken(std::string_view text) // RFC 9110, section 5.6.2
{
    constexpr std::string_view kCharacters = "!#$%&'*+-.^_`|~0123456789"
                                             "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    return !text.empty() && text.find_first_not_of(kCharacters) == std::string_view::npos;
}

template <typename Value>
bool Set(CURL* easy, CURLoption option, Value value)
{
    return curl_easy_setopt(easy, option, value) == CURLE_OK;
}

bool HasBody(const HttpPlan& plan)
{
    return plan.announcedBytes != 0 || plan.method == "POST";
}

bool ApplyTarget(CURL* easy, const CurlRequest& request)
{
    const char* const line = request.requestLine.empty() ? nullptr : request.requestLine.c_str();
    const bool isVerified = !request.plan.ignoreCertificateErrors;
    return Set(easy, CURLOPT_URL, request.url.c_str()) && Set(easy, CURLOPT_REQUEST_TARGET, line) &&
           Set(easy, CURLOPT_SSL_VERIFYPEER, isVerified ? 1L : 0L) &&
           Set(easy, CURLOPT_SSL_VERIFYHOST, isVerified ? 2L : 0L) &&
           // Cameras keep the short keys and old digests that they were made with; where nobody checks who
           // answers, refusing those gains nothing.
           Set(easy, CURLOPT_SSL_CIPHER_LIST, isVerified ? nullptr : "DEFAULT@SECLEVEL=0");
}

bool ApplyCredentials(CURL* easy, unsigned long authentication, const HttpDevice& device)
{
    const bool areGiven = authentication != 0;
    return Set(easy, CURLOPT_USERNAME, areGiven ? device.user.c_str() : nullptr) &&
           Set(easy, CURLOPT_PASSWORD, areGiven ? device.password.c_str() : nullptr) &&
           Set(easy, CURLOPT_HTTPAUTH, areGiven ? authentication : CURLAUTH_BASIC);
}

bool ApplyMethod(CURL* easy, const HttpPlan& plan)
{
    bool isSet = Set(easy, CURLOPT_NOBODY, 0L) && Set(easy, CURLOPT_HTTPGET, 1L);
    if (HasBody(plan))
    {
        isSet = isSet && Set(easy, CURLOPT_POST, 1L) && Set(easy, CURLOPT_POSTFIELDS, nullptr) &&
                Set(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(plan.announcedBytes));
    }
    else if (plan.method == "HEAD")
    {
        isSet = isSet && Set(easy, CURLOPT_NOBODY, 1L);
    }
    const bool isUsual = plan.method == (HasBody(plan) ? "POST" : "GET") || plan.method == "HEAD";
    return isSet && Set(easy, CURLOPT_CUSTOMREQUEST, isUsual ? nullptr : plan.method.c_str());
}

std::vector<std::string> HeadersOf(const HttpPlan& plan, HttpService service)
{
    std::vector<std::string> headers = {"Expect:"}; // a name without a value takes out libcurl's own header
    headers.emplace_back(service == HttpService::kWinINet ? "Accept: */*" : "Accept:");
    headers.emplace_back("Connection: Keep-Alive"); // HTTP/1.0 devices keep it only when asked to
    if (service == HttpService::kWinHttp)
    {
        headers.emplace_back("Cache-Control: no-cache");
        headers.emplace_back("Pragma: no-cache");
    }
    if (HasBody(plan))
        headers.emplace_back("Content-Type:");
    for (const std::string& header : plan.headers)
    {
        const std::string name = header.substr(0, header.find(':'));
        std::erase_if(
            headers, [&name](const std::string& other)
            { return curl_strequal(other.substr(0, other.find_first_of(":;")).c_str(), name.c_str()) != 0; });
        headers.push_back(header.back() == ':' ? name + ";" : header); // ";" is an empty value
    }
    return headers;
}

} // namespace

bool HttpExchange::IsHeader(std::string_view header)
{
    const std::string_view name = header.substr(0, header.find(':'));
    return name.size() != header.size() && IsToken(name) &&
           header.find_first_of(kLineBreaks) == std::string_view::npos;
}

CurlRequest MakeCurlRequest(const HttpDevice& device, HttpPlan plan)
{
    CurlRequest request{std::move(plan), {}, {}, 0};
    request.plan.announcedBytes =
        std::max(request.plan.announcedBytes, static_cast<std::uint32_t>(request.plan.body.size()));
    const std::string_view target = request.plan.target;
    const std::string_view query = target.substr(std::min(target.find('?'), target.size()));
    const std::string base = UrlBase(request.plan.secure, device.host, device.port);
    const bool isRaw = request.plan.rawQuery;
    const bool isAnswerable = device.service == HttpService::kWinINet || device.user.empty() ||
                              request.plan.scheme == HttpScheme::kNone ||
                              CurlAuthOf(request.plan.scheme) != 0;
    if (base.empty() || target.empty() || !isAnswerable || !IsToken(request.plan.method) ||
        !std::ranges::all_of(request.plan.headers, HttpExchange::IsHeader) ||
        (isRaw && query.find_first_of(kLineBreaks) != std::string_view::npos))
    {
        return request;
    }
    std::string path = Escaped(target.substr(0, target.size() - query.size()), false);
    if (path.empty() || path.front() != '/')
        path.insert(0, 1, '/');
    request.url = base + path + Escaped(query, isRaw);
    if (isRaw && base + path.append(query) != request.url)
        request.requestLine = std::move(path);
    return request;
}

bool Redirect(CurlRequest& request, std::string_view location, std::uint32_t status)
{
    const Url from = NewUrl();
    const Url to = NewUrl();
    const std::string place =
        Escaped(location.substr(0, location.find('#')), false); // no fragment on the wire
    if (location.empty() || !SetUrlPart(from, CURLUPART_URL, request.url) ||
        !SetUrlPart(to, CURLUPART_URL, request.url) ||
        !SetUrlPart(to, CURLUPART_URL, place, CURLU_DISALLOW_USER))
    {
        return false;
    }
    const std::string scheme = UrlPart(to, CURLUPART_SCHEME);
    const bool isKnown = scheme == "https" || (scheme == "http" && UrlPart(from, CURLUPART_SCHEME) == "http");
    std::string url = UrlPart(to, CURLUPART_URL);
    if (!isKnown || url.empty() ||
        curl_strequal(UrlPart(from, CURLUPART_HOST).c_str(), UrlPart(to, CURLUPART_HOST).c_str()) == 0)
    {
        return false;
    }
    request.url = std::move(url);
    request.requestLine.clear();
    if (status < 307 && request.plan.method != "HEAD") // RFC 9110, section 15.4: as browsers do
    {
        request.plan.method = "GET";
        request.plan.body = {};
        request.plan.announcedBytes = 0;
    }
    return true;
}

bool ApplyRequest(CURL* easy, const CurlRequest& request, const HttpDevice& device, curl_slist*& headers)
{
    for (const std::string& header : HeadersOf(request.plan, device.service))
    {
        curl_slist* const longer = curl_slist_append(headers, header.c_str());
        if (longer == nullptr)
            return false;
        headers = longer;
    }
    return ApplyTarget(easy, request) && ApplyCredentials(easy, request.authentication, device) &&
           ApplyMethod(easy, request.plan) && Set(easy, CURLOPT_HTTPHEADER, headers);
}

} // namespace korvane::platform
