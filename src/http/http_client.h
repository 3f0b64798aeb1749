#pragma once

#include "http/client_body.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace Web
{

/// Requests to one device: finds out whether the device speaks plain HTTP or TLS with the first one, and
/// which authentication scheme it wants, and stays with both.
///
/// One exchange at a time. A response that refuses is a success here, with its status code.
class CHttpClient : public CClientBody
{
public:
    static constexpr const char* kUserAgent = "Korvane::HttpClient";

    /// Bits of `flags` in `SendRequest`.
    static constexpr std::uint32_t kRawQuery = 1; ///< the query goes out as it is, unescaped
    static constexpr std::uint32_t kNoRedirects = 2;
    static constexpr std::uint32_t kIgnoreCertificate = 4; ///< errors of the certificate on TLS
    static constexpr std::uint32_t kNoResponse = 8;        ///< don't wait for the response

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

private:
    enum class Transport : std::uint32_t
    {
        kUnknown = 0,
        kPlain = 1,
        kTls = 2,
    };

    bool SendBy(Transport transport, korvane::platform::HttpPlan plan, bool isAwaited);
    bool ChooseScheme();

    Transport transport_ = Transport::kUnknown;
    korvane::platform::HttpScheme scheme_ = korvane::platform::HttpScheme::kBasic;
    bool forProxy_ = false;
};

/// Requests to one device over plain HTTP, on a connection that is kept, with a challenge answered
/// underneath. A body can be read piece by piece for as long as the device sends it. Else as `CHttpClient`.
class CWinINetHttpClient : public CClientBody
{
public:
    static constexpr const char* kUserAgent = "Korvane::WinINetHttpClient";

    explicit CWinINetHttpClient(const korvane::DEVICE_INFO& deviceInfo, const char* userAgent = kUserAgent)
        : CClientBody(deviceInfo, korvane::platform::HttpService::kWinINet, userAgent)
    {
    }
    virtual ~CWinINetHttpClient() = default;

    /// Closes the earlier request first. True when a response came, whatever its status.
    bool SendRequest(const std::string& method, const std::string& uri)
    {
        CloseRequest();
        korvane::platform::HttpPlan plan;
        plan.method = method;
        plan.target = uri;
        return SendPlan(std::move(plan)) == korvane::platform::HttpError::kNone;
    }
};

} // namespace Web
