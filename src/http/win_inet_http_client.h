#pragma once

#include "http/stored_request.h"
#include "platform/http_service.h"
#include "runtime/device_info.h"

#include <cstdint>
#include <memory>
#include <string>
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

    /// Reads address, port, user, password and the network time-out of `deviceInfo`. Connects with the first
    /// request. Without the system's HTTP service every request fails.
    explicit CWinINetHttpClient(const korvane::DEVICE_INFO& deviceInfo, const char* userAgent = kUserAgent);
    virtual ~CWinINetHttpClient();
    CWinINetHttpClient(const CWinINetHttpClient&) = delete;
    CWinINetHttpClient& operator=(const CWinINetHttpClient&) = delete;

    /// Closes the earlier request first. True when a response came, whatever its status.
    bool SendRequest(const std::string& method, const std::string& uri);

    /// Of the response in hand: see `CStoredRequest`.
    std::uint32_t ReadResponse(std::vector<std::uint8_t>& buffer) { return request_.ReadWhole(buffer); }
    std::uint32_t ReadData(std::uint8_t* buffer, std::uint32_t size) { return request_.Read(buffer, size); }
    std::uint32_t QueryDataAvailable() { return request_.Available(); }

    /// Ends the request that waits for its response, or the response that is being read. The next request
    /// works as usual. Any thread.
    void CloseRequest() { request_.Close(); }

    std::uint32_t StatusCode() const { return statusCode_; }       ///< of the last exchange; 0 when none
    std::uint32_t ContentLength() const { return contentLength_; } ///< 0 when unknown
    const std::string& Host() const { return host_; }
    std::uint16_t Port() const { return port_; }

private:
    const std::uint32_t timeoutMs_;
    CStoredRequest request_;
    std::unique_ptr<korvane::platform::HttpConnection> connection_;
    std::unique_ptr<korvane::platform::HttpSession> session_;
    const std::string userAgent_;
    const std::string user_;
    const std::string password_;
    const std::string host_;
    const std::uint16_t port_;
    std::uint32_t statusCode_ = 0;
    std::uint32_t contentLength_ = 0;
};

} // namespace Web
