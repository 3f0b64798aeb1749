#pragma once

#include "platform/socket.h"
#include "support/fake_host.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace korvane::test
{

/// How long a stop may take with a host that answers, and what a busy machine under sanitizers adds.
inline constexpr std::chrono::milliseconds kStopBound{2'000 + 3'000};

inline const std::uint32_t kLoopback = *platform::ParseIPv4("127.0.0.1");

/// A socket that listens on a free port of the loopback.
class LoopbackListener
{
public:
    explicit LoopbackListener(int backlog = 64); ///< connections that wait to be accepted, and one more
    ~LoopbackListener();
    LoopbackListener(const LoopbackListener&) = delete;
    LoopbackListener& operator=(const LoopbackListener&) = delete;

    std::uint16_t Port() const { return port_; }
    int Accept() const; ///< a connection, or less than 0 at the end
    void End() const;   ///< from any thread

private:
    const int socket_;
    std::uint16_t port_ = 0;
};

/// A port to which a connection is never made and never refused, as behind a firewall.
class BlackHole
{
public:
    BlackHole();

    std::uint16_t Port() const { return listener_.Port(); }
    bool WaitForConnection() const; ///< until somebody tries one; false if nobody does

private:
    const LoopbackListener listener_{0};
    platform::Socket filler_; ///< takes the one place
};

/// The other end of datagrams, on a free port of the loopback.
class UDPPeer
{
public:
    explicit UDPPeer(std::uint16_t to = 0) : to_(to)
    {
        EXPECT_TRUE(socket_.OpenDatagram() && socket_.Bind(0));
    }

    std::uint16_t Port() const { return socket_.LocalPort(); }
    void Send(const Bytes& datagram) { SendTo(to_, datagram); }
    void SendTo(std::uint16_t port, const Bytes& datagram)
    {
        EXPECT_EQ(socket_.SendTo(platform::MakeSocketAddress(kLoopback, port), datagram),
                  static_cast<std::ptrdiff_t>(datagram.size()));
    }
    Bytes Receive(std::uint32_t patienceMs = kPatienceMs) ///< the next one; empty when none comes
    {
        Bytes buffer(1500);
        platform::Datagram datagram;
        datagram.buffer = buffer;
        const std::size_t count = socket_.ReceiveMany({&datagram, 1}, patienceMs).count;
        sender_ = datagram.sender;
        buffer.resize(count != 0 && !datagram.truncated ? datagram.length : 0);
        return buffer;
    }
    std::uint16_t SenderPort() const { return ntohs(sender_.port); } ///< of the last one received

private:
    const std::uint16_t to_;
    platform::Socket socket_;
    platform::SocketAddress sender_;
};

} // namespace korvane::test
