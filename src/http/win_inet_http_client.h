#pragma once

#include "http/client_body.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace Web
{

/// Requests to one device over plain HTTP, on a connection that is kept, with a challenge answered
/// underneath. A body can be read piece by piece for as long as the device sends it.
///
/// One exchange at a time, by one thread; `CloseRequest` may come from any thread and ends a send or a read
/// in progress. No operation throws: a response that refuses is a success here, with its status code.
class CWinINetHttpClient
{
public:
    static constexpr const char* kUserAgent = "Korvane::WinINetHttpClient";

    /// See `CClientBody`. Without the system's HTTP service every request fails.
    explicit CWinINetHttpClient(const korvane::DEVICE_INFO& deviceInfo, const char* userAgent = kUserAgent)
        : body_(deviceInfo, korvane::platform::HttpService::kWinINet, userAgent)
    {
    }
    virtual ~CWinINetHttpClient() = default;

    /// Closes the earlier request first. True when a response came, whatever its status.
    bool SendRequest(const std::string& method, const std::string& uri)
    {
        body_.Close();
        korvane::platform::HttpPlan plan;
        plan.method = method;
        plan.target = uri;
        return body_.Send(std::move(plan)) == korvane::platform::HttpError::kNone;
    }

    /// Reads the whole body, up to 256 MiB, and gives its size; 0 if it is not whole after 90 s.
    std::uint32_t ReadResponse(std::vector<std::uint8_t>& buffer) { return body_.ReadWhole(buffer); }
    std::uint32_t ReadData(std::uint8_t* buffer, std::uint32_t size) { return body_.Read(buffer, size); }
    std::uint32_t QueryDataAvailable() { return body_.Available(); }

    /// Ends the request that waits for its response, or the response that is being read. The next request
    /// works as usual. Any thread.
    void CloseRequest() { body_.Close(); }

    std::uint32_t StatusCode() const { return body_.StatusCode(); } ///< of the last exchange; 0 when none
    std::uint32_t ContentLength() const { return body_.ContentLength(); } ///< 0 when unknown
    const std::string& Host() const { return body_.Device().host; }
    std::uint16_t Port() const { return body_.Device().port; }

private:
    CClientBody body_;
};

} // namespace Web
