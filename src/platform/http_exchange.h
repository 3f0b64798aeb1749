#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace korvane::platform
{

/// Why an exchange failed; the numbers are those that hosts know from Windows.
enum class HttpError : std::uint32_t
{
    kNone = 0,
    kTimeout = 12002,
    kInvalidUrl = 12005, ///< what the plan holds can't be in a request
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

/// What a response asked for: the schemes that can be answered here with a user and a password.
struct HttpOfferedSchemes
{
    std::uint32_t schemes = 0;            ///< set of HttpScheme bits
    HttpScheme first = HttpScheme::kNone; ///< in the order of the response
    bool byProxy = false;                 ///< on the way
};

/// In milliseconds; 0 means no limit.
struct HttpTimeouts
{
    std::uint32_t connectMs = 0; ///< name look-up, connection and TLS handshake together
    std::uint32_t sendMs = 0;    ///< since the last bytes went out
    std::uint32_t receiveMs = 0; ///< since the last byte came in
    std::uint32_t headMs = 0;    ///< for the whole head of a response, which could else come byte by byte
};

/// The service of Windows that requests are made like.
enum class HttpService
{
    kWinHttp, ///< credentials go by the scheme of the request; caches on the way are to ask the server
    kWinINet, ///< whatever scheme the device asks for is answered underneath; sends "Accept: */*"
};

/// A device's web server, and what all requests to it have in common.
struct HttpDevice
{
    HttpService service = HttpService::kWinHttp;
    std::string userAgent;
    HttpTimeouts timeouts;
    std::string host;
    std::uint16_t port = 0; ///< 0 is the default of the transport
    std::string user;       ///< empty: no credentials are ever sent
    std::string password;
};

/// What an exchange is to send. Blanks, control characters and bytes outside ASCII of the target go out
/// percent-escaped (RFC 3986, section 2.1), in the query too unless `rawQuery` is set.
struct HttpPlan
{
    std::string method;
    std::string target;                    ///< path and query
    bool secure = false;                   ///< TLS
    bool ignoreCertificateErrors = false;  ///< unknown authority, wrong usage, name or date
    bool rawQuery = false;                 ///< the query goes out as it is, unescaped
    bool followRedirects = true;           ///< to the same host only, never from TLS to plain
    HttpScheme scheme = HttpScheme::kNone; ///< of the credentials, like WinHTTP; none are sent without one
    bool forProxy = false;                 ///< the credentials, which then stay here: there is none
    std::vector<std::string> headers;      ///< "Name: value", each in place of an earlier one of its name
    std::span<const std::uint8_t> body;    ///< stays as it is until the response is there
    std::uint32_t announcedBytes = 0; ///< the body's length as the head tells it, when above its size; the
                                      ///< rest is then never sent
};

/// The network connections to one device, kept from one exchange to the next, and what the device has taught
/// about its authentication. Lives as long as one who uses it.
class HttpConnection;

/// Connects with the first exchange. Null when there is no host, or the HTTP service can't be had.
std::shared_ptr<HttpConnection> ConnectHttp(const HttpDevice& device);

/// One request and its response. Never goes through a proxy, whatever the environment names; speaks http and
/// https only; keeps no cookies; takes credentials from nowhere else. Has no thread: the network is served by
/// whoever waits in the exchange. Costs three descriptors until its end, and one for the connection that is
/// kept afterwards. What a response holds beyond a bounded buffer of some 64 KiB waits in the network until
/// it is read. No operation throws.
///
/// Used by one thread at a time; so are all exchanges of a connection. Only `Close` may be called by any
/// other, at any time. A thread may be given up while it waits in an exchange (see `Thread`): it then holds
/// the exchange for ever, and whoever closes it frees what it used.
class HttpExchange
{
public:
    HttpExchange(std::shared_ptr<HttpConnection> connection, HttpPlan plan);
    ~HttpExchange(); ///< closes it

    /// True for "Name: value" without a line break.
    static bool IsHeader(std::string_view header);

    /// Sends the request, and waits for the head of the response if it `isAwaited`. It may refuse: the status
    /// is the caller's to judge. Once.
    HttpError Send(bool isAwaited = true);

    std::uint32_t StatusCode() const;    ///< 0 before the response
    std::uint32_t ContentLength() const; ///< as announced; 0 when unknown or beyond 32 bits

    /// Without any scheme unless the response was a 401 or a 407 that names one.
    HttpOfferedSchemes Offered() const;

    /// Waits until there is something to read; `count` 0 without an error is the body's end.
    HttpError BytesAvailable(std::uint32_t& count);

    /// Reads up to `size` bytes, waiting for the first; `count` 0 without an error is the body's end.
    HttpError Read(std::uint8_t* buffer, std::uint32_t size, std::uint32_t& count);

    /// Ends the exchange, and with `kCancelled` the operation that waits in it and every later one. Lets go
    /// of the network. Any thread.
    void Close();

private:
    class State;
    HttpError ReceiveResponse();

    const std::unique_ptr<State> state_;
};

} // namespace korvane::platform
