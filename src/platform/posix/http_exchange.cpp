#include "platform/http_exchange.h"

#include "platform/posix/http_transfer.h"

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
// With a user and a password in hand; a Kerberos login of the process is nothing that a camera knows.
constexpr unsigned long kAnyScheme = CURLAUTH_BASIC | CURLAUTH_DIGEST | CURLAUTH_NTLM;

} // namespace

/// One request on its way, with its repeats and redirects.
struct HttpExchange::State
{
    State(std::shared_ptr<HttpConnection> to, HttpPlan plan)
        : connection(std::move(to)),
          request(MakeCurlRequest(connection->Device(), std::move(plan))),
          transfer(*connection)
    {
    }

    bool AnswersChallenges() const { return connection->Device().service == HttpService::kWinINet; }
    HttpError Start(bool fresh, std::uint32_t mostAnswers);
    HttpError Resend(bool fresh, std::uint32_t mostAnswers);

    const std::shared_ptr<HttpConnection> connection;
    CurlRequest request;
    HttpTransfer transfer;
    bool usedMemory = false; // the credentials went out by what an earlier exchange had learnt
    bool hasResponse = false;
};

HttpError HttpExchange::State::Start(bool fresh, std::uint32_t mostAnswers)
{
    const HttpScheme learnt = connection->learntScheme;
    if (connection->Device().user.empty())
        request.authentication = 0;
    else if (AnswersChallenges())
        request.authentication = learnt != HttpScheme::kNone ? CurlAuthOf(learnt) : kAnyScheme;
    else if (request.plan.scheme != HttpScheme::kNone && CurlAuthOf(request.plan.scheme) == 0)
        return HttpError::kInvalidUrl;
    else if (request.plan.authTarget == HttpAuthTarget::kServer)
        request.authentication = CurlAuthOf(request.plan.scheme);
    if (request.url.empty())
        return HttpError::kInvalidUrl;
    const HttpError error = transfer.Start(request, fresh, mostAnswers);
    usedMemory = !fresh && (learnt != HttpScheme::kNone ||
                            (request.authentication == CURLAUTH_DIGEST && transfer.ReusedHandle()));
    return error;
}

HttpError HttpExchange::State::Resend(bool fresh, std::uint32_t mostAnswers)
{
    const HttpError error = Start(fresh, mostAnswers);
    return error == HttpError::kNone ? transfer.WaitHead() : error;
}

HttpExchange::HttpExchange(std::shared_ptr<HttpConnection> connection, HttpPlan plan)
    : state_(std::make_unique<State>(std::move(connection), std::move(plan)))
{
}

HttpExchange::~HttpExchange() = default;

HttpError HttpExchange::Send()
{
    HttpPlan& plan = state_->request.plan;
    plan.announcedBytes = std::max(plan.announcedBytes, static_cast<std::uint32_t>(plan.body.size()));
    const HttpError error = state_->Start(false, kMaxAnswers);
    return error == HttpError::kNone ? state_->transfer.WaitSent() : error;
}

HttpError HttpExchange::ReceiveResponse()
{
    const HttpHead& head = state_->transfer.Head();
    HttpError error = state_->transfer.WaitHead();
    const std::uint32_t sent = head.Refusals();
    if (error == HttpError::kNone && head.Status() == 401 && state_->usedMemory && sent + 2 <= kMaxSent)
    {
        // What answered the last challenge need not answer this one: cameras are set to another scheme, and
        // some give a nonce for one request without saying so. Nothing remembered, once more.
        state_->connection->learntScheme = HttpScheme::kNone;
        error = state_->Resend(true, std::min(kMaxAnswers, kMaxSent - sent - 1));
    }
    for (int i = 0; error == HttpError::kNone && i < kMaxRedirects; ++i)
    {
        if (!state_->request.plan.followRedirects || !head.IsRedirect() ||
            !Redirect(state_->request, head.Location(), head.Status()))
        {
            break;
        }
        error = state_->Resend(false, kMaxAnswers);
    }
    state_->hasResponse = error == HttpError::kNone;
    if (state_->hasResponse && state_->AnswersChallenges() && head.Status() != 401 &&
        head.Offered().schemes != 0)
    {
        state_->connection->learntScheme = PickedOf(head.Offered().schemes);
    }
    return error;
}

std::uint32_t HttpExchange::StatusCode() const
{
    return state_->hasResponse ? state_->transfer.Head().Status() : 0;
}

std::uint32_t HttpExchange::ContentLength() const
{
    return state_->hasResponse ? state_->transfer.Head().ContentLength() : 0;
}

HttpOfferedSchemes HttpExchange::Offered() const
{
    const bool isRefused = StatusCode() == 401 || StatusCode() == 407;
    return isRefused ? state_->transfer.Head().Offered() : HttpOfferedSchemes();
}

HttpError HttpExchange::BytesAvailable(std::uint32_t& count)
{
    count = 0;
    return state_->hasResponse ? state_->transfer.WaitBody(count) : HttpError::kIncorrectState;
}

HttpError HttpExchange::Read(std::uint8_t* buffer, std::uint32_t size, std::uint32_t& count)
{
    const HttpError error = BytesAvailable(count);
    if (error == HttpError::kNone)
        count = state_->transfer.TakeBody(buffer, size);
    return error;
}

void HttpExchange::Close()
{
    state_->transfer.Close();
}

} // namespace korvane::platform
