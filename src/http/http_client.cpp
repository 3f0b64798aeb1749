#include "http/http_client.h"

#include <algorithm>
#include <utility>

namespace Web
{

using namespace korvane::platform;

namespace
{

constexpr std::uint32_t kMaxSchemeChanges = 5;

/// Offered schemes are tried in this order.
constexpr HttpScheme kPreferredSchemes[] = {HttpScheme::kNegotiate, HttpScheme::kNtlm, HttpScheme::kPassport,
                                            HttpScheme::kDigest, HttpScheme::kBasic};

} // namespace

CHttpClient::CHttpClient(const korvane::DEVICE_INFO& deviceInfo, const char* userAgent)
    : CClientBody(deviceInfo, HttpService::kWinHttp, userAgent)
{
}

bool CHttpClient::SendRequest(const std::string& method, const std::string& uri)
{
    return SendRequest(method, uri, {}, {}, 0, kIgnoreCertificate);
}

bool CHttpClient::SendRequest(const std::string& method, const std::string& uri,
                              const std::vector<std::string>& headers, const std::vector<std::uint8_t>& body,
                              std::uint32_t totalLength, std::uint32_t flags)
{
    HttpPlan plan;
    plan.method = method;
    plan.target = uri;
    plan.rawQuery = (flags & kRawQuery) != 0;
    plan.followRedirects = (flags & kNoRedirects) == 0;
    plan.ignoreCertificateErrors = (flags & kIgnoreCertificate) != 0;
    std::ranges::copy_if(headers, std::back_inserter(plan.headers), HttpExchange::IsHeader);
    plan.body = body;
    plan.announcedBytes = totalLength;
    const bool isAwaited = (flags & kNoResponse) == 0 && totalLength <= body.size();

    if (transport_ != Transport::kUnknown)
        return SendBy(transport_, plan, isAwaited);
    // The first request decides. TLS is worth a try only if something came back from this port before.
    if (SendBy(Transport::kPlain, plan, isAwaited))
        transport_ = Transport::kPlain;
    else if (HasResponse() && SendBy(Transport::kTls, plan, isAwaited))
        transport_ = Transport::kTls;
    return transport_ != Transport::kUnknown;
}

bool CHttpClient::SendBy(Transport transport, HttpPlan plan, bool isAwaited)
{
    plan.secure = transport == Transport::kTls;
    std::uint32_t lastStatus = 0;
    for (std::uint32_t changes = 0; changes < kMaxSchemeChanges; ++changes)
    {
        plan.scheme = scheme_;
        plan.forProxy = forProxy_;
        if (SendPlan(plan, isAwaited) != HttpError::kNone)
            return false;
        if (StatusCode() == lastStatus || !ChooseScheme())
            break;
        lastStatus = StatusCode();
    }
    return true;
}

bool CHttpClient::ChooseScheme()
{
    const HttpOfferedSchemes offered = Offered(); // none unless the device refused
    const auto* const chosen =
        std::ranges::find_if(kPreferredSchemes, [&](HttpScheme scheme)
                             { return (offered.schemes & static_cast<std::uint32_t>(scheme)) != 0; });
    if (chosen == std::end(kPreferredSchemes) || *chosen == scheme_)
        return false;
    scheme_ = *chosen;
    forProxy_ = offered.byProxy;
    return true;
}

} // namespace Web
