#pragma once

#include "camera/media/encoded_frame.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/multicast.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ip/udp.hpp>
#include <boost/asio/write.hpp>

#include <sys/socket.h>
#include <sys/time.h>

#include <cerrno>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace larkmoor::camera
{

/// A plain RTSP client for tests: blocking, one request at a time, with some seconds of patience.
class RtspTestClient
{
public:
    explicit RtspTestClient(std::uint16_t port);

    /// Sends the request with the next CSeq and, once SETUP has given one, the session. Gives the status; 0
    /// if no answer came. The answer's text is in Answer(). Interleaved frames that come before it are kept.
    int Request(std::string_view method, std::string_view target, std::string_view headers = "");
    const std::string& Answer() const { return answer_; }
    const std::string& Session() const { return session_; }
    std::uint16_t ServerRtcpPort() const { return serverRtcpPort_; } ///< as SETUP over UDP told it
    void SendRaw(std::string_view bytes);

    std::string Url(std::string_view path) const;

    /// DESCRIBE, SETUP with this Transport, PLAY; the first status that is not 200, or 200.
    int Play(std::string_view path, std::string_view transport);

    struct Frame
    {
        int channel;
        Bytes bytes;
    };

    /// The next interleaved frame. Nothing at the connection's end or when patience is over. Whatever stands
    /// between frames is passed over as a reader of streams has to: up to the next "$" with channel 0 or 1
    /// behind it.
    std::optional<Frame> NextFrame();

    /// True when the camera has ended the connection.
    bool IsAtEnd();

private:
    bool Fill();
    bool TakeAnswer();
    std::optional<Frame> TakeFrame(); ///< the one that stands first in pending_, on any channel

    boost::asio::io_context context_;
    boost::asio::ip::tcp::socket socket_{context_};
    std::uint16_t port_;
    std::string pending_;
    std::string answer_;
    std::string session_;
    std::vector<Frame> early_;
    std::uint16_t serverRtcpPort_ = 0;
    unsigned cseq_ = 0;
    bool ended_ = false;
};

/// A pair of UDP sockets to receive on.
class UdpTestReceiver
{
public:
    UdpTestReceiver();

    /// Joins a group on the loopback interface, in the place of ports of its own.
    UdpTestReceiver(const std::string& group, std::uint16_t port);

    std::string Transport() const; ///< for unicast
    std::optional<Bytes> NextPacket() { return Next(rtp_); }
    std::optional<Bytes> NextReport() { return Next(rtcp_); }
    void SendReport(std::uint16_t port); ///< to the camera's RTCP port

private:
    static std::optional<Bytes> Next(boost::asio::ip::udp::socket& socket);

    boost::asio::io_context context_;
    boost::asio::ip::udp::socket rtp_{context_};
    boost::asio::ip::udp::socket rtcp_{context_};
};

/// Puts access units together by RFC 6184, as strictly as the format allows: what is not whole counts as
/// damage.
class AccessUnitReader
{
public:
    struct Unit
    {
        Bytes bytes; ///< Annex B, start codes of three bytes
        std::uint32_t timestamp = 0;
        std::vector<int> types; ///< nal_unit_type, in order
    };

    /// A finished access unit, if this packet brings it.
    std::optional<Unit> Add(const Bytes& packet);

    int Damage() const { return damage_; } ///< gaps and fragments without their start
    std::uint32_t Ssrc() const { return ssrc_; }

private:
    void AddUnit(const std::uint8_t* data, std::size_t size);

    Unit unit_;
    bool open_ = false; // inside a fragmented unit
    bool started_ = false;
    std::uint16_t next_ = 0;
    std::uint32_t ssrc_ = 0;
    int damage_ = 0;
};

namespace ip = boost::asio::ip;

inline constexpr int kPatienceSeconds = 10;

template <typename Socket>
inline void SetPatience(Socket& socket)
{
    const timeval time{kPatienceSeconds, 0};
    setsockopt(socket.native_handle(), SOL_SOCKET, SO_RCVTIMEO, &time, sizeof time);
}

inline RtspTestClient::RtspTestClient(std::uint16_t port) : port_(port)
{
    socket_.connect({ip::address_v4::loopback(), port});
    SetPatience(socket_);
}

inline std::string RtspTestClient::Url(std::string_view path) const
{
    return "rtsp://127.0.0.1:" + std::to_string(port_) + "/" + std::string(path);
}

inline void RtspTestClient::SendRaw(std::string_view bytes)
{
    boost::system::error_code ignored;
    boost::asio::write(socket_, boost::asio::buffer(bytes), ignored);
}

inline bool RtspTestClient::Fill()
{
    char bytes[4096];
    const ssize_t count = recv(socket_.native_handle(), bytes, sizeof bytes, 0);
    if (count <= 0)
    {
        ended_ = ended_ || count == 0 || errno == ECONNRESET;
        return false;
    }
    pending_.append(bytes, static_cast<std::size_t>(count));
    return true;
}

inline bool RtspTestClient::TakeAnswer()
{
    const std::size_t end = pending_.find("\r\n\r\n");
    if (!pending_.starts_with("RTSP/1.0 ") || end == std::string::npos)
        return false;
    std::size_t size = end + 4;
    if (const std::size_t at = pending_.find("Content-Length: "); at < end)
        size += std::stoul(pending_.substr(at + 16));
    if (pending_.size() < size)
        return false;
    answer_ = pending_.substr(0, size);
    pending_.erase(0, size);
    return true;
}

inline std::optional<RtspTestClient::Frame> RtspTestClient::TakeFrame()
{
    if (pending_.size() < 4 || pending_[0] != '$')
        return std::nullopt;
    const std::size_t end = 4 + (static_cast<std::size_t>(static_cast<unsigned char>(pending_[2])) << 8 |
                                 static_cast<unsigned char>(pending_[3]));
    if (pending_.size() < end)
        return std::nullopt;
    Frame frame{pending_[1], Bytes(pending_.begin() + 4, pending_.begin() + static_cast<long>(end))};
    pending_.erase(0, end);
    return frame;
}

inline int RtspTestClient::Request(std::string_view method, std::string_view target, std::string_view headers)
{
    std::string text = std::string(method) + " " + std::string(target) +
                       " RTSP/1.0\r\nCSeq: " + std::to_string(++cseq_) + "\r\n";
    if (!session_.empty())
        text += "Session: " + session_ + "\r\n";
    SendRaw(text + std::string(headers) + "\r\n");
    answer_.clear();
    while (!TakeAnswer())
    {
        if (auto frame = TakeFrame())
        {
            if (frame->channel < 2)
                early_.push_back(std::move(*frame));
            continue;
        }
        if (!Fill())
            return 0;
    }
    if (const std::size_t at = answer_.find("\r\nSession: "); method == "SETUP" && at != std::string::npos)
        session_ = answer_.substr(at + 11, answer_.find_first_of(";\r", at + 11) - at - 11);
    if (const std::size_t at = answer_.find(";server_port="); at != std::string::npos)
        serverRtcpPort_ = static_cast<std::uint16_t>(std::stoul(answer_.substr(at + 13)) + 1);
    return std::stoi(answer_.substr(9));
}

inline int RtspTestClient::Play(std::string_view path, std::string_view transport)
{
    int status = Request("DESCRIBE", Url(path), "Accept: application/sdp\r\n");
    if (status == 200)
        status = Request("SETUP", Url(path) + "/trackID=1", "Transport: " + std::string(transport) + "\r\n");
    if (status == 200)
        status = Request("PLAY", Url(path) + "/", "Range: npt=0.000-\r\n");
    return status;
}

inline std::optional<RtspTestClient::Frame> RtspTestClient::NextFrame()
{
    if (!early_.empty())
    {
        Frame frame = std::move(early_.front());
        early_.erase(early_.begin());
        return frame;
    }
    for (;;)
    {
        std::size_t at = 0;
        for (; at < pending_.size(); ++at)
        {
            if (pending_[at] == '$' &&
                (at + 1 == pending_.size() || static_cast<unsigned char>(pending_[at + 1]) < 2))
                break;
        }
        pending_.erase(0, at);
        if (auto frame = TakeFrame())
            return frame;
        if (!Fill())
            return std::nullopt;
    }
}

inline bool RtspTestClient::IsAtEnd()
{
    while (!ended_ && Fill())
        ;
    return ended_;
}

inline UdpTestReceiver::UdpTestReceiver()
{
    for (int attempt = 0; attempt < 100; ++attempt)
    {
        boost::system::error_code error;
        rtp_ = ip::udp::socket(context_, {ip::address_v4::loopback(), 0});
        rtcp_ = ip::udp::socket(context_, ip::udp::v4());
        const auto next = static_cast<std::uint16_t>(rtp_.local_endpoint().port() + 1);
        if (!rtcp_.bind({ip::address_v4::loopback(), next}, error))
            break;
    }
    rtp_.set_option(boost::asio::socket_base::receive_buffer_size(1 << 20));
    SetPatience(rtp_);
    SetPatience(rtcp_);
}

inline UdpTestReceiver::UdpTestReceiver(const std::string& group, std::uint16_t port)
{
    for (ip::udp::socket* socket : {&rtp_, &rtcp_})
    {
        socket->open(ip::udp::v4());
        socket->set_option(boost::asio::socket_base::reuse_address(true));
        socket->bind(
            {ip::make_address(group), static_cast<std::uint16_t>(port + (socket == &rtcp_ ? 1 : 0))});
        socket->set_option(ip::multicast::join_group(ip::make_address_v4(group), ip::address_v4::loopback()));
        SetPatience(*socket);
    }
}

inline std::string UdpTestReceiver::Transport() const
{
    const std::uint16_t port = rtp_.local_endpoint().port();
    return "RTP/AVP;unicast;client_port=" + std::to_string(port) + "-" + std::to_string(port + 1);
}

inline std::optional<Bytes> UdpTestReceiver::Next(ip::udp::socket& socket)
{
    Bytes bytes(65536);
    const ssize_t count = recv(socket.native_handle(), bytes.data(), bytes.size(), 0);
    if (count < 0)
        return std::nullopt;
    bytes.resize(static_cast<std::size_t>(count));
    return bytes;
}

inline void UdpTestReceiver::SendReport(std::uint16_t port)
{
    const Bytes report = {0x80, 201, 0, 1, 1, 2, 3, 4}; // an empty receiver report
    rtcp_.send_to(boost::asio::buffer(report), {ip::address_v4::loopback(), port});
}

inline void AccessUnitReader::AddUnit(const std::uint8_t* data, std::size_t size)
{
    unit_.types.push_back(data[0] & 0x1F);
    unit_.bytes.insert(unit_.bytes.end(), {0, 0, 1});
    unit_.bytes.insert(unit_.bytes.end(), data, data + size);
}

inline std::optional<AccessUnitReader::Unit> AccessUnitReader::Add(const Bytes& packet)
{
    if (packet.size() < 14 || packet[0] != 0x80 || (packet[1] & 0x7F) != 96)
    {
        ++damage_;
        return std::nullopt;
    }
    const auto sequence = static_cast<std::uint16_t>(packet[2] << 8 | packet[3]);
    if (started_ && sequence != next_)
        ++damage_;
    started_ = true;
    next_ = static_cast<std::uint16_t>(sequence + 1);
    unit_.timestamp = static_cast<std::uint32_t>(packet[4]) << 24 |
                      static_cast<std::uint32_t>(packet[5]) << 16 |
                      static_cast<std::uint32_t>(packet[6]) << 8 | packet[7];
    ssrc_ = static_cast<std::uint32_t>(packet[8]) << 24 | static_cast<std::uint32_t>(packet[9]) << 16 |
            static_cast<std::uint32_t>(packet[10]) << 8 | packet[11];
    const std::uint8_t* const payload = packet.data() + 12;
    const std::size_t size = packet.size() - 12;
    const int type = payload[0] & 0x1F;
    if (type == 24)
    {
        for (std::size_t at = 1; at + 2 < size;)
        {
            const std::size_t length = static_cast<std::size_t>(payload[at] << 8 | payload[at + 1]);
            if (at + 2 + length > size)
            {
                ++damage_;
                break;
            }
            AddUnit(payload + at + 2, length);
            at += 2 + length;
        }
    }
    else if (type == 28)
    {
        const bool starts = (payload[1] & 0x80) != 0;
        damage_ += starts == open_ ? 1 : 0;
        if (starts)
        {
            const auto header = static_cast<std::uint8_t>((payload[0] & 0xE0) | (payload[1] & 0x1F));
            AddUnit(&header, 1);
        }
        unit_.bytes.insert(unit_.bytes.end(), payload + 2, payload + size);
        open_ = (payload[1] & 0x40) == 0;
    }
    else
    {
        damage_ += open_ ? 1 : 0;
        AddUnit(payload, size);
    }
    if ((packet[1] & 0x80) == 0)
        return std::nullopt;
    return std::exchange(unit_, Unit());
}

} // namespace larkmoor::camera
