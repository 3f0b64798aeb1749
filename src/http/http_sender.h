#pragma once

#include "http/client_body.h"

#include <cstdint>
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
    static constexpr std::uint32_t kRawQuery = 1;          ///< the query goes out as it is, unescaped
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
    virtual ~CBaseHttpSender() = default;

    /// True when a response came, whatever its status, or none was to be waited for.
    virtual bool Send(const HttpRequest& request) = 0;

    /// Ends what is going on, and keeps a second attempt of `Send` from running. Any thread.
    virtual void Abort() = 0;

    /// This one and `ReadData` take a body in pieces, for whoever does not need the whole; the driver itself
    /// uses `ReadResponse`. This one waits for bytes of the body, and gives how many are there; 0 at its end,
    /// on failure, without a request, and 90 s after the response began.
    virtual std::uint32_t QueryDataAvailable() = 0;

    /// Reads the body, up to its announced length, or 1 MiB when there is none, and gives its size. When the
    /// device falls silent, zero bytes take the place of the block that was waited for.
    virtual std::uint32_t ReadResponse(std::vector<std::uint8_t>& buffer) = 0;

    /// Appends one read of 1 to `size` bytes to `buffer`, which is emptied first when `clearFirst` is set.
    /// Gives the bytes read; 0 at the end of the body and on failure.
    virtual std::uint32_t ReadData(std::vector<std::uint8_t>& buffer, std::uint32_t size,
                                   bool clearFirst) = 0;
};

/// A sender that remembers which of plain HTTP and TLS worked, and learns the authentication scheme from the
/// first 401.
class CHttpSender : public CBaseHttpSender, private CClientBody
{
public:
    static constexpr const char* kUserAgent = "Korvane::HttpSender";

    /// Begins with TLS when the device's port is 443.
    explicit CHttpSender(const korvane::DEVICE_INFO& deviceInfo);

    bool Send(const HttpRequest& request) override;
    void Abort() override { EndRequests(); }
    std::uint32_t QueryDataAvailable() override { return IsLate() ? 0 : CClientBody::QueryDataAvailable(); }
    std::uint32_t ReadResponse(std::vector<std::uint8_t>& buffer) override;
    std::uint32_t ReadData(std::vector<std::uint8_t>& buffer, std::uint32_t size, bool clearFirst) override;

    using CClientBody::Disconnect;
    using CClientBody::LastError;
    using CClientBody::StatusCode;
    std::uint32_t ContentLength() const;      ///< 0 when unknown
    bool IsSecure() const { return secure_; } ///< the transport that worked last

private:
    bool SendEither(const HttpRequest& request);
    korvane::platform::HttpError Attempt(const HttpRequest& request, bool secure);
    korvane::platform::HttpScheme SchemeFor(AuthKind kind) const;

    korvane::platform::HttpScheme learntScheme_ = korvane::platform::HttpScheme::kNone;
    bool secure_;
};

} // namespace Web
