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

constexpr std::size_t kMostConnections = 4096;
constexpr int kSendBufferBytes =
    512 * 1024;                       // a slow client drops pictures here, not after megabytes of old ones
constexpr int kUnansweredMs = 60'000; // until a client that does not acknowledge counts as gone

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
      listener_(parts.context, parts.faults,
                {[this](tcp::socket socket) { Admit(std::move(socket)); },
                 [this] { ForAll(&Connection::Stall); }, [this] { ForAll(&Connection::Abort); }}),
      truth_(parts.truth)
{
}

bool HttpServer::Open(const std::string& address, std::uint16_t port, std::string& error)
{
    ErrorCode code;
    if (!listener_.Open(address, port, code))
        error = "cannot serve HTTP on " + address + " port " + std::to_string(port) + ": " + code.message();
    return !code;
}

void HttpServer::Admit(tcp::socket socket)
{
    if (connections_.size() >= kMostConnections)
        return;
    SetOptions(socket);
    const auto connection = std::make_shared<Connection>(*this, std::move(socket), parts_.tls);
    connections_.insert(connection);
    if (listener_.IsHalfOpen())
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

void HttpServer::ForAll(void (Connection::*operation)())
{
    for (const auto& connection : std::set(connections_)) // one that ends takes itself out
        ((*connection).*operation)();
}

void HttpServer::Close()
{
    listener_.Close();
    ForAll(&Connection::Close);
}

} // namespace larkmoor::camera
