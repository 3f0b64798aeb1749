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

/// Requests to one device: finds out whether the device speaks plain HTTP or TLS with the first one, and
/// which authentication scheme it wants, and stays with both.
///
/// One exchange at a time, by one thread; `CloseRequest` may come from any thread and ends what is
/// in progress. No operation throws: a response that refuses is a success here, with its status code.
class CHttpClient
{
public:
    static constexpr const char* kUserAgent = "Korvane::HttpClient";

    /// Bits of `flags` in `SendRequest`.
    static constexpr std::uint32_t kRawQuery = 1; ///< the query goes out as it stands, unescaped
    static constexpr std::uint32_t kNoRedirects = 2;
    static constexpr std::uint32_t kIgnoreCertificate = 4; ///< errors of the certificate on TLS
    static constexpr std::uint32_t kNoResponse = 8;        ///< don't wait for the response

    /// Reads address, port, user, password and the network time-out of `deviceInfo`. Connects with the first
    /// request. Without the system's HTTP service every request fails.
    explicit CHttpClient(const korvane::DEVICE_INFO& deviceInfo, const char* userAgent = kUserAgent);
    virtual ~CHttpClient();
    CHttpClient(const CHttpClient&) = delete;
    CHttpClient& operator=(const CHttpClient&) = delete;

    /// Without further headers and body, ignoring errors of a certificate.
    bool SendRequest(const std::string& method, const std::string& uri);

    /// True when the request went out and, unless told not to wait, a response came, whatever its status. The
    /// response of an earlier request can be read until then. A `totalLength` above the body's size is what
    /// is announced, and then no response is waited for.
    bool SendRequest(const std::string& method, const std::string& uri,
                     const std::vector<std::string>& headers, const std::vector<std::uint8_t>& body,
                     std::uint32_t totalLength, std::uint32_t flags);

    /// Of the response in hand: see `CStoredRequest`.
    std::uint32_t ReadResponse(std::vector<std::uint8_t>& buffer) { return request_.ReadWhole(buffer); }
    std::uint32_t ReadData(std::uint8_t* buffer, std::uint32_t size) { return request_.Read(buffer, size); }
    std::uint32_t QueryDataAvailable() { return request_.Available(); }

    /// Ends the request that is waiting for its response, which then fails, and the response that is being
    /// read. The next request works as usual. Any thread.
    void CloseRequest();

    /// The same, and each later request fails. Any thread.
    void EndRequests();

    /// Lets go of the connection that is kept for the next request, and of the response in hand.
    void Disconnect();

    std::uint32_t StatusCode() const { return statusCode_; }       ///< of the last exchange; 0 when none
    std::uint32_t ContentLength() const { return contentLength_; } ///< 0 when unknown
    const std::string& Host() const { return host_; }
    std::uint16_t Port() const { return port_; }

private:
    enum class Transport : std::uint32_t
    {
        kUnknown = 0,
        kPlain = 1,
        kTls = 2,
    };
    struct Exchange; // the arguments of SendRequest

    std::uint32_t OpenSession(); // 0, or the error of the system
    bool SendAuthenticated(const Exchange& exchange);
    bool SendOnce(const Exchange& exchange);
    bool ChooseScheme();

    const std::uint32_t timeoutMs_;
    CStoredRequest inFlight_; // the one that waits for its response
    CStoredRequest request_;  // the last one that got through
    std::unique_ptr<korvane::platform::HttpSession> session_;
    std::unique_ptr<korvane::platform::HttpConnection> connection_;
    Transport transport_ = Transport::kUnknown;
    korvane::platform::HttpScheme scheme_ = korvane::platform::HttpScheme::kBasic;
    korvane::platform::HttpAuthTarget target_ = korvane::platform::HttpAuthTarget::kServer;
    bool uploadPending_ = false; // the last send announced more than it carried
    const std::string userAgent_;
    const std::string user_;
    const std::string password_;
    const std::string host_;
    const std::uint16_t port_;
    std::uint32_t statusCode_ = 0;
    std::uint32_t contentLength_ = 0;
};

} // namespace Web
