#include "http/http_client.h"

#include <algorithm>

namespace Web
{

namespace
{

using namespace korvane::platform;

constexpr std::uint32_t kAlreadyInitialised = 1247;
constexpr std::uint32_t kMaxSchemeChanges = 5;
// The service for these clients gives a response's head so long when nothing else is asked for.
constexpr std::uint32_t kHeadMs = 90000;

/// Offered schemes are tried in this order.
constexpr HttpScheme kPreferredSchemes[] = {HttpScheme::kNegotiate, HttpScheme::kNtlm, HttpScheme::kPassport,
                                            HttpScheme::kDigest, HttpScheme::kBasic};

bool IsRefusal(std::uint32_t status)
{
    return status == 401 || status == 407;
}

} // namespace

struct CHttpClient::Exchange
{
    const std::string& method;
    const std::string& uri;
    const std::vector<std::string>& headers;
    const std::vector<std::uint8_t>& body;
    std::uint32_t totalLength;
    std::uint32_t flags;
};

CHttpClient::CHttpClient(const korvane::DEVICE_INFO& deviceInfo, const char* userAgent)
    : timeoutMs_(deviceInfo.networkTimeoutMs),
      userAgent_(userAgent),
      user_(deviceInfo.user),
      password_(deviceInfo.password),
      host_(deviceInfo.address),
      port_(deviceInfo.port)
{
    OpenSession(); // a failure shows with the first request
}

CHttpClient::~CHttpClient()
{
    Disconnect();
}

void CHttpClient::Disconnect()
{
    CloseRequest();
    connection_.reset();
}

std::uint32_t CHttpClient::OpenSession()
{
    if (session_)
        return kAlreadyInitialised;
    session_ = OpenHttpSession(userAgent_, {timeoutMs_, timeoutMs_, timeoutMs_, kHeadMs});
    return static_cast<std::uint32_t>(session_ ? HttpError::kNone : HttpError::kOutOfMemory);
}

bool CHttpClient::SendRequest(const std::string& method, const std::string& uri)
{
    return SendRequest(method, uri, {}, {}, 0, kIgnoreCertificate);
}

bool CHttpClient::SendRequest(const std::string& method, const std::string& uri,
                              const std::vector<std::string>& headers, const std::vector<std::uint8_t>& body,
                              std::uint32_t totalLength, std::uint32_t flags)
{
    const Exchange exchange{method, uri, headers, body, totalLength, flags};
    if (transport_ != Transport::kUnknown)
        return SendAuthenticated(exchange);

    transport_ = Transport::kPlain;
    if (SendAuthenticated(exchange))
        return true;
    if (request_.Get())
    {
        transport_ = Transport::kTls;
        if (SendAuthenticated(exchange))
            return true;
    }
    transport_ = Transport::kUnknown;
    return false;
}

bool CHttpClient::SendAuthenticated(const Exchange& exchange)
{
    std::uint32_t lastStatus = 0;
    for (std::uint32_t changes = 0; changes < kMaxSchemeChanges; ++changes)
    {
        if (!SendOnce(exchange))
            return false;
        if (!IsRefusal(statusCode_) || statusCode_ == lastStatus || !ChooseScheme())
            return true;
        lastStatus = statusCode_;
    }
    return true;
}

bool CHttpClient::ChooseScheme()
{
    const std::shared_ptr<HttpRequest> request = request_.Get();
    HttpOfferedSchemes offered;
    if (!request || !request->OfferedSchemes(offered))
        return false;
    const auto* const chosen =
        std::ranges::find_if(kPreferredSchemes, [&](HttpScheme scheme)
                             { return (offered.schemes & static_cast<std::uint32_t>(scheme)) != 0; });
    if (chosen == std::end(kPreferredSchemes) || *chosen == scheme_)
        return false;
    scheme_ = *chosen;
    target_ = offered.target;
    return true;
}

bool CHttpClient::SendOnce(const Exchange& exchange)
{
    statusCode_ = contentLength_ = 0;
    uploadPending_ = exchange.totalLength > exchange.body.size();
    if (!connection_ && session_)
        connection_ = session_->Connect(host_, port_);
    if (!connection_)
        return false;

    HttpRequestOptions options;
    options.secure = transport_ == Transport::kTls;
    options.ignoreCertificateErrors = (exchange.flags & kIgnoreCertificate) != 0;
    options.rawQuery = (exchange.flags & kRawQuery) != 0;
    options.followRedirects = (exchange.flags & kNoRedirects) == 0;
    options.bypassCaches = true;
    std::shared_ptr<HttpRequest> request = connection_->OpenRequest(exchange.method, exchange.uri, options);
    if (!request || (!user_.empty() && !request->SetCredentials(target_, scheme_, user_, password_)))
        return false;
    for (const std::string& header : exchange.headers)
        request->SetHeader(header);

    const bool isAwaited = (exchange.flags & kNoResponse) == 0 && !uploadPending_;
    inFlight_.Store(request); // from here on another thread can end it
    const bool isDone = request->Send(exchange.body, exchange.totalLength) == HttpError::kNone &&
                        (!isAwaited || request->ReceiveResponse() == HttpError::kNone);
    if (isDone)
        request_.Store(request);
    inFlight_.Release();
    if (!isDone)
        return false;
    statusCode_ = request->StatusCode();
    contentLength_ = request->ContentLength();
    return true;
}

void CHttpClient::CloseRequest()
{
    inFlight_.Close();
    request_.Close();
}

void CHttpClient::EndRequests()
{
    inFlight_.End();
    request_.End();
}

} // namespace Web
