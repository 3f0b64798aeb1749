#include "http/http_sender.h"

#include <algorithm>
#include <utility>

#include "platform/clock.h"

namespace Web
{

namespace
{

using korvane::platform::Clock;
using korvane::platform::HttpAuthTarget;
using korvane::platform::HttpError;
using korvane::platform::HttpOfferedSchemes;
using korvane::platform::HttpRequestOptions;
using korvane::platform::HttpScheme;
using Exchange = korvane::platform::HttpRequest;

constexpr std::uint16_t kTlsPort = 443;
constexpr std::uint32_t kBlockBytes = 8192;
constexpr std::uint32_t kUnknownLengthLimit = 0x100000;
constexpr std::uint32_t kMaxBytes = 0x10000000; // whatever length a device announces

} // namespace

CHttpSender::CHttpSender(const korvane::DEVICE_INFO& deviceInfo)
    : CBaseHttpSender(deviceInfo), secure_(deviceInfo.port == kTlsPort)
{
    const std::uint32_t timeoutMs = deviceInfo.networkTimeoutMs;
    session_ = korvane::platform::OpenHttpSession(kUserAgent, {timeoutMs, timeoutMs, timeoutMs, timeoutMs});
}

CHttpSender::~CHttpSender()
{
    Disconnect();
}

void CHttpSender::Disconnect()
{
    exchange_.Close();
    connection_.reset();
}

bool CHttpSender::Send(const HttpRequest& request)
{
    aborted_ = false;
    return SendEither(request);
}

bool CHttpSender::SendEither(HttpRequest request)
{
    request.secure = secure_ ? 1 : 0;
    Outcome outcome = Attempt(request);
    if (outcome == Outcome::kOtherTransport)
    {
        request.secure = secure_ ? 0 : 1;
        outcome = Attempt(request);
    }
    if (outcome != Outcome::kSuccess && outcome != Outcome::kOtherScheme)
        return false;
    secure_ = request.secure != 0;
    if (outcome == Outcome::kSuccess)
        return true;
    return SendEither(std::move(request)); // once: a learnt scheme is never learnt anew
}

CHttpSender::Outcome CHttpSender::Attempt(const HttpRequest& request)
{
    exchange_.Close();
    statusCode_ = contentLength_ = 0;
    lastError_ = HttpError::kNone;
    if (!connection_ && session_)
        connection_ = session_->Connect(deviceInfo_.address, deviceInfo_.port);
    if (!connection_)
        return Fail(HttpError::kCannotConnect, Outcome::kFailure);
    const std::shared_ptr<Exchange> exchange = OpenRequest(request);
    if (!exchange)
        return Fail(HttpError::kInvalidUrl, Outcome::kFailure);

    exchange_.Store(exchange);
    if (aborted_) // before; from now on an abort finds the exchange to close
        return Fail(HttpError::kCancelled, Outcome::kFailure);
    const HttpError error = exchange->Send(request.body, request.totalLength);
    if (error != HttpError::kNone)
    {
        return Fail(error, error == HttpError::kTimeout ? Outcome::kFailure : Outcome::kOtherTransport);
    }
    if (request.body.size() < request.totalLength || (request.flags & HttpRequest::kNoResponse) != 0)
        return Outcome::kSuccess;
    return Receive(*exchange, SchemeFor(request.authKind));
}

CHttpSender::Outcome CHttpSender::Receive(Exchange& exchange, HttpScheme used)
{
    const HttpError error = exchange.ReceiveResponse();
    if (error != HttpError::kNone)
    {
        // A device that is silent here is silent there: waiting for it twice would only double the time.
        const bool isFinal = error == HttpError::kInvalidResponse || error == HttpError::kTimeout;
        return Fail(error, isFinal ? Outcome::kFailure : Outcome::kOtherTransport);
    }
    responseMs_ = Clock::Milliseconds();
    statusCode_ = exchange.StatusCode();
    if (statusCode_ != 204)
        contentLength_ = exchange.ContentLength();
    if (statusCode_ != 401 || learntScheme_ != HttpScheme::kNone)
        return Outcome::kSuccess;

    HttpOfferedSchemes offered;
    if (exchange.OfferedSchemes(offered))
        learntScheme_ = offered.first;
    exchange_.Close();
    const bool hasLearnt = learntScheme_ != HttpScheme::kNone && learntScheme_ != used;
    return hasLearnt ? Outcome::kOtherScheme : Outcome::kSuccess;
}

HttpScheme CHttpSender::SchemeFor(AuthKind kind) const
{
    if (learntScheme_ != HttpScheme::kNone)
        return learntScheme_;
    switch (kind)
    {
    case AuthKind::kBasic:
        return HttpScheme::kBasic;
    case AuthKind::kNtlm:
        return HttpScheme::kNtlm;
    case AuthKind::kPassport:
        return HttpScheme::kPassport;
    case AuthKind::kDigest:
        return HttpScheme::kDigest;
    case AuthKind::kNegotiate:
        return HttpScheme::kNegotiate;
    }
    return HttpScheme::kNone;
}

std::shared_ptr<Exchange> CHttpSender::OpenRequest(const HttpRequest& request)
{
    HttpRequestOptions options;
    options.secure = request.secure != 0;
    options.ignoreCertificateErrors = (request.flags & HttpRequest::kIgnoreCertificate) != 0;
    options.rawQuery = (request.flags & HttpRequest::kRawQuery) != 0;
    options.followRedirects = (request.flags & HttpRequest::kNoRedirects) == 0;
    options.bypassCaches = true;
    std::shared_ptr<Exchange> exchange = connection_->OpenRequest(request.method, request.uri, options);
    const HttpScheme scheme = SchemeFor(request.authKind);
    const bool hasCredentials = !deviceInfo_.user.empty() && scheme != HttpScheme::kNone;
    if (!exchange || (hasCredentials && !exchange->SetCredentials(HttpAuthTarget::kServer, scheme,
                                                                  deviceInfo_.user, deviceInfo_.password)))
    {
        return nullptr;
    }
    const bool areSet = std::ranges::all_of(request.headers, [&](const std::string& header)
                                            { return exchange->SetHeader(header); });
    return areSet ? exchange : nullptr;
}

CHttpSender::Outcome CHttpSender::Fail(HttpError error, Outcome outcome)
{
    lastError_ = error;
    exchange_.Close();
    return outcome;
}

void CHttpSender::Abort()
{
    aborted_ = true;
    exchange_.Close();
}

std::uint32_t CHttpSender::QueryDataAvailable()
{
    std::uint32_t count = 0;
    const std::shared_ptr<Exchange> exchange = exchange_.Get();
    if (!exchange)
        lastError_ = HttpError::kIncorrectState;
    else if (Clock::Milliseconds() - responseMs_ > kMostWholeMs)
        lastError_ = HttpError::kTimeout;
    else
        lastError_ = exchange->BytesAvailable(count);
    return count;
}

std::uint32_t CHttpSender::ReadResponse(std::vector<std::uint8_t>& buffer)
{
    const std::uint32_t limit =
        contentLength_ != 0 ? std::min(contentLength_, kMaxBytes) : kUnknownLengthLimit;
    const std::uint32_t startMs = Clock::Milliseconds();
    std::uint32_t count = 0;
    buffer.clear();
    while (buffer.size() < limit)
    {
        if (Clock::Milliseconds() - startMs > kMostWholeMs)
        {
            lastError_ = HttpError::kTimeout;
            buffer.clear();
            break;
        }
        const auto asked =
            static_cast<std::uint32_t>(std::min<std::size_t>(kBlockBytes, limit - buffer.size()));
        count = ReadData(buffer, asked, false);
        if (count == 0 && lastError_ == HttpError::kTimeout)
            buffer.resize(buffer.size() + asked); // the block that was waited for, as far as it came
        if (count == 0)
            break;
    }
    return static_cast<std::uint32_t>(buffer.size());
}

std::uint32_t CHttpSender::ReadData(std::vector<std::uint8_t>& buffer, std::uint32_t size, bool clearFirst)
{
    if (clearFirst)
        buffer.clear();
    const std::shared_ptr<Exchange> exchange = exchange_.Get();
    if (!exchange || size == 0)
    {
        lastError_ = HttpError::kIncorrectState;
        return 0;
    }
    const std::size_t before = buffer.size();
    std::uint32_t count = 0;
    lastError_ = exchange->BytesAvailable(count);
    buffer.resize(before + std::min(count, size));
    if (count != 0)
        lastError_ = exchange->Read(buffer.data() + before, std::min(count, size), count);
    buffer.resize(before + std::min(count, size));
    return static_cast<std::uint32_t>(buffer.size() - before);
}

} // namespace Web
