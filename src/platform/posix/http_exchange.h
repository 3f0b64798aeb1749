#pragma once

#include "platform/http_service.h"
#include "platform/posix/http_handles.h"
#include "platform/posix/http_head.h"
#include "platform/posix/http_plan.h"
#include "platform/posix/poll_gate.h"

#include <chrono>
#include <cstdint>
#include <curl/curl.h>
#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

namespace korvane::platform
{

/// Runs requests through libcurl, one after the other: sends, and takes in what comes, whenever its thread
/// waits in it. Used by one thread; `Close` may come from any.
class HttpExchange
{
public:
    explicit HttpExchange(std::shared_ptr<CurlHandles> handles);
    ~HttpExchange();
    HttpExchange(const HttpExchange&) = delete;
    HttpExchange& operator=(const HttpExchange&) = delete;

    /// Begins anew with `plan`, which must outlive the exchange. `fresh` forgets first what earlier exchanges
    /// learnt about authentication. Challenges are answered underneath, `mostAnswers` of them; the one behind
    /// is the response.
    HttpError Start(const HttpPlan& plan, bool fresh, std::uint32_t mostAnswers);

    HttpError WaitSent();
    HttpError WaitHead();
    HttpError WaitBody(std::uint32_t& available); ///< 0 without an error at the body's end
    std::uint32_t TakeBody(std::uint8_t* buffer, std::uint32_t size);

    const HttpHead& Head() const { return head_; }
    bool ReusedHandle() const { return reusedHandle_; }

    /// Any thread. Lets go of the network also when the exchange's own thread was given up.
    void Close();

private:
    using Time = std::chrono::steady_clock::time_point;
    enum class Goal
    {
        kSent,
        kHead,
        kBody,
    };

    HttpError Run(Goal goal);
    void RunLocked(std::unique_lock<std::mutex>& lock, Goal goal);
    // Count of sockets with news; below 0 on failure; without the mutex.
    int Poll(CURLM* multi, int waitMs) const;
    bool Configure(const HttpPlan& plan);
    void Perform();
    void Finish(CURLcode result);
    void Stop();
    bool HasReached(Goal goal) const;
    int WaitMs(Time now) const; // 0 when the time is up
    bool MayBeAnswered() const;

    std::size_t OnHeader(std::string_view line);
    std::size_t OnBody(const char* data, std::size_t size);
    std::size_t OnUpload(char* buffer, std::size_t size);
    static std::size_t HeaderCallback(char* data, std::size_t size, std::size_t count, void* self);
    static std::size_t BodyCallback(char* data, std::size_t size, std::size_t count, void* self);
    static std::size_t UploadCallback(char* data, std::size_t size, std::size_t count, void* self);
    static int SeekCallback(void* self, curl_off_t offset, int origin);
    static int RequestCallback(void* self, char*, char*, int, int);

    const std::shared_ptr<CurlHandles> handles_;
    const std::shared_ptr<PollGate> gate_ = std::make_shared<PollGate>();
    const HttpPlan* plan_ = nullptr;

    // Under the mutex of the handles.
    CURL* easy_ = nullptr;
    CURLM* multi_ = nullptr;
    curl_slist* headers_ = nullptr;
    bool isClosed_ = false;

    // Its own thread's.
    HttpHead head_;
    std::vector<std::uint8_t> buffer_; // body bytes not read yet, from bufferAt_ on
    std::size_t bufferAt_ = 0;
    std::size_t uploadAt_ = 0;
    bool reusedHandle_ = false;
    bool isPaused_ = false;
    bool isRequestOut_ = false; // connected: the time-outs of the exchange itself count
    bool hasHead_ = false;      // of the response that is the caller's
    bool isFinished_ = false;
    HttpError error_ = HttpError::kNone;
    Time lastActivity_;
    Time requestTime_;
};

} // namespace korvane::platform
