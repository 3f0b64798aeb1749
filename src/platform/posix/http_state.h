#pragma once

#include "platform/posix/http_connection.h"
#include "platform/posix/http_request.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <curl/curl.h>
#include <memory>
#include <mutex>
#include <span>
#include <string_view>
#include <vector>

namespace korvane::platform
{

/// Keeps a thread's wait in a handle and the end of that handle apart. The thread may have been given up
/// while it waited, and then never comes back to tell.
class PollGate
{
public:
    /// False once it is shut: there is nothing left to wait in.
    bool Enter()
    {
        int state = kOpen;
        return state_.compare_exchange_strong(state, kInside);
    }

    void Leave()
    {
        state_ = kOpen;
        state_.notify_all();
    }

    /// Returns when nobody waits and nobody will; `wake` ends a wait that is going on.
    template <typename Wake>
    void Shut(const Wake& wake)
    {
        for (int state = kOpen; !state_.compare_exchange_weak(state, kShut) && state != kShut; state = kOpen)
        {
            if (state != kInside)
                continue;
            wake();
            state_.wait(kInside);
        }
    }

private:
    static constexpr int kOpen = 0;
    static constexpr int kInside = 1;
    static constexpr int kShut = 2;
    std::atomic<int> state_{kOpen};
};

/// One request on its way through libcurl, with its repeats and redirects: sends, and takes in what comes,
/// whenever its thread waits in it. Used by one thread; `Close` may come from any.
///
/// Who may touch what: the connection's mutex is held for every call into libcurl but the wait for the
/// network, and for every change of the handles. The wait holds no lock, so that a close never queues behind
/// it; it is made inside the gate instead. `Close` shuts the gate first, which wakes the thread and returns
/// when it has left, and only then frees the handles.
///
/// A close can't be lost. One that comes before the thread has taken the mutex is seen in `isClosed_`; one
/// between the thread's release of the mutex and its entry finds an open gate and shuts it, so the thread
/// doesn't get in; one behind the entry wakes it, and libcurl keeps a wake-up that comes ahead of the wait.
/// On its way back the thread takes the mutex, sees `isClosed_`, and touches no handle.
class HttpExchange::State
{
public:
    enum class Goal
    {
        kSent,
        kHead,
        kBody,
    };

    State(std::shared_ptr<HttpConnection> connection, HttpPlan plan);
    ~State() { Close(); }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    /// Begins anew. `fresh` forgets first what earlier requests learnt about authentication. Challenges are
    /// answered underneath, `mostAnswers` of them; the one behind is the response.
    HttpError Start(bool fresh, std::uint32_t mostAnswers);

    /// Waits until that has been reached; for `kBody`, no error is also the body's end.
    HttpError Run(Goal goal);

    std::span<const std::uint8_t> Unread() const { return std::span(buffer_).subspan(bufferAt_); }
    void Take(std::uint32_t count); ///< of the bytes that are unread

    /// The response is the caller's; what answered its challenge is to answer the next one.
    void KeepResponse();

    const HttpDevice& Device() const { return connection_->Device(); }
    const HttpHead& Head() const { return head_; }

    /// Any thread. Lets go of the network also when its own thread was given up.
    void Close();

    CurlRequest request;
    bool usedMemory = false;  // the credentials went out by what an earlier exchange had learnt
    bool hasResponse = false; // that the caller has been told of

private:
    using Time = std::chrono::steady_clock::time_point;

    unsigned long Authentication() const; // CURLAUTH_... bits; 0 sends no credentials
    // Count of sockets with news; below 0 on failure; without the mutex.
    int Poll(CURLM* multi, int waitMs) const;
    bool Configure();
    void Perform();
    void Finish(CURLcode result);
    void Stop();
    bool IsOver(Goal goal) const { return isClosed_ || isFinished_ || HasReached(goal); }
    bool HasReached(Goal goal) const;
    int WaitMs(Time now) const; // 0 when the time is up
    bool MayBeAnswered() const;

    std::size_t OnHeader(std::span<char> line);
    std::size_t OnBody(std::span<char> bytes);
    std::size_t OnUpload(std::span<char> room);
    int OnSeek(curl_off_t offset);
    void OnConnected();
    // What libcurl calls. No exception may pass through it.
    template <std::size_t (State::*Operation)(std::span<char>)>
    static std::size_t Callback(char* data, std::size_t size, std::size_t count, void* self);

    const std::shared_ptr<HttpConnection> connection_;
    const std::shared_ptr<PollGate> gate_ = std::make_shared<PollGate>();

    // Under the mutex of the connection.
    CURL* easy_ = nullptr;
    CURLM* multi_ = nullptr;
    curl_slist* headers_ = nullptr;
    bool isClosed_ = false;

    // Its own thread's.
    HttpHead head_;
    std::vector<std::uint8_t> buffer_; // body bytes not read yet, from bufferAt_ on
    std::size_t bufferAt_ = 0;
    std::size_t uploadAt_ = 0;
    bool isPaused_ = false;
    bool isRequestOut_ = false; // connected: the time-outs of the exchange itself count
    bool hasHead_ = false;      // of the response that is the caller's
    bool isFinished_ = false;
    HttpError error_ = HttpError::kNone;
    Time lastActivity_;
    Time requestTime_;
};

} // namespace korvane::platform
