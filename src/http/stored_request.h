#pragma once

#include "platform/http_service.h"
#include "runtime/recursive_lock.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace Web
{

/// The longest that a short answer may take. The receive time-out starts anew with each byte, so a device
/// that sends one now and then would hold the caller, and whoever waits for its thread, for hours.
inline constexpr std::uint32_t kMostWholeMs = 90000;

/// The request that a client has in hand. One thread sends it and reads its body; any thread may close it
/// meanwhile, which ends whatever the other one waits for. The lock is held for a copy or a swap only.
class CStoredRequest
{
public:
    CStoredRequest() = default;
    CStoredRequest(const CStoredRequest&) = delete;
    CStoredRequest& operator=(const CStoredRequest&) = delete;
    ~CStoredRequest() { Close(); }

    /// Null when there is none, or it was closed.
    std::shared_ptr<korvane::platform::HttpRequest> Get() const;

    /// Closes the one before.
    void Store(std::shared_ptr<korvane::platform::HttpRequest> request);

    void Close() { Store(nullptr); }

    /// Closes this one and every one that is stored from now on.
    void End();

    /// Lets go of it as it is: another holder has it.
    void Release();

    /// Waits for bytes of the body, and gives how many are there; 0 at its end, on failure, and without a
    /// request.
    std::uint32_t Available() const;

    /// One read of 1 to `size` bytes; 0 at the end of the body and on failure.
    std::uint32_t Read(std::uint8_t* buffer, std::uint32_t size) const;

    /// Reads the body into `buffer`, up to 256 MiB and the block in hand. Gives the count of bytes read;
    /// `buffer` may have zero bytes behind them. Nothing, if it is not whole after 90 s.
    std::uint32_t ReadWhole(std::vector<std::uint8_t>& buffer) const;

private:
    mutable korvane::CRecursiveLock lock_{korvane::platform::LockPlace::kClient};
    std::shared_ptr<korvane::platform::HttpRequest> request_;
    bool hasEnded_ = false;
};

} // namespace Web
