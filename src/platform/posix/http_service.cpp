#include "platform/http_service.h"

#include "platform/posix/http_exchange.h"
#include "platform/posix/http_handles.h"
#include "platform/posix/http_target.h"

#include <algorithm>
#include <cctype>
#include <utility>
#include <vector>

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

unsigned long CurlAuthOf(HttpScheme scheme)
{
    switch (scheme)
    {
    case HttpScheme::kBasic:
        return CURLAUTH_BASIC;
    case HttpScheme::kNtlm:
        return CURLAUTH_NTLM;
    case HttpScheme::kDigest:
        return CURLAUTH_DIGEST;
    case HttpScheme::kNegotiate:
        return CURLAUTH_NEGOTIATE;
    default:
        return 0;
    }
}

/// The scheme that libcurl answers with out of several.
unsigned long PickedOf(std::uint32_t offered)
{
    for (const HttpScheme scheme : {HttpScheme::kDigest, HttpScheme::kNtlm, HttpScheme::kBasic})
    {
        if ((offered & static_cast<std::uint32_t>(scheme)) != 0)
            return CurlAuthOf(scheme);
    }
    return 0;
}

bool IsToken(std::string_view text) // RFC 9110, section 5.6.2
{
    return !text.empty() &&
           std::ranges::all_of(text,
                               [](char character)
                               {
                                   const auto byte = static_cast<unsigned char>(character);
                                   return std::isalnum(byte) != 0 ||
                                          (byte < 0x80 &&
                                           std::string_view("!#$%&'*+-.^_`|~").find(character) !=
                                               std::string_view::npos);
                               });
}

/// What the requests of a connection share. Used by the thread that has the exchange.
struct Device
{
    std::string host;
    std::uint16_t port = 0;
    bool answersChallenges = false;
    std::string user;
    std::string password;
    unsigned long learntScheme = 0; // a CURLAUTH_... bit that answered the last challenge
    std::shared_ptr<CurlHandles> handles;
};

class Request final : public HttpRequest
{
public:
    Request(std::shared_ptr<Device> device, HttpPlan plan)
        : device_(std::move(device)), plan_(std::move(plan)), exchange_(device_->handles)
    {
    }

    bool SetCredentials(HttpAuthTarget target, HttpScheme scheme, const std::string& user,
                        const std::string& password) override
    {
        const unsigned long authentication = CurlAuthOf(scheme);
        if (authentication == 0)
            return false;
        if (target == HttpAuthTarget::kProxy)
            return true; // there is no proxy to give them to
        plan_.authentication = authentication;
        plan_.user = user;
        plan_.password = password;
        return true;
    }

    bool SetHeader(std::string_view header) override
    {
        const std::string_view name = header.substr(0, header.find(':'));
        if (name.size() == header.size() || !IsToken(name) ||
            header.find_first_of(std::string_view("\r\n\0", 3)) != std::string_view::npos)
        {
            return false;
        }
        std::erase_if(plan_.headers, [name](const std::string& other) { return HasHeaderName(other, name); });
        plan_.headers.emplace_back(header);
        return true;
    }

    HttpError Send(std::span<const std::uint8_t> body, std::uint32_t announcedBytes) override
    {
        plan_.body = body;
        plan_.announcedBytes = std::max(announcedBytes, static_cast<std::uint32_t>(body.size()));
        const HttpError error = Start(false, kMaxAnswers);
        return error == HttpError::kNone ? exchange_.WaitSent() : error;
    }

    HttpError ReceiveResponse() override
    {
        HttpError error = exchange_.WaitHead();
        const std::uint32_t sent = exchange_.Head().Refusals();
        if (error == HttpError::kNone && exchange_.Head().Status() == 401 && usedMemory_ &&
            sent + 2 <= kMaxSent)
        {
            // What answered the last challenge need not answer this one: cameras are set to another scheme,
            // and some give a nonce for one request without saying so. Nothing remembered, once more.
            device_->learntScheme = 0;
            error = Resend(true, std::min(kMaxAnswers, kMaxSent - sent - 1));
        }
        for (int i = 0; error == HttpError::kNone && i < kMaxRedirects && FollowRedirect(); ++i)
            error = Resend(false, kMaxAnswers);
        if (error != HttpError::kNone)
            return error;
        statusCode_ = exchange_.Head().Status();
        contentLength_ = exchange_.Head().ContentLength();
        if (device_->answersChallenges && statusCode_ != 401 && exchange_.Head().Offered().schemes != 0)
            device_->learntScheme = PickedOf(exchange_.Head().Offered().schemes);
        return HttpError::kNone;
    }

    std::uint32_t StatusCode() const override { return statusCode_; }
    std::uint32_t ContentLength() const override { return contentLength_; }

    bool OfferedSchemes(HttpOfferedSchemes& offered) const override
    {
        if ((statusCode_ != 401 && statusCode_ != 407) || exchange_.Head().Offered().schemes == 0)
            return false;
        offered = exchange_.Head().Offered();
        return true;
    }

    HttpError BytesAvailable(std::uint32_t& count) override
    {
        count = 0;
        return statusCode_ == 0 ? HttpError::kIncorrectState : exchange_.WaitBody(count);
    }

    HttpError Read(std::uint8_t* buffer, std::uint32_t size, std::uint32_t& count) override
    {
        const HttpError error = BytesAvailable(count);
        if (error == HttpError::kNone)
            count = exchange_.TakeBody(buffer, size);
        return error;
    }

    void Close() override { exchange_.Close(); }

private:
    HttpError Start(bool fresh, std::uint32_t mostAnswers)
    {
        if (device_->answersChallenges && !device_->user.empty())
        {
            plan_.authentication = device_->learntScheme != 0 ? device_->learntScheme : kAnyScheme;
            plan_.user = device_->user;
            plan_.password = device_->password;
        }
        const HttpError error = exchange_.Start(plan_, fresh, mostAnswers);
        usedMemory_ = !fresh && ((device_->answersChallenges && device_->learntScheme != 0) ||
                                 (plan_.authentication == CURLAUTH_DIGEST && exchange_.ReusedHandle()));
        return error;
    }

    HttpError Resend(bool fresh, std::uint32_t mostAnswers)
    {
        const HttpError error = Start(fresh, mostAnswers);
        return error == HttpError::kNone ? exchange_.WaitHead() : error;
    }

    /// True when the response leads on to a place where the request may go; the plan then leads there.
    bool FollowRedirect()
    {
        const HttpHead& head = exchange_.Head();
        if (!plan_.options.followRedirects || !head.IsRedirect())
            return false;
        std::string url = ResolveRedirect(plan_.target.url, head.Location());
        if (url.empty())
            return false;
        plan_.target = {std::move(url), {}};
        if (head.Status() < 307 && plan_.method != "HEAD") // RFC 9110, section 15.4: as browsers do
        {
            plan_.method = "GET";
            plan_.body = {};
            plan_.announcedBytes = 0;
        }
        return true;
    }

    const std::shared_ptr<Device> device_;
    HttpPlan plan_;
    HttpExchange exchange_;
    bool usedMemory_ = false; // the credentials went out by what an earlier exchange had learnt
    std::uint32_t statusCode_ = 0;
    std::uint32_t contentLength_ = 0;
};

class Connection final : public HttpConnection
{
public:
    explicit Connection(std::shared_ptr<Device> device) : device_(std::move(device)) {}

    ~Connection() override
    {
        // One of them may be held from the stack of a thread that was given up, and live for ever.
        for (const std::weak_ptr<Request>& open : requests_)
        {
            if (const std::shared_ptr<Request> request = open.lock())
                request->Close();
        }
    }

    std::shared_ptr<HttpRequest> OpenRequest(const std::string& method, const std::string& target,
                                             const HttpRequestOptions& options) override
    {
        HttpPlan plan;
        plan.method = method;
        plan.options = options;
        if (!IsToken(method) || !MakeHttpTarget(options.secure, device_->host, device_->port, target,
                                                options.rawQuery, plan.target))
        {
            return nullptr;
        }
        auto request = std::make_shared<Request>(device_, std::move(plan));
        std::erase_if(requests_, [](const std::weak_ptr<Request>& other) { return other.expired(); });
        requests_.push_back(request);
        return request;
    }

private:
    const std::shared_ptr<Device> device_;
    std::vector<std::weak_ptr<Request>> requests_;
};

class Session final : public HttpSession
{
public:
    Session(std::string userAgent, const HttpTimeouts& timeouts)
        : userAgent_(std::move(userAgent)), timeouts_(timeouts)
    {
    }

    std::unique_ptr<HttpConnection> Connect(const std::string& host, std::uint16_t port) override
    {
        return Connect({host, port, false, {}, {}, 0, nullptr});
    }

    std::unique_ptr<HttpConnection> Connect(const std::string& host, std::uint16_t port,
                                            const std::string& user, const std::string& password) override
    {
        return Connect({host, port, true, user, password, 0, nullptr});
    }

private:
    std::unique_ptr<HttpConnection> Connect(Device device) const
    {
        if (device.host.empty())
            return nullptr;
        device.handles = std::make_shared<CurlHandles>(userAgent_, timeouts_);
        return std::make_unique<Connection>(std::make_shared<Device>(std::move(device)));
    }

    const std::string userAgent_;
    const HttpTimeouts timeouts_;
};

} // namespace

std::unique_ptr<HttpSession> OpenHttpSession(const std::string& userAgent, const HttpTimeouts& timeouts)
{
    return InitializeCurl() ? std::make_unique<Session>(userAgent, timeouts) : nullptr;
}

} // namespace korvane::platform
