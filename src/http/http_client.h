#pragma once

#include "http/client_body.h"

#include <cstdint>
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
    static constexpr std::uint32_t kRawQuery = 1; ///< the query goes out as it is, unescaped
    static constexpr std::uint32_t kNoRedirects = 2;
    static constexpr std::uint32_t kIgnoreCertificate = 4; ///< errors of the certificate on TLS
    static constexpr std::uint32_t kNoResponse = 8;        ///< don't wait for the response

    /// See `CClientBody`. Without the system's HTTP service every request fails.
    explicit CHttpClient(const korvane::DEVICE_INFO& deviceInfo, const char* userAgent = kUserAgent);
    virtual ~CHttpClient() = default;

    /// Without further headers and body, ignoring errors of a certificate.
    bool SendRequest(const std::string& method, const std::string& uri);

    /// True when the request went out and, unless told not to wait, a response came, whatever its status. The
    /// response of an earlier request can be read until then. A `totalLength` above the body's size is what
    /// is announced, and then no response is waited for.
    bool SendRequest(const std::string& method, const std::string& uri,
                     const std::vector<std::string>& headers, const std::vector<std::uint8_t>& body,
                     std::uint32_t totalLength, std::uint32_t flags);

    /// Reads the whole body, up to 256 MiB, and gives its size; 0 if it is not whole after 90 s.
    std::uint32_t ReadResponse(std::vector<std::uint8_t>& buffer) { return body_.ReadWhole(buffer); }
    std::uint32_t ReadData(std::uint8_t* buffer, std::uint32_t size) { return body_.Read(buffer, size); }
    std::uint32_t QueryDataAvailable() { return body_.Available(); }

    /// Ends the request that is waiting for its response, which then fails, and the response that is being
    /// read. The next request works as usual. Any thread.
    void CloseRequest() { body_.Close(); }

    /// The same, and each later request fails. Any thread.
    void EndRequests() { body_.End(); }

    /// Lets go of the connection that is kept for the next request, and of the response in hand.
    void Disconnect() { body_.Disconnect(); }

    std::uint32_t StatusCode() const { return body_.StatusCode(); } ///< of the last exchange; 0 when none
    std::uint32_t ContentLength() const { return body_.ContentLength(); } ///< 0 when unknown
    const std::string& Host() const { return body_.Device().host; }
    std::uint16_t Port() const { return body_.Device().port; }

private:
    enum class Transport : std::uint32_t
    {
        kUnknown = 0,
        kPlain = 1,
        kTls = 2,
    };

    bool SendBy(Transport transport, korvane::platform::HttpPlan plan, bool isAwaited);
    bool ChooseScheme();

    CClientBody body_;
    Transport transport_ = Transport::kUnknown;
    korvane::platform::HttpScheme scheme_ = korvane::platform::HttpScheme::kBasic;
    bool forProxy_ = false;
};

} // namespace Web
