#pragma once

#include "camera/rtsp/rtp_packet_batch.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/udp.hpp>

#include <array>
#include <functional>
#include <string>

namespace larkmoor::camera
{

/// A pair of UDP sockets, RTP on an even port and RTCP on the next one, through which all sessions of a
/// server send: hundreds of sessions so need two descriptors. Some dozen packets go with one system call.
class UdpSender
{
public:
    using Endpoint = boost::asio::ip::udp::endpoint;

    explicit UdpSender(boost::asio::io_context& context) : rtp_(context), rtcp_(context), stray_(context) {}

    /// Binds both sockets to `address`. False says in `error` why not.
    [[nodiscard]] bool Open(const std::string& address, std::string& error);
    void Close();

    /// Lets multicast leave through the interface of the bound address (any, if that is any), with this time
    /// to live, and come back to this machine.
    void AllowMulticast(std::uint8_t ttl);

    std::uint16_t RtpPort() const { return rtpPort_; }

    /// Sends now. What the system has no room for is lost, as on any network.
    void Send(const PacketBatch& batch, const Endpoint& rtp, const Endpoint& rtcp);

    /// Sends control packets from another address of this machine: a stranger's, to the client.
    void SendStray(const PacketBatch& batch, const Endpoint& rtcp);

    /// Calls `listener` with the sender of each datagram on the RTCP port.
    void ListenForReports(std::function<void(const Endpoint&)> listener);

private:
    void ReceiveReport();
    bool BindPair(const boost::asio::ip::address& address);

    boost::asio::ip::udp::socket rtp_;
    boost::asio::ip::udp::socket rtcp_;
    boost::asio::ip::udp::socket stray_; // opened by the first that needs it
    std::uint16_t rtpPort_ = 0;
    std::function<void(const Endpoint&)> listener_;
    Endpoint reporter_;
    std::array<std::uint8_t, 1500> report_{};
};

/// One client's two ports.
class UdpOutput : public PacketOutput
{
public:
    /// `sender` outlives this object.
    UdpOutput(UdpSender& sender, UdpSender::Endpoint rtp, UdpSender::Endpoint rtcp)
        : sender_(sender), rtp_(std::move(rtp)), rtcp_(std::move(rtcp))
    {
    }

    void Send(PacketBatch batch) override { sender_.Send(batch, rtp_, rtcp_); }
    void SendStray(const PacketBatch& batch) override { sender_.SendStray(batch, rtcp_); }
    bool IsFull() const override { return false; }
    bool IsHungry() const override { return true; }

private:
    UdpSender& sender_;
    const UdpSender::Endpoint rtp_;
    const UdpSender::Endpoint rtcp_;
};

} // namespace larkmoor::camera
