#include "transport/rtsp_response_parser.h"

#include <limits>
#include <system_error>
#include <utility>

#include "runtime/param_text.h"
#include "runtime/text.h"
#include "runtime/text_scanner.h"

namespace korvane
{

namespace
{

constexpr std::size_t kMaxProtocolCharacters = 128;
constexpr std::size_t kMaxContentTypeCharacters = 256;
constexpr std::uint32_t kTimeoutWhenUnreadable = 30; // seconds
constexpr std::string_view kParameterEnds = ";\r\n";

/// A number too large counts as the largest.
bool TakeNumber(TextScanner& scanner, std::uint32_t& number)
{
    const std::errc error = scanner.Number(number);
    if (error == std::errc::result_out_of_range)
        number = std::numeric_limits<std::uint32_t>::max();
    return error != std::errc::invalid_argument;
}

bool ReadNumber(std::string_view lower, std::string_view name, std::uint32_t& number)
{
    TextScanner scanner(lower);
    return scanner.Literal(name) && TakeNumber(scanner, number);
}

} // namespace

bool CRTSPResponseParser::Parse(std::string_view method, std::string_view text)
{
    std::size_t at = 0;
    // Empty when no line end is left. Each is taken for CR LF, whichever of the two it begins with.
    const auto nextLine = [&]
    {
        const std::size_t begin = at;
        const std::size_t end = text.find_first_of("\r\n", begin);
        at = end == std::string_view::npos ? end : end + 2;
        return end == std::string_view::npos ? std::string_view() : text.substr(begin, end - begin);
    };
    if (!ReadStatusLine(nextLine()))
        return false;
    for (std::string_view line = nextLine(); !line.empty(); line = nextLine())
        if (!ReadHeader(line))
            return false;

    if (response_.contentLength == 0 || at > text.size() || method != "DESCRIBE")
        return true;
    CSDPResponseParser parser;
    if (!parser.Parse(text.substr(at, response_.contentLength)))
        return false;
    response_.description = std::move(parser.Description());
    return true;
}

bool CRTSPResponseParser::ReadStatusLine(std::string_view line)
{
    TextScanner scanner(line);
    if (!scanner.Word(response_.protocol, kMaxProtocolCharacters) || !TakeNumber(scanner, response_.status))
        return false;
    return response_.status == 200 || response_.status == 401;
}

bool CRTSPResponseParser::ReadHeader(std::string_view line)
{
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos || colon < 2)
        return true;
    const std::string name = Utils::ToLower(Utils::Trim(line.substr(0, colon)));
    const std::string lower = Utils::ToLower(line);
    if (name == "cseq")
        return ReadNumber(lower, "cseq:", response_.cseq);
    if (name == "content-base")
        return ReadContentBase(line, lower);
    if (name == "content-type")
        return ReadContentType(lower);
    if (name == "content-length")
        return ReadNumber(lower, "content-length:", response_.contentLength);
    if (name == "transport")
        return ReadTransport(line);
    if (name == "session")
        return ReadSession(line);
    if (name == "www-authenticate")
        return ReadChallenge(line);
    return true;
}

bool CRTSPResponseParser::ReadContentType(const std::string& lower)
{
    TextScanner scanner(lower);
    return scanner.Literal("content-type:") && scanner.Word(response_.contentType, kMaxContentTypeCharacters);
}

bool CRTSPResponseParser::ReadContentBase(std::string_view line, const std::string& lower)
{
    const std::size_t name = lower.find("content-base:");
    const std::size_t url = name == std::string::npos ? name : lower.find("rtsp://", name);
    if (url == std::string::npos)
        return false;
    response_.contentBase = Utils::Trim(line.substr(url));
    return true;
}

bool CRTSPResponseParser::ReadTransport(std::string_view line)
{
    response_.interleavedChannel = Utils::ToUInt8(Utils::GetParamValue(line, "interleaved", "=", ";-"));

    const std::string ports = Utils::GetParamValue(line, "server_port", "=", kParameterEnds);
    if (ports.empty())
        return true;
    TextScanner scanner(ports);
    return TakeNumber(scanner, response_.serverRTPPort) && scanner.Literal("-") &&
           TakeNumber(scanner, response_.serverRTCPPort);
}

bool CRTSPResponseParser::ReadSession(std::string_view line)
{
    response_.session = Utils::GetParamValue(line, "Session:", " ", kParameterEnds);
    if (line.find(';') != std::string_view::npos)
    {
        const std::string timeout = Utils::GetParamValue(line, "timeout", "=", kParameterEnds);
        if (timeout.empty())
            response_.session.clear();
        else
        {
            const std::uint32_t seconds = Utils::ToUInt32(timeout);
            response_.sessionTimeout = seconds == 0 ? kTimeoutWhenUnreadable : seconds;
        }
    }
    return !response_.session.empty();
}

bool CRTSPResponseParser::ReadChallenge(std::string_view line)
{
    constexpr std::string_view kName = "WWW-Authenticate: ";
    const std::size_t name = line.find(kName);
    if (name == std::string_view::npos)
        return false;
    const std::string_view challenge = line.substr(name + kName.size());
    const std::size_t end = challenge.find_first_of(" \t\r\n");
    if (end == std::string_view::npos)
        return false;

    const std::string_view scheme = challenge.substr(0, end);
    if (scheme == "Digest")
        response_.challengeScheme = RTSPResponse::kDigest;
    else if (scheme == "Basic")
        response_.challengeScheme = RTSPResponse::kBasic;
    if (response_.challengeScheme == RTSPResponse::kNoScheme)
        return true;

    const auto valueOf = [parameters = challenge.substr(end)](std::string_view key)
    { return Utils::RemoveChars(Utils::Trim(Utils::GetParamValue(parameters, key, "=", ",\r\n")), "\""); };
    response_.realm = valueOf("realm");
    response_.nonce = valueOf("nonce");
    return response_.challengeScheme == RTSPResponse::kBasic ||
           (!response_.realm.empty() && !response_.nonce.empty());
}

} // namespace korvane
