#include "camera/rtsp/rtsp_message.h"

#include "base/text.h"

#include <boost/beast/http/status.hpp>

#include <cstring>

namespace larkmoor::camera
{
namespace
{

constexpr std::size_t kMostHeadBytes = 16 * 1024;
constexpr std::size_t kMostBodyBytes = 64 * 1024;
constexpr std::size_t kFrameHeadBytes = 4;
constexpr std::string_view kHeadEnd = "\r\n\r\n";

template <typename Number>
bool Take(std::string_view text, Number& number)
{
    const std::optional<Number> read = ReadNumber<Number>(Trim(text));
    number = read.value_or(number);
    return read.has_value();
}

/// "a-b" or "a", which then means a and the next number.
template <typename Number>
bool ReadPair(std::string_view text, Number& first, Number& second)
{
    const std::string_view one = CutAt(text, '-');
    if (!Take(one, first))
        return false;
    if (Trim(text).empty())
    {
        second = static_cast<Number>(first + 1);
        return true;
    }
    return Take(text, second);
}

std::string ReasonOf(int status)
{
    namespace http = boost::beast::http;
    if (status == 454)
        return "Session Not Found";
    if (status == 461)
        return "Unsupported Transport";
    return std::string(http::obsolete_reason(http::int_to_status(static_cast<unsigned>(status))));
}

} // namespace

std::string_view RtspRequest::Header(std::string_view name) const
{
    for (const auto& [key, value] : headers)
    {
        if (EqualsIgnoringCase(key, name))
            return value;
    }
    return {};
}

void RtspRequestReader::Append(std::span<const std::uint8_t> bytes)
{
    pending_.erase(0, at_);
    at_ = 0;
    pending_.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

RtspRequestReader::Item RtspRequestReader::Next()
{
    while (at_ < pending_.size() && (pending_[at_] == '\r' || pending_[at_] == '\n'))
        ++at_; // stray line ends between requests are allowed (RFC 2326, 4.1)
    if (at_ == pending_.size())
        return Item::None;
    return pending_[at_] == '$' ? NextFrame() : NextRequest();
}

RtspRequestReader::Item RtspRequestReader::NextFrame()
{
    if (pending_.size() - at_ < kFrameHeadBytes)
        return Item::None;
    const std::size_t length = static_cast<std::size_t>(static_cast<unsigned char>(pending_[at_ + 2])) << 8 |
                               static_cast<unsigned char>(pending_[at_ + 3]);
    if (pending_.size() - at_ - kFrameHeadBytes < length)
        return Item::None;
    at_ += kFrameHeadBytes + length;
    return Item::Interleaved;
}

RtspRequestReader::Item RtspRequestReader::NextRequest()
{
    const std::string_view rest = std::string_view(pending_).substr(at_);
    const std::size_t end = rest.find(kHeadEnd);
    if (end == std::string_view::npos)
        return rest.size() > kMostHeadBytes ? Item::Broken : Item::None;
    std::size_t contentLength = 0;
    if (end > kMostHeadBytes || !ParseHead(rest.substr(0, end), contentLength) ||
        contentLength > kMostBodyBytes)
        return Item::Broken;
    const std::size_t bodyAt = end + kHeadEnd.size();
    if (rest.size() - bodyAt < contentLength)
        return Item::None;
    last_.body = rest.substr(bodyAt, contentLength);
    at_ += bodyAt + contentLength;
    return Item::Request;
}

bool RtspRequestReader::ParseHead(std::string_view head, std::size_t& contentLength)
{
    last_ = RtspRequest();
    std::string_view line = CutAt(head, '\n');
    last_.method = CutAt(line, ' ');
    line = Trim(line);
    const std::size_t blank = line.rfind(' '); // targets with blanks in them exist
    if (last_.method.empty() || blank == std::string_view::npos ||
        !line.substr(blank + 1).starts_with("RTSP/"))
        return false;
    last_.target = Trim(line.substr(0, blank));
    while (!head.empty())
    {
        line = CutAt(head, '\n');
        const std::string_view name = Trim(CutAt(line, ':'));
        if (!name.empty())
            last_.headers.emplace_back(name, Trim(line));
    }
    const std::string_view length = last_.Header("Content-Length");
    return length.empty() || Take(length, contentLength);
}

RtspReply& RtspReply::Header(std::string_view name, std::string_view value)
{
    headers_.append(name).append(": ").append(value).append("\r\n");
    return *this;
}

RtspReply& RtspReply::Body(std::string_view type, std::string body)
{
    body_ = std::move(body);
    return Header("Content-Type", type).Header("Content-Length", std::to_string(body_.size()));
}

std::string RtspReply::Text(std::string_view cseq) const
{
    std::string text = "RTSP/1.0 " + std::to_string(status_) + " " + ReasonOf(status_) + "\r\nCSeq: ";
    return text.append(cseq).append("\r\n").append(headers_).append("\r\n").append(body_);
}

std::vector<TransportRequest> ParseTransport(std::string_view header)
{
    std::vector<TransportRequest> all;
    while (!header.empty())
    {
        std::string_view alternative = CutAt(header, ',');
        const std::string_view protocol = Trim(CutAt(alternative, ';'));
        TransportRequest wanted;
        if (EqualsIgnoringCase(protocol, "RTP/AVP/TCP"))
            wanted.overTcp = true;
        else if (!EqualsIgnoringCase(protocol, "RTP/AVP") && !EqualsIgnoringCase(protocol, "RTP/AVP/UDP"))
            continue;
        while (!alternative.empty())
        {
            std::string_view item = CutAt(alternative, ';');
            const std::string_view key = Trim(CutAt(item, '='));
            if (EqualsIgnoringCase(key, "multicast"))
                wanted.multicast = true;
            else if (EqualsIgnoringCase(key, "client_port"))
                wanted.hasPorts = ReadPair(item, wanted.rtpPort, wanted.rtcpPort);
            else if (EqualsIgnoringCase(key, "interleaved"))
                wanted.hasChannels = ReadPair(item, wanted.rtpChannel, wanted.rtcpChannel);
        }
        all.push_back(wanted);
    }
    return all;
}

} // namespace larkmoor::camera
