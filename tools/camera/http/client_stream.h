#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/stream.hpp>

#include <optional>
#include <utility>

namespace larkmoor::camera
{

/// A client's connection, with or without TLS, behind the operations that Asio and Beast ask of a stream.
class ClientStream
{
public:
    using executor_type = boost::asio::ip::tcp::socket::executor_type;
    using Socket = boost::asio::ip::tcp::socket;

    /// `tls` is null for plain connections and outlives the stream otherwise.
    ClientStream(Socket socket, boost::asio::ssl::context* tls) : socket_(std::move(socket))
    {
        if (tls != nullptr)
            tls_.emplace(socket_, *tls);
    }

    executor_type get_executor() { return socket_.get_executor(); }

    template <class Buffers, class Handler>
    auto async_read_some(const Buffers& buffers, Handler&& handler)
    {
        return tls_ ? tls_->async_read_some(buffers, std::forward<Handler>(handler))
                    : socket_.async_read_some(buffers, std::forward<Handler>(handler));
    }

    template <class Buffers, class Handler>
    auto async_write_some(const Buffers& buffers, Handler&& handler)
    {
        return tls_ ? tls_->async_write_some(buffers, std::forward<Handler>(handler))
                    : socket_.async_write_some(buffers, std::forward<Handler>(handler));
    }

    bool HasTls() const { return tls_.has_value(); }

    template <class Handler>
    void Handshake(Handler&& handler)
    {
        tls_->async_handshake(boost::asio::ssl::stream_base::server, std::forward<Handler>(handler));
    }

    Socket& Lowest() { return socket_; }

private:
    Socket socket_;
    std::optional<boost::asio::ssl::stream<Socket&>> tls_;
};

} // namespace larkmoor::camera
