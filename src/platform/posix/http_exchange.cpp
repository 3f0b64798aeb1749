#include "platform/http_exchange.h"

#include "platform/posix/http_state.h"

#include <algorithm>
#include <utility>

namespace korvane::platform
{

namespace
{

constexpr int kMaxRedirects = 10;
// Of one request to one place, the remembered credentials and the fresh ones together.
constexpr std::uint32_t kMaxSent = 4;
constexpr std::uint32_t kMaxAnswers = 2; // a challenge, and one more nonce when that one was too old

} // namespace

HttpExchange::HttpExchange(std::shared_ptr<HttpConnection> connection, HttpPlan plan)
    : state_(std::make_unique<State>(std::move(connection), std::move(plan)))
{
}

HttpExchange::~HttpExchange() = default;

HttpError HttpExchange::Send(bool isAwaited)
{
    HttpError error = state_->Start(false, kMaxAnswers);
    if (error == HttpError::kNone)
        error = state_->Run(State::Goal::kSent);
    return error == HttpError::kNone && isAwaited ? ReceiveResponse() : error;
}

HttpError HttpExchange::ReceiveResponse()
{
    const auto resend = [this](bool fresh, std::uint32_t mostAnswers)
    {
        const HttpError error = state_->Start(fresh, mostAnswers);
        return error == HttpError::kNone ? state_->Run(State::Goal::kHead) : error;
    };
    const HttpHead& head = state_->Head();
    HttpError error = state_->Run(State::Goal::kHead);
    const std::uint32_t sent = head.refusals;
    if (error == HttpError::kNone && head.status == 401 && state_->usedMemory && sent + 2 <= kMaxSent)
    {
        // What answered the last challenge need not answer this one: cameras are set to another scheme, and
        // some give a nonce for one request without saying so. Nothing remembered, once more.
        error = resend(true, std::min(kMaxAnswers, kMaxSent - sent - 1));
    }
    for (int i = 0; error == HttpError::kNone && i < kMaxRedirects; ++i)
    {
        if (!state_->request.plan.followRedirects || !head.IsRedirect() ||
            !Redirect(state_->request, head.location, head.status))
        {
            break;
        }
        error = resend(false, kMaxAnswers);
    }
    if (error == HttpError::kNone)
        state_->KeepResponse();
    return error;
}

std::uint32_t HttpExchange::StatusCode() const
{
    return state_->hasResponse ? state_->Head().status : 0;
}

std::uint32_t HttpExchange::ContentLength() const
{
    return state_->hasResponse ? state_->Head().contentLength : 0;
}

HttpOfferedSchemes HttpExchange::Offered() const
{
    const bool isRefused = StatusCode() == 401 || StatusCode() == 407;
    return isRefused ? state_->Head().offered : HttpOfferedSchemes();
}

HttpError HttpExchange::BytesAvailable(std::uint32_t& count)
{
    count = 0;
    if (!state_->hasResponse)
        return HttpError::kIncorrectState;
    // Bytes that came before a failure are the caller's before the failure is.
    const HttpError error = state_->Unread().empty() ? state_->Run(State::Goal::kBody) : HttpError::kNone;
    count = static_cast<std::uint32_t>(state_->Unread().size());
    return count != 0 ? HttpError::kNone : error;
}

HttpError HttpExchange::Read(std::uint8_t* buffer, std::uint32_t size, std::uint32_t& count)
{
    const HttpError error = BytesAvailable(count);
    count = std::min(count, size);
    std::copy_n(state_->Unread().begin(), count, buffer);
    state_->Take(count);
    return error;
}

void HttpExchange::Close()
{
    state_->Close();
}

} // namespace korvane::platform
