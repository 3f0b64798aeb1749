#include "http/client_body.h"

#include <algorithm>
#include <utility>

#include "platform/clock.h"

namespace Web
{

using namespace korvane::platform;

namespace
{

constexpr std::uint32_t kBlockBytes = 10240;

} // namespace

CClientBody::CClientBody(const korvane::DEVICE_INFO& device, HttpService service, const char* userAgent,
                         std::uint32_t headMs)
    : device_{service,
              userAgent,
              {device.networkTimeoutMs, device.networkTimeoutMs, device.networkTimeoutMs, headMs},
              device.address,
              device.port,
              device.user,
              device.password}
{
}

HttpError CClientBody::SendPlan(HttpPlan plan, bool isAwaited)
{
    statusCode_ = contentLength_ = 0;
    if (!connection_)
        connection_ = ConnectHttp(device_);
    if (!connection_)
        return lastError_ = HttpError::kCannotConnect;

    const Exchange exchange = std::make_shared<HttpExchange>(connection_, std::move(plan));
    {
        const korvane::CLockGuard guard(lock_);
        if (hasEnded_)
            return lastError_ = HttpError::kCancelled;
        waiting_ = exchange; // from here on another thread can end it
    }
    lastError_ = exchange->Send(isAwaited);
    responseMs_ = Clock::Milliseconds();

    Exchange before;
    {
        const korvane::CLockGuard guard(lock_);
        // One that was closed in the last moment is in neither place any more.
        const Exchange done = std::exchange(waiting_, nullptr);
        if (done && lastError_ == HttpError::kNone)
            before = std::exchange(response_, done);
    }
    if (before)
        before->Close();
    if (lastError_ != HttpError::kNone)
        return lastError_;
    statusCode_ = exchange->StatusCode();
    contentLength_ = exchange->ContentLength();
    return HttpError::kNone;
}

void CClientBody::CloseRequest()
{
    Exchange waiting;
    Exchange response;
    {
        const korvane::CLockGuard guard(lock_);
        waiting.swap(waiting_);
        response.swap(response_);
    }
    // Their own end would close them too, but a thread that was given up may hold them for ever.
    for (const Exchange& closing : {waiting, response})
    {
        if (closing)
            closing->Close();
    }
}

void CClientBody::EndRequests()
{
    {
        const korvane::CLockGuard guard(lock_);
        hasEnded_ = true;
    }
    CloseRequest();
}

void CClientBody::Reopen()
{
    const korvane::CLockGuard guard(lock_);
    hasEnded_ = false;
}

void CClientBody::Disconnect()
{
    CloseRequest();
    connection_.reset();
}

CClientBody::Exchange CClientBody::Get() const
{
    const korvane::CLockGuard guard(lock_);
    return response_;
}

HttpOfferedSchemes CClientBody::Offered() const
{
    const Exchange exchange = Get();
    return exchange ? exchange->Offered() : HttpOfferedSchemes();
}

std::uint32_t CClientBody::QueryDataAvailable()
{
    std::uint32_t count = 0;
    const Exchange exchange = Get();
    lastError_ = exchange ? exchange->BytesAvailable(count) : HttpError::kIncorrectState;
    return count;
}

std::uint32_t CClientBody::ReadData(std::uint8_t* buffer, std::uint32_t size)
{
    std::uint32_t count = 0;
    const Exchange exchange = Get();
    const bool isPossible = exchange && buffer != nullptr && size != 0;
    lastError_ = isPossible ? exchange->Read(buffer, size, count) : HttpError::kIncorrectState;
    return count;
}

std::uint32_t CClientBody::ReadResponse(std::vector<std::uint8_t>& buffer, std::uint32_t limit)
{
    buffer.clear();
    while (buffer.size() < limit)
    {
        const std::uint32_t waiting = QueryDataAvailable();
        if (waiting == 0)
            break;
        if (IsLate())
        {
            buffer.clear();
            break;
        }
        const std::size_t before = buffer.size();
        const std::uint32_t block = std::min(waiting, kBlockBytes);
        buffer.resize(before + block);
        buffer.resize(before + ReadData(buffer.data() + before, block));
    }
    return static_cast<std::uint32_t>(buffer.size());
}

bool CClientBody::IsLate()
{
    const bool isLate = Clock::Milliseconds() - responseMs_ > kMostWholeMs;
    if (isLate)
        lastError_ = HttpError::kTimeout;
    return isLate;
}

} // namespace Web
