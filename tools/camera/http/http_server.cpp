#include "camera/http/http_server.h"

#include "camera/fault/fault_plan.h"
#include "camera/http/mjpeg_session.h"

#include <boost/asio/ip/address.hpp>

#include <netinet/tcp.h>

#include <chrono>
#include <utility>

namespace larkmoor::camera
{

namespace
{

using boost::asio::ip::tcp;
using ErrorCode = boost::system::error_code;

constexpr std::chrono::milliseconds kFaultLook(20);
constexpr std::chrono::milliseconds kAcceptPause(100);
constexpr std::size_t kMostConnections = 4096;
constexpr int kSendBufferBytes =
    512 * 1024;                       // a slow client drops pictures here, not after megabytes of old ones
constexpr int kUnansweredMs = 60'000; // until a client that does not acknowledge counts as gone

bool Bind(tcp::acceptor& acceptor, const tcp::endpoint& endpoint, ErrorCode& error)
{
    acceptor.open(endpoint.protocol(), error);
    if (!error)
        acceptor.set_option(tcp::acceptor::reuse_address(true), error);
    if (!error)
        acceptor.bind(endpoint, error);
    return !error;
}

void SetOptions(tcp::socket& socket)
{
    using UserTimeout = boost::asio::detail::socket_option::integer<IPPROTO_TCP, TCP_USER_TIMEOUT>;
    ErrorCode ignored; // what the system does not take only costs comfort
    socket.set_option(tcp::no_delay(true), ignored);
    socket.set_option(tcp::socket::keep_alive(true), ignored);
    socket.set_option(tcp::socket::send_buffer_size(kSendBufferBytes), ignored);
    socket.set_option(UserTimeout(kUnansweredMs), ignored);
}

} // namespace

HttpServer::HttpServer(const Parts& parts)
    : parts_(parts),
      reservation_(parts.context),
      acceptor_(parts.context),
      watch_(parts.context),
      truth_(parts.truth)
{
}

bool HttpServer::Open(const std::string& address, std::uint16_t port, std::string& error)
{
    ErrorCode code;
    const auto ip = boost::asio::ip::make_address(address, code);
    if (!code && Bind(reservation_, {ip, port}, code))
        endpoint_ = reservation_.local_endpoint(code);
    if (code || !Listen(code))
    {
        error = "cannot serve HTTP on " + address + " port " + std::to_string(port) + ": " + code.message();
        return false;
    }
    Accept();
    WatchFaults();
    return true;
}

bool HttpServer::Listen(ErrorCode& error)
{
    if (Bind(acceptor_, endpoint_, error))
        acceptor_.listen(boost::asio::socket_base::max_listen_connections, error);
    if (error)
    {
        ErrorCode ignored;
        acceptor_.close(ignored);
    }
    return !error;
}

void HttpServer::Accept()
{
    acceptor_.async_accept(
        [this](ErrorCode error, tcp::socket socket)
        {
            if (error == boost::asio::error::operation_aborted)
                return;
            if (!error)
            {
                Admit(std::move(socket));
                return Accept();
            }
            // Out of descriptors, most likely: they come back when clients leave.
            const auto pause = std::make_shared<boost::asio::steady_timer>(parts_.context, kAcceptPause);
            pause->async_wait(
                [this, pause](ErrorCode)
                {
                    if (acceptor_.is_open())
                        Accept();
                });
        });
}

void HttpServer::Admit(tcp::socket socket)
{
    if (connections_.size() >= kMostConnections)
        return;
    SetOptions(socket);
    const auto connection = std::make_shared<Connection>(*this, std::move(socket), parts_.tls);
    connections_.insert(connection);
    if (halfOpen_)
        connection->Stall();
    else
        connection->Start();
}

std::unique_ptr<MjpegSession> HttpServer::MakeSession(Connection& connection, StreamId id)
{
    const bool pulls = parts_.hub.Source() == VideoSource::Flood;
    return std::make_unique<MjpegSession>(connection, parts_.hub.Stream(id), pulls, parts_.faults, truth_,
                                          parts_.seed + ++sessions_, parts_.stamps);
}

void HttpServer::WatchFaults()
{
    const bool wasHalfOpen = std::exchange(halfOpen_, parts_.faults.Active("half-open"));
    if (halfOpen_ && !wasHalfOpen)
    {
        for (const auto& connection : std::set(connections_))
            connection->Stall();
    }
    // What a vanished peer still gets after its return it answers with a reset.
    if (wasHalfOpen && !halfOpen_)
        AbortAll();

    const bool wasRebooting = std::exchange(rebooting_, parts_.faults.Active("reboot"));
    ErrorCode error;
    if (rebooting_ && !wasRebooting)
    {
        acceptor_.close(error);
        AbortAll();
    }
    if (wasRebooting && !rebooting_)
    {
        if (Listen(error))
            Accept();
        else
            rebooting_ = true; // to be tried again
    }
    watch_.expires_after(kFaultLook);
    watch_.async_wait(
        [this](ErrorCode cancelled)
        {
            if (!cancelled && !closed_)
                WatchFaults();
        });
}

void HttpServer::AbortAll()
{
    for (const auto& connection : std::set(connections_))
        connection->Abort();
}

void HttpServer::Close()
{
    closed_ = true;
    ErrorCode ignored;
    watch_.cancel();
    acceptor_.close(ignored);
    reservation_.close(ignored);
    for (const auto& connection : std::set(connections_))
        connection->Close();
}

} // namespace larkmoor::camera
