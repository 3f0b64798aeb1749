#pragma once

#include "http/stored_request.h"
#include "platform/http_service.h"
#include "runtime/device_info.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Web
{

/// How a request is to be authenticated; any other value gives no credentials.
enum class AuthKind : std::uint32_t
{
    kBasic = 1,
    kNtlm = 2,
    kPassport = 3,
    kDigest = 4,
    kNegotiate = 5,
};

/// A request for `CHttpSender::Send`.
struct HttpRequest
{
    static constexpr std::uint32_t kRawQuery = 1;          ///< the query goes out as it stands, unescaped
    static constexpr std::uint32_t kIgnoreCertificate = 2; ///< errors of the certificate on TLS
    static constexpr std::uint32_t kNoRedirects = 4;
    static constexpr std::uint32_t kNoResponse = 8; ///< don't wait for the response

    HttpRequest(std::string methodText, std::string uriText)
        : method(std::move(methodText)), uri(std::move(uriText))
    {
    }

    std::string method;
    std::string uri;          ///< path and query
    std::uint32_t secure = 0; ///< 1 asks for TLS; `Send` puts what worked last in its place
    AuthKind authKind = AuthKind::kBasic;
    std::vector<std::uint8_t> body;
    std::uint32_t totalLength = 0;    ///< announced when above the body's size
    std::vector<std::string> headers; ///< "Name: value", each in place of an earlier one of its name
    std::uint32_t flags = kRawQuery | kIgnoreCertificate | kNoRedirects;
};

/// Sends request records to a device. One exchange at a time, by one thread; only `Abort` may come from
/// another. No operation throws.
class CBaseHttpSender
{
public:
    explicit CBaseHttpSender(const korvane::DEVICE_INFO& deviceInfo) : deviceInfo_(deviceInfo) {}
    virtual ~CBaseHttpSender() = default;
    CBaseHttpSender(const CBaseHttpSender&) = delete;
    CBaseHttpSender& operator=(const CBaseHttpSender&) = delete;

    /// True when a response came, whatever its status, or none was to be waited for.
    virtual bool Send(const HttpRequest& request) = 0;

    /// Ends what is going on, and keeps a second attempt of `Send` from running. Any thread.
    virtual void Abort() = 0;

    /// Waits for bytes of the body, and gives how many are there; 0 at its end, on failure, without a
    /// request, and 90 s after the response began: see `kMostWholeMs`.
    virtual std::uint32_t QueryDataAvailable() = 0;

    /// Reads the body, up to its announced length, or 1 MiB when there is none, and gives its size. When the
    /// device falls silent, zero bytes stand for the block that was waited for.
    virtual std::uint32_t ReadResponse(std::vector<std::uint8_t>& buffer) = 0;

    /// Appends one read of 1 to `size` bytes to `buffer`, which is emptied first when `clearFirst` is set.
    /// Gives the bytes read; 0 at the end of the body and on failure.
    virtual std::uint32_t ReadData(std::vector<std::uint8_t>& buffer, std::uint32_t size,
                                   bool clearFirst) = 0;

protected:
    const korvane::DEVICE_INFO deviceInfo_;
};

/// A sender that remembers which of plain HTTP and TLS worked, and learns the authentication scheme from the
/// first 401.
class CHttpSender : public CBaseHttpSender
{
public:
    static constexpr const char* kUserAgent = "Korvane::HttpSender";

    /// Without the system's HTTP service every request fails. Begins with TLS when the device's port is 443.
    explicit CHttpSender(const korvane::DEVICE_INFO& deviceInfo);
    ~CHttpSender() override;

    bool Send(const HttpRequest& request) override;
    void Abort() override;
    std::uint32_t QueryDataAvailable() override;
    std::uint32_t ReadResponse(std::vector<std::uint8_t>& buffer) override;
    std::uint32_t ReadData(std::vector<std::uint8_t>& buffer, std::uint32_t size, bool clearFirst) override;

    /// Lets go of the connection that is kept for the next request, and of the response in hand.
    void Disconnect();

    std::uint32_t StatusCode() const { return statusCode_; }       ///< of the last exchange; 0 when none
    std::uint32_t ContentLength() const { return contentLength_; } ///< 0 when unknown
    korvane::platform::HttpError LastError() const { return lastError_; }
    bool IsSecure() const { return secure_; } ///< the transport that worked last

private:
    enum class Outcome
    {
        kSuccess,
        kOtherTransport, ///< a failure that the other transport may cure
        kOtherScheme,    ///< a refusal that taught a scheme
        kFailure,
    };

    bool SendEither(HttpRequest request);
    Outcome Attempt(const HttpRequest& request);
    Outcome Receive(korvane::platform::HttpRequest& exchange, korvane::platform::HttpScheme used);
    korvane::platform::HttpScheme SchemeFor(AuthKind kind) const;
    std::shared_ptr<korvane::platform::HttpRequest> OpenRequest(const HttpRequest& request);
    Outcome Fail(korvane::platform::HttpError error, Outcome outcome);

    CStoredRequest exchange_;
    std::unique_ptr<korvane::platform::HttpSession> session_;
    std::unique_ptr<korvane::platform::HttpConnection> connection_;
    std::uint32_t statusCode_ = 0;
    std::uint32_t contentLength_ = 0;
    std::uint32_t responseMs_ = 0; // when the response began, on the clock of milliseconds
    korvane::platform::HttpError lastError_ = korvane::platform::HttpError::kNone;
    korvane::platform::HttpScheme learntScheme_ = korvane::platform::HttpScheme::kNone;
    bool secure_;
    std::atomic<bool> aborted_{false};
};

} // namespace Web
