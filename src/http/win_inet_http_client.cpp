#include "http/win_inet_http_client.h"

namespace Web
{

namespace
{

using namespace korvane::platform;

constexpr std::uint32_t kHeadMs = 90000; // bounds a response's head that comes byte by byte

} // namespace

CWinINetHttpClient::CWinINetHttpClient(const korvane::DEVICE_INFO& deviceInfo, const char* userAgent)
    : timeoutMs_(deviceInfo.networkTimeoutMs),
      userAgent_(userAgent),
      user_(deviceInfo.user),
      password_(deviceInfo.password),
      host_(deviceInfo.address),
      port_(deviceInfo.port)
{
    session_ = OpenHttpSession(userAgent_, {timeoutMs_, timeoutMs_, timeoutMs_, kHeadMs});
}

CWinINetHttpClient::~CWinINetHttpClient()
{
    CloseRequest();
    connection_.reset();
    session_.reset();
}

bool CWinINetHttpClient::SendRequest(const std::string& method, const std::string& uri)
{
    statusCode_ = contentLength_ = 0;
    if (!connection_ && session_)
        connection_ = session_->Connect(host_, port_, user_, password_);
    if (!connection_)
        return false;
    CloseRequest();

    HttpRequestOptions options;
    options.acceptAny = true;
    const std::shared_ptr<HttpRequest> request = connection_->OpenRequest(method, uri, options);
    if (!request)
        return false;
    request_.Store(request); // from here on another thread can end it
    if (request->Send({}, 0) != HttpError::kNone || request->ReceiveResponse() != HttpError::kNone)
    {
        CloseRequest();
        return false;
    }
    statusCode_ = request->StatusCode();
    contentLength_ = request->ContentLength();
    return true;
}

} // namespace Web
