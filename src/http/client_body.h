#pragma once

#include "device/driver.h"
#include "platform/http_exchange.h"
#include "runtime/recursive_lock.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Web
{

/// What the three HTTP clients have in common: the connection to a device, the request that waits for its
/// response, and the response in hand. They add how a request is made and what its outcome means. No
/// operation throws. Without the system's HTTP service every request fails.
///
/// Used by one thread at a time, but for `CloseRequest` and `EndRequests`, which may come from any. Both
/// exchanges are in here before anything waits in them, and a close takes both out under one lock, so that it
/// finds the request wherever it is. The lock is held for a copy or a swap only.
class CClientBody
{
public:
    static constexpr std::uint32_t kMostBytes = 0x10000000; ///< 256 MiB; no answer of a camera comes near it

    /// Reads address, port, user, password and the network time-out of `device`. Connects with the first
    /// request. `headMs` bounds a response's head that comes byte by byte.
    CClientBody(const korvane::DEVICE_INFO& device, korvane::platform::HttpService service,
                const char* userAgent, std::uint32_t headMs = kMostWholeMs);

    /// Ends the request that waits for its response, which then fails, and the response that is being read.
    /// The next request works as usual. Any thread.
    void CloseRequest();

    /// The same, and each later request fails. Any thread.
    void EndRequests();

    /// Closes, and lets go of the connection that is kept for the next request.
    void Disconnect();

    /// Waits for bytes of the body, and gives how many are there; 0 at its end, on failure, and without a
    /// response.
    std::uint32_t QueryDataAvailable();

    /// One read of 1 to `size` bytes; 0 at the end of the body and on failure.
    std::uint32_t ReadData(std::uint8_t* buffer, std::uint32_t size);

    /// Reads the body into `buffer`, up to `limit` and the block in hand, and gives its size. Nothing if it
    /// `IsLate`.
    std::uint32_t ReadResponse(std::vector<std::uint8_t>& buffer, std::uint32_t limit = kMostBytes);

    std::uint32_t StatusCode() const { return statusCode_; }       ///< of the last exchange; 0 when none
    std::uint32_t ContentLength() const { return contentLength_; } ///< 0 when unknown
    const std::string& Host() const { return device_.host; }
    std::uint16_t Port() const { return device_.port; }

protected:
    ~CClientBody() { CloseRequest(); }

    /// Sends `plan`, and waits for the response if it `isAwaited`. A success takes the place of the response
    /// in hand; a failure leaves that as it is.
    korvane::platform::HttpError SendPlan(korvane::platform::HttpPlan plan, bool isAwaited = true);

    void Reopen(); ///< requests work again after `EndRequests`

    bool HasResponse() const { return Get() != nullptr; }  ///< closed ones don't count
    korvane::platform::HttpOfferedSchemes Offered() const; ///< what the response in hand asks for

    /// More than 90 s after the response began, a short answer is not waited for any longer: the receive
    /// time-out starts anew with each byte, so a device that sends one now and then would hold the caller,
    /// and whoever waits for its thread, for hours. `LastError` is then the time-out.
    bool IsLate();

    korvane::platform::HttpError LastError() const { return lastError_; }

private:
    using Exchange = std::shared_ptr<korvane::platform::HttpExchange>;
    static constexpr std::uint32_t kMostWholeMs = 90000;

    Exchange Get() const;

    const korvane::platform::HttpDevice device_;
    std::shared_ptr<korvane::platform::HttpConnection> connection_;
    std::uint32_t statusCode_ = 0;
    std::uint32_t contentLength_ = 0;
    std::uint32_t responseMs_ = 0; // when the response began, on the clock of milliseconds
    korvane::platform::HttpError lastError_ = korvane::platform::HttpError::kNone;

    mutable korvane::CRecursiveLock lock_{korvane::platform::LockPlace::kClient}; // guards the rest
    Exchange waiting_;
    Exchange response_;
    bool hasEnded_ = false;
};

} // namespace Web
