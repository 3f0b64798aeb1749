#include "transport/rtsp_request.h"

#include "runtime/encoding.h"
#include "runtime/text.h"

namespace korvane
{

namespace
{

constexpr std::size_t kMostBasicBytes = 69; // of user name, colon and password
constexpr std::string_view kPlainProtocol = "RTP/AVP";

std::string Header(const char* name, const std::string& value)
{
    return std::string(name) + value + "\r\n";
}

std::string BasicHeader(const RTSPClientParams& params)
{
    std::string credentials;
    if (params.userName.size() + 1 + params.password.size() > kMostBasicBytes ||
        !Utils::MakeBasicCredentials(params.userName, params.password, credentials))
        return {};
    // A line break within the value would end the header.
    return Header("Authorization: Basic ", Utils::RemoveChars(credentials, "\r\n"));
}

std::string DigestHeader(std::string_view method, const std::string& uri, const RTSPClientParams& params,
                         const RTSPResponse& response)
{
    const std::string& realm = response.realm;
    const std::string& nonce = response.nonce;
    if (response.challengeScheme != RTSPResponse::kDigest || realm.empty() || nonce.empty() ||
        params.userName.empty() || params.password.empty())
        return {};
    const std::string ha1 = Utils::Md5Hex(params.userName + ":" + realm + ":" + params.password);
    const std::string ha2 = Utils::Md5Hex(std::string(method) + ":" + uri);
    const std::string digest = Utils::Md5Hex(ha1 + ":" + nonce + ":" + ha2);
    return Header("Authorization: Digest ", "username=\"" + params.userName + "\", realm=\"" + realm +
                                                "\", nonce=\"" + nonce + "\", uri=\"" + uri +
                                                "\", response=\"" + digest + "\"");
}

} // namespace

std::string RTSPBaseUrl(const RTSPClientParams& params, const RTSPResponse& response)
{
    if (response.contentBase.find("rtsp://") != std::string::npos)
        return response.contentBase;
    const std::size_t path = params.url.find_first_not_of('/');
    return "rtsp://" + params.host + ":" + std::to_string(params.serverPort) + "/" +
           (path == std::string::npos ? std::string() : params.url.substr(path));
}

std::string RTSPSetupUrl(const std::string& baseUrl, const std::string& control)
{
    if (control.find("://") != std::string::npos)
        return control;
    if (control.empty())
        return baseUrl;
    std::string url = baseUrl;
    if (url.ends_with('/'))
        url.pop_back();
    if (!control.starts_with('/'))
        url += '/';
    return url + control;
}

std::string RTSPTransportHeader(const SDPMediaSection& section, const RTSPClientParams& params,
                                std::uint32_t mode, bool multicast)
{
    const bool interleaved = mode == kTransportInterleaved;
    std::string value = section.protocol;
    if (value.empty() || value == kPlainProtocol)
        value = std::string(kPlainProtocol) + (interleaved ? "/TCP" : "/UDP");
    if (interleaved)
        return Header("Transport: ", value + ";unicast;interleaved=0-1");

    const unsigned rtpPort = multicast ? section.port : params.clientRTPPort;
    const unsigned rtcpPort = multicast ? section.port + 1u : params.clientRTCPPort;
    value += multicast ? ";multicast" : ";unicast";
    return Header("Transport: ",
                  value + ";client_port=" + std::to_string(rtpPort) + "-" + std::to_string(rtcpPort));
}

std::string RTSPAuthorizationHeader(std::string_view method, const std::string& uri,
                                    const RTSPClientParams& params, const RTSPResponse& response)
{
    if (params.authenticationMode == RTSPResponse::kBasic)
        return BasicHeader(params);
    if (params.authenticationMode == RTSPResponse::kDigest)
        return DigestHeader(method, uri, params, response);
    return {};
}

} // namespace korvane
