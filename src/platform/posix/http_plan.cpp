#include "platform/posix/http_plan.h"

#include <algorithm>

namespace korvane::platform
{

namespace
{

template <typename Value>
bool Set(CURL* easy, CURLoption option, Value value)
{
    return curl_easy_setopt(easy, option, value) == CURLE_OK;
}

bool HasBody(const HttpPlan& plan)
{
    return plan.announcedBytes != 0 || plan.method == "POST";
}

bool ApplyTarget(CURL* easy, const HttpPlan& plan)
{
    const char* const line = plan.target.requestLine.empty() ? nullptr : plan.target.requestLine.c_str();
    const bool isVerified = !plan.options.ignoreCertificateErrors;
    return Set(easy, CURLOPT_URL, plan.target.url.c_str()) && Set(easy, CURLOPT_REQUEST_TARGET, line) &&
           Set(easy, CURLOPT_SSL_VERIFYPEER, isVerified ? 1L : 0L) &&
           Set(easy, CURLOPT_SSL_VERIFYHOST, isVerified ? 2L : 0L) &&
           // Cameras keep the short keys and old digests that they were made with; where nobody checks who
           // answers, refusing those gains nothing.
           Set(easy, CURLOPT_SSL_CIPHER_LIST, isVerified ? nullptr : "DEFAULT@SECLEVEL=0");
}

bool ApplyCredentials(CURL* easy, const HttpPlan& plan)
{
    const bool areGiven = plan.authentication != 0;
    return Set(easy, CURLOPT_USERNAME, areGiven ? plan.user.c_str() : nullptr) &&
           Set(easy, CURLOPT_PASSWORD, areGiven ? plan.password.c_str() : nullptr) &&
           Set(easy, CURLOPT_HTTPAUTH, areGiven ? plan.authentication : CURLAUTH_BASIC);
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

std::vector<std::string> HeadersOf(const HttpPlan& plan)
{
    std::vector<std::string> headers = {"Expect:"}; // a name without a value takes out libcurl's own header
    headers.emplace_back(plan.options.acceptAny ? "Accept: */*" : "Accept:");
    headers.emplace_back("Connection: Keep-Alive"); // HTTP/1.0 devices keep it only when asked to
    if (plan.options.bypassCaches)
    {
        headers.emplace_back("Cache-Control: no-cache");
        headers.emplace_back("Pragma: no-cache");
    }
    if (HasBody(plan))
        headers.emplace_back("Content-Type:");
    for (const std::string& header : plan.headers)
    {
        const std::string_view name = std::string_view(header).substr(0, header.find(':'));
        std::erase_if(headers, [name](const std::string& other) { return HasHeaderName(other, name); });
        headers.push_back(header.back() == ':' ? std::string(name) + ";" : header); // ";" is an empty value
    }
    return headers;
}

} // namespace

bool ApplyPlan(CURL* easy, const HttpPlan& plan, curl_slist*& headers)
{
    for (const std::string& header : HeadersOf(plan))
    {
        curl_slist* const longer = curl_slist_append(headers, header.c_str());
        if (longer == nullptr)
            return false;
        headers = longer;
    }
    return ApplyTarget(easy, plan) && ApplyCredentials(easy, plan) && ApplyMethod(easy, plan) &&
           Set(easy, CURLOPT_HTTPHEADER, headers);
}

bool HasHeaderName(const std::string& header, std::string_view name)
{
    return header.size() > name.size() && header[name.size()] == ':' &&
           curl_strnequal(header.c_str(), name.data(), name.size()) != 0;
}

} // namespace korvane::platform
