#include "http/http_client.h"

#include "http/body_reader.h"

#include <algorithm>
#include <utility>

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
    CloseRequest();
    connection_.reset();
    session_.reset();
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
    if (StoredRequest())
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
    const std::shared_ptr<HttpRequest> request = StoredRequest();
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
    SetInFlight(request); // from here on another thread can end it
    const bool isDone = request->Send(exchange.body, exchange.totalLength) == HttpError::kNone &&
                        (!isAwaited || request->ReceiveResponse() == HttpError::kNone);
    SetInFlight(nullptr);
    if (!isDone)
        return false;
    const HttpRequest& response = *request;
    StoreRequest(request);
    statusCode_ = response.StatusCode();
    contentLength_ = response.ContentLength();
    return true;
}

std::uint32_t CHttpClient::ReadResponse(std::vector<std::uint8_t>& buffer)
{
    return ReadWholeBody(buffer, [this] { return StoredRequest(); });
}

std::uint32_t CHttpClient::ReadData(std::uint8_t* buffer, std::uint32_t size)
{
    std::uint32_t count = 0;
    const std::shared_ptr<HttpRequest> request = StoredRequest();
    if (request && buffer != nullptr && size != 0)
        request->Read(buffer, size, count);
    return count;
}

std::uint32_t CHttpClient::QueryDataAvailable()
{
    std::uint32_t count = 0;
    const std::shared_ptr<HttpRequest> request = StoredRequest();
    return request && request->BytesAvailable(count) == HttpError::kNone ? count : 0;
}

void CHttpClient::CloseRequest()
{
    std::shared_ptr<HttpRequest> inFlight;
    {
        const korvane::CLockGuard guard(lock_);
        inFlight = inFlight_;
    }
    if (inFlight)
        inFlight->Close();
    StoreRequest(nullptr);
}

void CHttpClient::SetInFlight(const std::shared_ptr<HttpRequest>& request)
{
    const korvane::CLockGuard guard(lock_);
    inFlight_ = request;
}

std::shared_ptr<HttpRequest> CHttpClient::StoredRequest() const
{
    const korvane::CLockGuard guard(lock_);
    return request_;
}

void CHttpClient::StoreRequest(std::shared_ptr<HttpRequest> request)
{
    {
        const korvane::CLockGuard guard(lock_);
        std::swap(request_, request);
    }
    if (request)
        request->Close();
}

} // namespace Web
