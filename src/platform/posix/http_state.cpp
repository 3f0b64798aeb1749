#include "platform/posix/http_state.h"

#include "platform/reserve.h"
#include "platform/thread.h"

#include <algorithm>
#include <new>
#include <utility>

namespace korvane::platform
{

namespace
{

constexpr std::size_t kMaxBufferedBytes = 64 * 1024; // with this much unread, the device has to wait
constexpr int kMaxWaitMs = 1000;                     // libcurl's own timers are looked at in between
// With a user and a password in hand; a Kerberos login of the process is nothing that a camera knows.
constexpr unsigned long kAnyScheme = CURLAUTH_BASIC | CURLAUTH_DIGEST | CURLAUTH_NTLM;

HttpError ErrorOf(CURLcode code)
{
    switch (code)
    {
    case CURLE_OK:
        return HttpError::kNone;
    case CURLE_OPERATION_TIMEDOUT:
        return HttpError::kTimeout;
    case CURLE_URL_MALFORMAT:
        return HttpError::kInvalidUrl;
    case CURLE_COULDNT_RESOLVE_HOST:
        return HttpError::kNameNotResolved;
    case CURLE_COULDNT_CONNECT:
        return HttpError::kCannotConnect;
    case CURLE_OUT_OF_MEMORY:
        return HttpError::kOutOfMemory;
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_UNSUPPORTED_PROTOCOL: // bytes without a status line
    case CURLE_HTTP2:
    case CURLE_BAD_CONTENT_ENCODING:
    case CURLE_WRITE_ERROR: // the head that was refused in its callback
        return HttpError::kInvalidResponse;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_ISSUER_ERROR:
        return HttpError::kSecureFailure;
    default:
        return HttpError::kConnection;
    }
}

} // namespace

HttpExchange::State::State(std::shared_ptr<HttpConnection> connection, HttpPlan plan)
    : request(MakeCurlRequest(connection->Device(), std::move(plan))), connection_(std::move(connection))
{
}

unsigned long HttpExchange::State::Authentication() const
{
    if (Device().user.empty())
        return 0;
    if (Device().service == HttpService::kWinINet)
        return connection_->learntScheme != HttpScheme::kNone ? CurlAuthOf(connection_->learntScheme)
                                                              : kAnyScheme;
    return request.plan.forProxy ? 0 : CurlAuthOf(request.plan.scheme);
}

HttpError HttpExchange::State::Start(bool fresh, std::uint32_t mostAnswers)
{
    const std::lock_guard lock(connection_->Mutex());
    Stop();
    if (fresh)
        connection_->Forget();
    head_ = {};
    buffer_.clear();
    bufferAt_ = uploadAt_ = 0;
    isPaused_ = isRequestOut_ = hasHead_ = isFinished_ = false;
    error_ = HttpError::kNone;
    hasResponse = false;
    if (isClosed_)
        return HttpError::kCancelled;
    if (request.url.empty())
        return HttpError::kInvalidUrl;

    bool isReused = false;
    easy_ = connection_->Take(isReused);
    request.authentication = Authentication();
    usedMemory = !fresh && (connection_->learntScheme != HttpScheme::kNone ||
                            (request.authentication == CURLAUTH_DIGEST && isReused));
    multi_ = easy_ != nullptr ? HttpConnection::NewMulti() : nullptr;
    if (multi_ == nullptr || !Configure() ||
        // libcurl counts an answer to a challenge as a redirect; without a bound it answers for ever a device
        // that takes no nonce and calls each too old.
        curl_easy_setopt(easy_, CURLOPT_MAXREDIRS, static_cast<long>(mostAnswers)) != CURLE_OK ||
        curl_multi_add_handle(multi_, easy_) != CURLM_OK)
    {
        Stop();
        isFinished_ = true;
        error_ = HttpError::kOutOfMemory;
    }
    return error_;
}

void HttpExchange::State::Take(std::uint32_t count)
{
    bufferAt_ += count;
    if (bufferAt_ < buffer_.size())
        return;
    buffer_.clear();
    bufferAt_ = 0;
}

void HttpExchange::State::KeepResponse()
{
    hasResponse = true;
    if (Device().service == HttpService::kWinINet && head_.status != 401 && head_.offered.schemes != 0)
        connection_->learntScheme = PickedOf(head_.offered.schemes);
}

void HttpExchange::State::Close()
{
    const std::lock_guard lock(connection_->Mutex());
    isClosed_ = true;
    gate_->Shut([this] { curl_multi_wakeup(multi_); });
    Stop();
}

HttpError HttpExchange::State::Run(Goal goal)
{
    std::unique_lock lock(connection_->Mutex());
    if (!IsOver(goal) && multi_ == nullptr)
        return HttpError::kIncorrectState;
    lastActivity_ = std::chrono::steady_clock::now(); // what came while nobody waited is no silence
    while (!IsOver(goal))
    {
        Perform();
        if (IsOver(goal))
            break;
        const int waitMs = WaitMs(std::chrono::steady_clock::now());
        if (waitMs == 0)
        {
            Finish(CURLE_OPERATION_TIMEDOUT);
            break;
        }
        CURLM* const multi = multi_; // read here: a close on another thread sets it back
        lock.unlock();
        const int active = Poll(multi, waitMs);
        lock.lock();
        if (active < 0 && !isClosed_)
            Finish(CURLE_RECV_ERROR);
        // A header line shows only when it is whole, so bytes are seen where they come in: at the socket.
        else if (active > 0)
            lastActivity_ = std::chrono::steady_clock::now();
    }
    if (isClosed_)
        return HttpError::kCancelled;
    if (HasReached(goal))
        return HttpError::kNone;
    const bool isBodyEnd = goal == Goal::kBody && hasHead_;
    return error_ == HttpError::kNone && !isBodyEnd ? HttpError::kInvalidResponse : error_;
}

int HttpExchange::State::Poll(CURLM* multi, int waitMs) const
{
    // Held from the stack: while the thread is away, everything else may be freed around it.
    const std::shared_ptr<PollGate> gate = gate_;
    int active = 0;
    const AwayScope away;
    if (!gate->Enter())
        return 0;
    const CURLMcode code = curl_multi_poll(multi, nullptr, 0, waitMs, &active);
    gate->Leave();
    return code == CURLM_OK ? active : -1;
}

void HttpExchange::State::Perform()
{
    if (std::exchange(isPaused_, false))
        curl_easy_pause(easy_, CURLPAUSE_CONT);
    int running = 0;
    if (curl_multi_perform(multi_, &running) != CURLM_OK)
    {
        Finish(CURLE_RECV_ERROR);
        return;
    }
    int left = 0;
    while (const CURLMsg* const message = curl_multi_info_read(multi_, &left))
    {
        if (message->msg == CURLMSG_DONE)
        {
            Finish(message->data.result);
            return;
        }
    }
}

void HttpExchange::State::Finish(CURLcode result)
{
    isFinished_ = true;
    if (result == CURLE_TOO_MANY_REDIRECTS)
        result = CURLE_OK; // one more challenge than are answered
    if (head_.isComplete && result == CURLE_OK)
        hasHead_ = true;
    error_ = ErrorOf(result);
    if (error_ == HttpError::kOutOfMemory)
        Reserve::Note(Shortage::kMemory);
    Stop();
}

void HttpExchange::State::Stop()
{
    if (multi_ != nullptr)
    {
        curl_multi_remove_handle(multi_, easy_);
        HttpConnection::EndMulti(std::exchange(multi_, nullptr));
    }
    if (easy_ != nullptr)
        connection_->GiveBack(std::exchange(easy_, nullptr), hasHead_ && head_.status != 401);
    curl_slist_free_all(std::exchange(headers_, nullptr));
}

bool HttpExchange::State::HasReached(Goal goal) const
{
    switch (goal)
    {
    case Goal::kSent:
    {
        if (hasHead_)
            return true;
        if (!isRequestOut_ || easy_ == nullptr || uploadAt_ < request.plan.body.size())
            return false;
        long requestBytes = 0;
        curl_off_t bodyBytes = 0;
        curl_easy_getinfo(easy_, CURLINFO_REQUEST_SIZE, &requestBytes);
        curl_easy_getinfo(easy_, CURLINFO_SIZE_UPLOAD_T, &bodyBytes);
        return requestBytes > 0 && static_cast<std::size_t>(bodyBytes) >= request.plan.body.size();
    }
    case Goal::kHead:
        return hasHead_;
    case Goal::kBody:
        return !buffer_.empty();
    }
    return false;
}

int HttpExchange::State::WaitMs(Time now) const
{
    if (!isRequestOut_)
        return kMaxWaitMs; // libcurl ends a connection that takes too long
    const HttpTimeouts& timeouts = Device().timeouts;
    std::int64_t leftMs = kMaxWaitMs;
    const auto bound = [&](Time from, std::uint32_t limitMs)
    {
        const auto passed = std::chrono::duration_cast<std::chrono::milliseconds>(now - from).count();
        if (limitMs != 0)
            leftMs = std::min(leftMs, std::int64_t{limitMs} - passed);
    };
    const bool isSending = uploadAt_ < request.plan.body.size();
    bound(lastActivity_, isSending ? timeouts.sendMs : timeouts.receiveMs);
    if (!hasHead_ && !isSending)
        bound(requestTime_, timeouts.headMs);
    return static_cast<int>(std::max<std::int64_t>(leftMs, 0));
}

bool HttpExchange::State::MayBeAnswered() const
{
    // Basic went out with the request, so nothing is left to answer with; any other scheme may need the 401.
    return head_.status == 401 && request.authentication != 0 && request.authentication != CURLAUTH_BASIC;
}

std::size_t HttpExchange::State::OnHeader(std::span<char> line)
{
    if (!head_.AddLine(easy_, {line.data(), line.size()}))
        return 0;
    lastActivity_ = std::chrono::steady_clock::now();
    if (head_.isComplete && head_.status >= 200 && !MayBeAnswered())
        hasHead_ = true;
    return line.size();
}

std::size_t HttpExchange::State::OnBody(std::span<char> bytes)
{
    hasHead_ = true; // the body of a response that libcurl answers underneath doesn't come here
    if (!buffer_.empty() && buffer_.size() + bytes.size() > kMaxBufferedBytes)
    {
        isPaused_ = true;
        return CURL_WRITEFUNC_PAUSE;
    }
    buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
    return bytes.size();
}

std::size_t HttpExchange::State::OnUpload(std::span<char> room)
{
    const std::span<const std::uint8_t> left = request.plan.body.subspan(uploadAt_);
    const std::size_t count = std::min(room.size(), left.size());
    if (count == 0 && request.plan.announcedBytes > request.plan.body.size())
        return CURL_READFUNC_PAUSE; // what was announced and isn't here never goes out
    std::copy_n(left.begin(), count, room.begin());
    uploadAt_ += count;
    return count;
}

int HttpExchange::State::OnSeek(curl_off_t offset)
{
    if (offset < 0 || static_cast<std::size_t>(offset) > request.plan.body.size())
        return CURL_SEEKFUNC_FAIL;
    uploadAt_ = static_cast<std::size_t>(offset);
    return CURL_SEEKFUNC_OK;
}

void HttpExchange::State::OnConnected()
{
    isRequestOut_ = true;
    lastActivity_ = requestTime_ = std::chrono::steady_clock::now();
}

template <std::size_t (HttpExchange::State::*Operation)(std::span<char>)>
std::size_t HttpExchange::State::Callback(char* data, std::size_t size, std::size_t count, void* self)
{
    try
    {
        return (static_cast<State*>(self)->*Operation)({data, size * count});
    }
    catch (const std::bad_alloc&)
    {
        return 0;
    }
}

bool HttpExchange::State::Configure()
{
    const curl_seek_callback seek = [](void* self, curl_off_t offset, int origin)
    { return origin == SEEK_SET ? static_cast<State*>(self)->OnSeek(offset) : CURL_SEEKFUNC_FAIL; };
    const curl_prereq_callback connected = [](void* self, char*, char*, int, int)
    {
        static_cast<State*>(self)->OnConnected();
        return CURL_PREREQFUNC_OK;
    };
    const auto set = [this](CURLoption option, auto value)
    { return curl_easy_setopt(easy_, option, value) == CURLE_OK; };
    return ApplyRequest(easy_, request, Device(), headers_) &&
           set(CURLOPT_HEADERFUNCTION, Callback<&HttpExchange::State::OnHeader>) &&
           set(CURLOPT_HEADERDATA, this) &&
           set(CURLOPT_WRITEFUNCTION, Callback<&HttpExchange::State::OnBody>) &&
           set(CURLOPT_WRITEDATA, this) &&
           set(CURLOPT_READFUNCTION, Callback<&HttpExchange::State::OnUpload>) &&
           set(CURLOPT_READDATA, this) && set(CURLOPT_SEEKFUNCTION, seek) && set(CURLOPT_SEEKDATA, this) &&
           set(CURLOPT_PREREQFUNCTION, connected) && set(CURLOPT_PREREQDATA, this);
}

} // namespace korvane::platform
