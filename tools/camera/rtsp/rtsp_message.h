#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace larkmoor::camera
{

/// One request of RTSP 1.0 (RFC 2326, section 6).
struct RtspRequest
{
    std::string method;
    std::string target; ///< as it came, blanks at its end cut off
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;

    /// The value of the first header of that name, in any case of letters; "" if there is none.
    std::string_view Header(std::string_view name) const;
};

/// Cuts the bytes of a client into requests and interleaved frames (RFC 2326, 10.12). Whatever comes, it
/// keeps at most one request or frame beyond the bytes of the last Append.
class RtspRequestReader
{
public:
    enum class Item
    {
        None,        ///< nothing whole yet
        Request,     ///< in Last()
        Interleaved, ///< a frame from the client, such as a receiver report; its bytes are thrown away
        Broken, ///< what came is not RTSP, or is beyond all measure: the connection is of no use any more
    };

    void Append(std::span<const std::uint8_t> bytes);
    Item Next();
    const RtspRequest& Last() const { return last_; }

private:
    Item NextFrame();
    Item NextRequest();
    bool ParseHead(std::string_view head, std::size_t& contentLength);

    std::string pending_;
    std::size_t at_ = 0; // in pending_
    RtspRequest last_;
};

/// Builds one response (RFC 2326, section 7), header by header.
class RtspReply
{
public:
    explicit RtspReply(int status) : status_(status) {}

    RtspReply& Header(std::string_view name, std::string_view value);
    RtspReply& Body(std::string_view type, std::string body);

    /// The whole text; `cseq` as the request had it.
    std::string Text(std::string_view cseq) const;

    int Status() const { return status_; }

private:
    int status_;
    std::string headers_;
    std::string body_;
};

/// What a client asks for in one alternative of its Transport header (RFC 2326, 12.39).
struct TransportRequest
{
    bool overTcp = false;
    bool multicast = false;
    bool hasPorts = false;
    std::uint16_t rtpPort = 0;
    std::uint16_t rtcpPort = 0;
    bool hasChannels = false;
    std::uint8_t rtpChannel = 0;
    std::uint8_t rtcpChannel = 1;
};

/// The alternatives of the header that are RTP/AVP, in the client's order.
std::vector<TransportRequest> ParseTransport(std::string_view header);

} // namespace larkmoor::camera
