#include "camera/rtsp/udp_sender.h"

#include <boost/asio/ip/multicast.hpp>
#include <boost/asio/socket_base.hpp>

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>

namespace larkmoor::camera
{
namespace
{

namespace ip = boost::asio::ip;

constexpr int kSendBufferBytes = 4 << 20; // a key frame of a large picture leaves in one go
constexpr int kPortTries = 200;
constexpr std::size_t kPacketsPerCall = 64;
constexpr int kPatienceMs = 20; // for the system to take packets again

struct Call
{
    std::array<mmsghdr, kPacketsPerCall> messages;
    std::array<std::array<iovec, 2>, kPacketsPerCall> parts;
    unsigned count = 0;
};

void Add(Call& call, const OutPacket& packet, const UdpSender::Endpoint& to)
{
    auto& parts = call.parts[call.count];
    // The system reads through these pointers only.
    parts[0] = {const_cast<std::uint8_t*>(packet.Head().data()), packet.headBytes};
    parts[1] = {const_cast<std::uint8_t*>(packet.shared.data()), packet.shared.size()};
    msghdr& message = call.messages[call.count].msg_hdr;
    message = {};
    message.msg_name = const_cast<sockaddr*>(to.data());
    message.msg_namelen = static_cast<socklen_t>(to.size());
    message.msg_iov = parts.data();
    message.msg_iovlen = parts.size();
    ++call.count;
}

void Flush(Call& call, int socket)
{
    unsigned sent = 0;
    while (sent < call.count)
    {
        const int result = sendmmsg(socket, call.messages.data() + sent, call.count - sent, MSG_DONTWAIT);
        if (result > 0)
        {
            sent += static_cast<unsigned>(result);
            continue;
        }
        if (errno == EINTR)
            continue;
        pollfd waiting{socket, POLLOUT, 0};
        if ((errno != EAGAIN && errno != ENOBUFS) || poll(&waiting, 1, kPatienceMs) <= 0)
            ++sent; // this one is lost; the next may go
    }
    call.count = 0;
}

} // namespace

bool UdpSender::BindPair(const ip::address& address)
{
    using ip::udp;
    boost::system::error_code error;
    for (int attempt = 0; attempt < kPortTries; ++attempt)
    {
        udp::socket first(rtp_.get_executor());
        udp::socket second(rtp_.get_executor());
        if (first.open(udp::v4(), error) || first.bind({address, 0}, error) || second.open(udp::v4(), error))
            return false;
        // The system gave some port; its even neighbour makes the pair.
        const std::uint16_t port = first.local_endpoint().port();
        const bool isEven = port % 2 == 0;
        const auto other = static_cast<std::uint16_t>(isEven ? port + 1 : port - 1);
        if (other == 0 || second.bind({address, other}, error))
            continue;
        rtp_ = std::move(isEven ? first : second);
        rtcp_ = std::move(isEven ? second : first);
        rtpPort_ = isEven ? port : other;
        return true;
    }
    return false;
}

bool UdpSender::Open(const std::string& address, std::string& error)
{
    boost::system::error_code failure;
    const ip::address bound = ip::make_address(address, failure);
    if (failure || !BindPair(bound))
    {
        error = "no pair of UDP ports on " + address;
        return false;
    }
    rtp_.non_blocking(true);
    rtcp_.non_blocking(true);
    rtp_.set_option(boost::asio::socket_base::send_buffer_size(kSendBufferBytes), failure);
    return true;
}

void UdpSender::Close()
{
    boost::system::error_code ignored;
    rtp_.close(ignored);
    rtcp_.close(ignored);
    stray_.close(ignored);
    listener_ = nullptr;
}

void UdpSender::AllowMulticast(std::uint8_t ttl)
{
    boost::system::error_code ignored; // without a multicast route nothing will leave, which clients notice
    for (ip::udp::socket* socket : {&rtp_, &rtcp_})
    {
        const ip::address bound = socket->local_endpoint(ignored).address();
        if (bound.is_v4() && !bound.is_unspecified())
            socket->set_option(ip::multicast::outbound_interface(bound.to_v4()), ignored);
        socket->set_option(ip::multicast::hops(ttl), ignored);
        socket->set_option(ip::multicast::enable_loopback(true), ignored);
    }
}

void UdpSender::Send(const PacketBatch& batch, const Endpoint& rtp, const Endpoint& rtcp)
{
    if (!rtp_.is_open())
        return;
    Call call;
    for (const bool control : {false, true})
    {
        const int socket = control ? rtcp_.native_handle() : rtp_.native_handle();
        for (const OutPacket& packet : batch.packets)
        {
            if (packet.control != control)
                continue;
            Add(call, packet, control ? rtcp : rtp);
            if (call.count == kPacketsPerCall)
                Flush(call, socket);
        }
        Flush(call, socket);
    }
}

void UdpSender::SendStray(const PacketBatch& batch, const Endpoint& rtcp)
{
    boost::system::error_code error;
    if (!stray_.is_open())
    {
        // All of 127.0.0.0/8 is this machine; a camera on another network has no second address to speak
        // from.
        stray_.open(ip::udp::v4(), error);
        stray_.bind({ip::make_address_v4("127.0.0.2"), 0}, error);
        stray_.non_blocking(true, error);
    }
    for (const OutPacket& packet : batch.packets)
        stray_.send_to(boost::asio::buffer(packet.shared.data(), packet.shared.size()), rtcp, 0, error);
}

void UdpSender::ListenForReports(std::function<void(const Endpoint&)> listener)
{
    listener_ = std::move(listener);
    ReceiveReport();
}

void UdpSender::ReceiveReport()
{
    rtcp_.async_receive_from(boost::asio::buffer(report_), reporter_,
                             [this](const boost::system::error_code& error, std::size_t)
                             {
                                 if (error == boost::asio::error::operation_aborted || !rtcp_.is_open())
                                     return;
                                 if (!error && listener_)
                                     listener_(reporter_);
                                 ReceiveReport(); // an error here tells of a client that is gone: read on
                             });
}

} // namespace larkmoor::camera
