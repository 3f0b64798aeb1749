#include "http/stored_request.h"

#include <algorithm>
#include <utility>

#include "platform/clock.h"

namespace Web
{

using namespace korvane::platform;

namespace
{

constexpr std::uint32_t kMaxBytes = 0x10000000; // 256 MiB; no answer of a camera comes near it
constexpr std::uint32_t kBlockBytes = 10240;

} // namespace

std::shared_ptr<HttpRequest> CStoredRequest::Get() const
{
    const korvane::CLockGuard guard(lock_);
    return request_;
}

void CStoredRequest::Store(std::shared_ptr<HttpRequest> request)
{
    std::shared_ptr<HttpRequest> refused;
    {
        const korvane::CLockGuard guard(lock_);
        std::swap(request_, request);
        if (hasEnded_)
            refused = request_;
    }
    for (const auto& closing : {request, refused})
    {
        if (closing)
            closing->Close();
    }
}

void CStoredRequest::End()
{
    {
        const korvane::CLockGuard guard(lock_);
        hasEnded_ = true;
    }
    Close();
}

void CStoredRequest::Release()
{
    const korvane::CLockGuard guard(lock_);
    request_.reset();
}

std::uint32_t CStoredRequest::Available() const
{
    std::uint32_t count = 0;
    const std::shared_ptr<HttpRequest> request = Get();
    return request && request->BytesAvailable(count) == HttpError::kNone ? count : 0;
}

std::uint32_t CStoredRequest::Read(std::uint8_t* buffer, std::uint32_t size) const
{
    std::uint32_t count = 0;
    const std::shared_ptr<HttpRequest> request = Get();
    if (request && buffer != nullptr && size != 0)
        request->Read(buffer, size, count);
    return count;
}

std::uint32_t CStoredRequest::ReadWhole(std::vector<std::uint8_t>& buffer) const
{
    buffer.clear();
    const std::uint32_t startMs = Clock::Milliseconds();
    std::uint32_t total = 0;
    std::uint32_t waiting = Available();
    while (waiting != 0 && total < kMaxBytes)
    {
        if (Clock::Milliseconds() - startMs > kMostWholeMs)
        {
            buffer.clear();
            return 0;
        }
        const std::uint32_t block = std::min(waiting, kBlockBytes);
        buffer.resize(total + block);
        total += Read(buffer.data() + total, block);
        waiting = Available();
    }
    return total;
}

} // namespace Web
