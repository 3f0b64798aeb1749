#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace korvane::platform
{

/// Why an operation of the HTTP service failed; the numbers are those that hosts know from Windows.
enum class HttpError : std::uint32_t
{
    kNone = 0,
    kTimeout = 12002,
    kInvalidUrl = 12005,
    kNameNotResolved = 12007,
    kCancelled = 12017,      ///< closed by another thread
    kIncorrectState = 12019, ///< an operation before the one that it needs
    kCannotConnect = 12029,
    kConnection = 12030,      ///< broken off while in use
    kInvalidResponse = 12152, ///< not HTTP, or a head without end
    kSecureFailure = 12175,
    kOutOfMemory = 14,
};

/// Authentication schemes, as bits of a set.
enum class HttpScheme : std::uint32_t
{
    kNone = 0,
    kBasic = 1,
    kNtlm = 2,
    kPassport = 4, ///< can't be answered here
    kDigest = 8,
    kNegotiate = 16, ///< with the login of the process, not with a user and a password
};

/// Who asks for the credentials.
enum class HttpAuthTarget : std::uint32_t
{
    kServer = 0,
    kProxy = 1,
};

/// What a response asked for: the schemes that can be answered here with a user and a password.
struct HttpOfferedSchemes
{
    std::uint32_t schemes = 0;            ///< set of HttpScheme bits
    HttpScheme first = HttpScheme::kNone; ///< in the order of the response
    HttpAuthTarget target = HttpAuthTarget::kServer;
};

/// In milliseconds; 0 stands for no limit.
struct HttpTimeouts
{
    std::uint32_t connectMs = 0; ///< name look-up, connection and TLS handshake together
    std::uint32_t sendMs = 0;    ///< since the last bytes went out
    std::uint32_t receiveMs = 0; ///< since the last byte came in
    std::uint32_t headMs = 0;    ///< for the whole head of a response, which could else come byte by byte
};

struct HttpRequestOptions
{
    bool secure = false;                  ///< TLS
    bool ignoreCertificateErrors = false; ///< unknown authority, wrong usage, name or date
    bool rawQuery = false;                ///< the query goes out as it stands, unescaped
    bool followRedirects = true;          ///< to the same host only, never from TLS to plain
    bool acceptAny = false;               ///< "Accept: */*"; else no accepted types are told
    bool bypassCaches = false;            ///< caches on the way are to ask the server
};

/// One exchange. Blanks, control characters and bytes outside ASCII of its target go out percent-escaped
/// (RFC 3986, section 2.1), in the query too unless `rawQuery` is set.
///
/// Used by one thread at a time. Only `Close` may be called by any other, at any time; it ends a `Send`,
/// `ReceiveResponse`, `BytesAvailable` or `Read` in progress with `kCancelled`. A thread may be given up
/// while it waits in one of them (see `Thread`); the connection's end then lets go of what it used. What a
/// response holds beyond a bounded buffer of some 64 KiB waits in the network until it is read. No operation
/// throws.
class HttpRequest
{
public:
    virtual ~HttpRequest() = default;

    /// Before `Send`. False for a scheme that can't be answered here.
    virtual bool SetCredentials(HttpAuthTarget target, HttpScheme scheme, const std::string& user,
                                const std::string& password) = 0;

    /// Adds a header "Name: value", in place of an earlier one of that name. Before `Send`. False, and
    /// nothing added, when it is no header or holds a line break.
    virtual bool SetHeader(std::string_view header) = 0;

    /// Sends the request. `announcedBytes` is the body's length as the head tells it when that is more than
    /// `body` holds: the rest is then never sent. `body` must stay as it is until the response is there.
    virtual HttpError Send(std::span<const std::uint8_t> body, std::uint32_t announcedBytes) = 0;

    /// Waits for the head of the response, which may refuse: the status is the caller's to judge.
    virtual HttpError ReceiveResponse() = 0;

    virtual std::uint32_t StatusCode() const = 0;    ///< 0 before the response
    virtual std::uint32_t ContentLength() const = 0; ///< as announced; 0 when unknown or beyond 32 bits

    /// False unless the response was a 401 or a 407 that names a scheme.
    virtual bool OfferedSchemes(HttpOfferedSchemes& offered) const = 0;

    /// Waits until there is something to read; `count` 0 without an error is the body's end.
    virtual HttpError BytesAvailable(std::uint32_t& count) = 0;

    /// Reads up to `size` bytes, waiting for the first; `count` 0 without an error is the body's end.
    virtual HttpError Read(std::uint8_t* buffer, std::uint32_t size, std::uint32_t& count) = 0;

    /// Ends the exchange and lets go of its connection. Any thread.
    virtual void Close() = 0;
};

/// A device's web server. Its end closes the requests that are left. Requests that follow each other use the
/// same network connection as long as the device keeps it.
class HttpConnection
{
public:
    virtual ~HttpConnection() = default;

    /// Null when `method` or `target` is empty or can't stand in a request.
    virtual std::shared_ptr<HttpRequest> OpenRequest(const std::string& method, const std::string& target,
                                                     const HttpRequestOptions& options) = 0;
};

/// What requests have in common: user agent and time-outs. Never goes through a proxy, whatever the
/// environment names; speaks http and https only; keeps no cookies; takes credentials from nowhere else.
/// Has no thread: the network is served by whoever waits in a request.
///
/// Costs one descriptor for a connection that is kept, three during an exchange.
class HttpSession
{
public:
    virtual ~HttpSession() = default;

    /// Connects with the first request. Port 0 is the default of the transport.
    virtual std::unique_ptr<HttpConnection> Connect(const std::string& host, std::uint16_t port) = 0;

    /// The same, with credentials that answer whatever scheme the device asks for, underneath.
    virtual std::unique_ptr<HttpConnection> Connect(const std::string& host, std::uint16_t port,
                                                    const std::string& user, const std::string& password) = 0;
};

/// Null when the service can't be had.
std::unique_ptr<HttpSession> OpenHttpSession(const std::string& userAgent, const HttpTimeouts& timeouts);

} // namespace korvane::platform
