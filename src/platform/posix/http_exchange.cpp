#include "platform/posix/http_exchange.h"

#include "platform/reserve.h"
#include "platform/thread.h"

#include <algorithm>
#include <array>
#include <new>
#include <utility>

namespace korvane::platform
{

namespace
{

constexpr std::size_t kMaxBufferedBytes = 64 * 1024; // with this much unread, the device has to wait
constexpr int kMaxWaitMs = 1000;                     // libcurl's own timers are looked at in between

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

HttpExchange::HttpExchange(std::shared_ptr<CurlHandles> handles) : handles_(std::move(handles)) {}

HttpExchange::~HttpExchange()
{
    Close();
}

HttpError HttpExchange::Start(const HttpPlan& plan, bool fresh, std::uint32_t mostAnswers)
{
    const std::lock_guard lock(handles_->Mutex());
    Stop();
    if (fresh)
        handles_->Forget();
    head_ = {};
    buffer_.clear();
    bufferAt_ = uploadAt_ = 0;
    isPaused_ = isRequestOut_ = hasHead_ = isFinished_ = false;
    error_ = HttpError::kNone;
    plan_ = &plan;
    if (isClosed_)
        return HttpError::kCancelled;

    easy_ = handles_->Take(reusedHandle_);
    multi_ = easy_ != nullptr ? CurlHandles::NewMulti() : nullptr;
    if (multi_ == nullptr || !Configure(plan) ||
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

HttpError HttpExchange::WaitSent()
{
    return Run(Goal::kSent);
}

HttpError HttpExchange::WaitHead()
{
    return Run(Goal::kHead);
}

HttpError HttpExchange::WaitBody(std::uint32_t& available)
{
    // Bytes that came before a failure are the caller's before the failure is.
    const HttpError error = bufferAt_ == buffer_.size() ? Run(Goal::kBody) : HttpError::kNone;
    available = static_cast<std::uint32_t>(buffer_.size() - bufferAt_);
    return available != 0 ? HttpError::kNone : error;
}

std::uint32_t HttpExchange::TakeBody(std::uint8_t* buffer, std::uint32_t size)
{
    const auto count = static_cast<std::uint32_t>(std::min<std::size_t>(size, buffer_.size() - bufferAt_));
    std::copy_n(buffer_.data() + bufferAt_, count, buffer);
    bufferAt_ += count;
    if (bufferAt_ == buffer_.size())
    {
        buffer_.clear();
        bufferAt_ = 0;
    }
    return count;
}

void HttpExchange::Close()
{
    const std::lock_guard lock(handles_->Mutex());
    isClosed_ = true;
    gate_->Shut([this] { curl_multi_wakeup(multi_); });
    Stop();
}

HttpError HttpExchange::Run(Goal goal)
{
    std::unique_lock lock(handles_->Mutex());
    if (isClosed_)
        return HttpError::kCancelled;
    if (!isFinished_ && multi_ == nullptr)
        return HttpError::kIncorrectState;
    RunLocked(lock, goal);
    if (isClosed_)
        return HttpError::kCancelled;
    if (HasReached(goal))
        return HttpError::kNone;
    const bool isBodyEnd = goal == Goal::kBody && hasHead_;
    return error_ == HttpError::kNone && !isBodyEnd ? HttpError::kInvalidResponse : error_;
}

void HttpExchange::RunLocked(std::unique_lock<std::mutex>& lock, Goal goal)
{
    lastActivity_ = std::chrono::steady_clock::now(); // what came while nobody waited is no silence
    while (!isClosed_ && !HasReached(goal) && !isFinished_)
    {
        Perform();
        if (HasReached(goal) || isFinished_)
            return;
        const int waitMs = WaitMs(std::chrono::steady_clock::now());
        if (waitMs == 0)
        {
            Finish(CURLE_OPERATION_TIMEDOUT);
            return;
        }
        CURLM* const multi = multi_; // read here: a close on another thread sets it back
        lock.unlock();
        const int active = Poll(multi, waitMs);
        lock.lock();
        if (isClosed_)
            return;
        if (active < 0)
            Finish(CURLE_RECV_ERROR);
        // A header line shows only when it is whole, so bytes are seen where they come in: at the socket.
        else if (active > 0)
            lastActivity_ = std::chrono::steady_clock::now();
    }
}

int HttpExchange::Poll(CURLM* multi, int waitMs) const
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

void HttpExchange::Perform()
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

void HttpExchange::Finish(CURLcode result)
{
    isFinished_ = true;
    if (result == CURLE_TOO_MANY_REDIRECTS)
        result = CURLE_OK; // one more challenge than are answered
    if (head_.IsComplete() && result == CURLE_OK)
        hasHead_ = true;
    error_ = ErrorOf(result);
    if (error_ == HttpError::kOutOfMemory)
        Reserve::Note(Shortage::kMemory);
    Stop();
}

void HttpExchange::Stop()
{
    if (multi_ != nullptr)
    {
        curl_multi_remove_handle(multi_, easy_);
        CurlHandles::EndMulti(std::exchange(multi_, nullptr));
    }
    if (easy_ != nullptr)
        handles_->GiveBack(std::exchange(easy_, nullptr), hasHead_ && head_.Status() != 401);
    curl_slist_free_all(std::exchange(headers_, nullptr));
}

bool HttpExchange::HasReached(Goal goal) const
{
    switch (goal)
    {
    case Goal::kSent:
    {
        if (hasHead_)
            return true;
        if (!isRequestOut_ || easy_ == nullptr || uploadAt_ < plan_->body.size())
            return false;
        long requestBytes = 0;
        curl_off_t bodyBytes = 0;
        curl_easy_getinfo(easy_, CURLINFO_REQUEST_SIZE, &requestBytes);
        curl_easy_getinfo(easy_, CURLINFO_SIZE_UPLOAD_T, &bodyBytes);
        return requestBytes > 0 && static_cast<std::size_t>(bodyBytes) >= plan_->body.size();
    }
    case Goal::kHead:
        return hasHead_;
    case Goal::kBody:
        return !buffer_.empty();
    }
    return false;
}

int HttpExchange::WaitMs(Time now) const
{
    if (!isRequestOut_)
        return kMaxWaitMs; // libcurl ends a connection that takes too long
    const HttpTimeouts& timeouts = handles_->Timeouts();
    std::int64_t leftMs = kMaxWaitMs;
    const auto bound = [&](Time from, std::uint32_t limitMs)
    {
        const auto passed = std::chrono::duration_cast<std::chrono::milliseconds>(now - from).count();
        if (limitMs != 0)
            leftMs = std::min(leftMs, std::int64_t{limitMs} - passed);
    };
    const bool isSending = uploadAt_ < plan_->body.size();
    bound(lastActivity_, isSending ? timeouts.sendMs : timeouts.receiveMs);
    if (!hasHead_ && !isSending)
        bound(requestTime_, timeouts.headMs);
    return static_cast<int>(std::max<std::int64_t>(leftMs, 0));
}

bool HttpExchange::MayBeAnswered() const
{
    // Basic went out with the request, so nothing is left to answer with; any other scheme may need the 401.
    return head_.Status() == 401 && plan_->authentication != 0 && plan_->authentication != CURLAUTH_BASIC;
}

std::size_t HttpExchange::OnHeader(std::string_view line)
{
    if (!head_.AddLine(line))
        return 0;
    lastActivity_ = std::chrono::steady_clock::now();
    if (head_.IsComplete() && head_.Status() >= 200 && !MayBeAnswered())
        hasHead_ = true;
    return line.size();
}

std::size_t HttpExchange::OnBody(const char* data, std::size_t size)
{
    hasHead_ = true; // the body of a response that libcurl answers underneath doesn't come here
    if (!buffer_.empty() && buffer_.size() + size > kMaxBufferedBytes)
    {
        isPaused_ = true;
        return CURL_WRITEFUNC_PAUSE;
    }
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(data);
    buffer_.insert(buffer_.end(), bytes, bytes + size);
    return size;
}

std::size_t HttpExchange::OnUpload(char* buffer, std::size_t size)
{
    const std::size_t count = std::min(size, plan_->body.size() - uploadAt_);
    if (count == 0 && plan_->announcedBytes > plan_->body.size())
        return CURL_READFUNC_PAUSE; // what was announced and isn't here never goes out
    std::copy_n(plan_->body.data() + uploadAt_, count, reinterpret_cast<std::uint8_t*>(buffer));
    uploadAt_ += count;
    return count;
}

std::size_t HttpExchange::HeaderCallback(char* data, std::size_t size, std::size_t count, void* self)
{
    try
    {
        return static_cast<HttpExchange*>(self)->OnHeader({data, size * count});
    }
    catch (const std::bad_alloc&)
    {
        return 0; // no exception may pass through libcurl
    }
}

std::size_t HttpExchange::BodyCallback(char* data, std::size_t size, std::size_t count, void* self)
{
    try
    {
        return static_cast<HttpExchange*>(self)->OnBody(data, size * count);
    }
    catch (const std::bad_alloc&)
    {
        return 0;
    }
}

std::size_t HttpExchange::UploadCallback(char* data, std::size_t size, std::size_t count, void* self)
{
    return static_cast<HttpExchange*>(self)->OnUpload(data, size * count);
}

int HttpExchange::SeekCallback(void* self, curl_off_t offset, int origin)
{
    auto& exchange = *static_cast<HttpExchange*>(self);
    if (origin != SEEK_SET || offset < 0 || static_cast<std::size_t>(offset) > exchange.plan_->body.size())
    {
        return CURL_SEEKFUNC_FAIL;
    }
    exchange.uploadAt_ = static_cast<std::size_t>(offset);
    return CURL_SEEKFUNC_OK;
}

int HttpExchange::RequestCallback(void* self, char*, char*, int, int)
{
    auto& exchange = *static_cast<HttpExchange*>(self);
    exchange.isRequestOut_ = true;
    exchange.lastActivity_ = exchange.requestTime_ = std::chrono::steady_clock::now();
    return CURL_PREREQFUNC_OK;
}

bool HttpExchange::Configure(const HttpPlan& plan)
{
    const auto set = [this](CURLoption option, auto value)
    { return curl_easy_setopt(easy_, option, value) == CURLE_OK; };
    return ApplyPlan(easy_, plan, headers_) && set(CURLOPT_HEADERFUNCTION, HeaderCallback) &&
           set(CURLOPT_HEADERDATA, this) && set(CURLOPT_WRITEFUNCTION, BodyCallback) &&
           set(CURLOPT_WRITEDATA, this) && set(CURLOPT_READFUNCTION, UploadCallback) &&
           set(CURLOPT_READDATA, this) && set(CURLOPT_SEEKFUNCTION, SeekCallback) &&
           set(CURLOPT_SEEKDATA, this) && set(CURLOPT_PREREQFUNCTION, RequestCallback) &&
           set(CURLOPT_PREREQDATA, this);
}

} // namespace korvane::platform
