#include "http/http_sender.h"

#include <algorithm>
#include <utility>

namespace Web
{

using namespace korvane::platform;

namespace
{

constexpr std::uint16_t kTlsPort = 443;
constexpr std::uint32_t kUnknownLengthLimit = 0x100000;
constexpr std::uint32_t kZeroBlockBytes = 8192; // what is asked for at once

} // namespace

CHttpSender::CHttpSender(const korvane::DEVICE_INFO& deviceInfo)
    : CClientBody(deviceInfo, HttpService::kWinHttp, kUserAgent, deviceInfo.networkTimeoutMs),
      secure_(deviceInfo.port == kTlsPort)
{
}

bool CHttpSender::Send(const HttpRequest& request)
{
    Reopen(); // an abort from here on keeps also the second attempt from running
    return SendEither(request);
}

bool CHttpSender::SendEither(const HttpRequest& request)
{
    bool secure = secure_;
    HttpError error = Attempt(request, secure);
    // A device that is silent here is silent there: waiting for it twice would only double the time.
    if (error != HttpError::kNone && error != HttpError::kTimeout && error != HttpError::kInvalidResponse)
    {
        secure = !secure;
        error = Attempt(request, secure);
    }
    if (error != HttpError::kNone)
        return false;
    secure_ = secure;
    if (StatusCode() != 401 || learntScheme_ != HttpScheme::kNone)
        return true;

    const HttpScheme used = SchemeFor(request.authKind);
    learntScheme_ = Offered().first;
    CloseRequest();
    if (learntScheme_ == HttpScheme::kNone || learntScheme_ == used)
        return true;
    return SendEither(request); // once: a learnt scheme is never learnt anew
}

HttpError CHttpSender::Attempt(const HttpRequest& request, bool secure)
{
    HttpPlan plan;
    plan.method = request.method;
    plan.target = request.uri;
    plan.secure = secure;
    plan.ignoreCertificateErrors = (request.flags & HttpRequest::kIgnoreCertificate) != 0;
    plan.rawQuery = (request.flags & HttpRequest::kRawQuery) != 0;
    plan.followRedirects = (request.flags & HttpRequest::kNoRedirects) == 0;
    plan.scheme = SchemeFor(request.authKind);
    plan.headers = request.headers;
    plan.body = request.body;
    plan.announcedBytes = request.totalLength;
    CloseRequest();
    return SendPlan(std::move(plan), request.body.size() >= request.totalLength &&
                                         (request.flags & HttpRequest::kNoResponse) == 0);
}

HttpScheme CHttpSender::SchemeFor(AuthKind kind) const
{
    if (learntScheme_ != HttpScheme::kNone)
        return learntScheme_;
    const auto number = static_cast<std::uint32_t>(kind); // from 1, in the order of the schemes' bits
    const bool isKnown = kind >= AuthKind::kBasic && kind <= AuthKind::kNegotiate;
    return isKnown ? static_cast<HttpScheme>(1u << (number - 1)) : HttpScheme::kNone;
}

std::uint32_t CHttpSender::ContentLength() const
{
    return StatusCode() == 204 ? 0 : CClientBody::ContentLength();
}

std::uint32_t CHttpSender::ReadResponse(std::vector<std::uint8_t>& buffer)
{
    const std::uint32_t length = ContentLength();
    const std::uint32_t limit = length != 0 ? std::min(length, kMostBytes) : kUnknownLengthLimit;
    std::size_t size = CClientBody::ReadResponse(buffer, limit);
    if (LastError() == HttpError::kTimeout && !IsLate())
        size += kZeroBlockBytes; // the block that was waited for, as far as it came
    buffer.resize(std::min<std::size_t>(size, limit));
    return static_cast<std::uint32_t>(buffer.size());
}

std::uint32_t CHttpSender::ReadData(std::vector<std::uint8_t>& buffer, std::uint32_t size, bool clearFirst)
{
    if (clearFirst)
        buffer.clear();
    const std::size_t before = buffer.size();
    const std::uint32_t room = size != 0 ? std::min(size, CClientBody::QueryDataAvailable()) : 0;
    buffer.resize(before + room);
    const std::uint32_t count = room != 0 ? CClientBody::ReadData(buffer.data() + before, room) : 0;
    buffer.resize(before + count);
    return count;
}

} // namespace Web
