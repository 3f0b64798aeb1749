#pragma once

#include "camera/http/message.h"

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>

#include <array>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

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

class FaultPlan;
class MjpegSession;
class HttpServer;

/// One client of the web server, from its first byte to its last. On the thread of the io_context.
/// The faults reset and slow-http are played here.
class Connection : public std::enable_shared_from_this<Connection>
{
public:
    using Pieces = std::vector<std::span<const std::uint8_t>>;

    /// `server` outlives the connection's work: it closes all that it has before it goes. `tls` may be null.
    Connection(HttpServer& server, boost::asio::ip::tcp::socket socket, boost::asio::ssl::context* tls);
    ~Connection();

    void Start();

    /// Neither reads nor writes from now on, but stays open, as a peer that has vanished.
    void Stall();

    void Close(); ///< in order
    void Abort(); ///< with a reset

    /// Sends `pieces`, whose memory stays until `then` is called. `whole` is called before the last byte goes
    /// out, and not at all if a fault cuts the sending short; `then` is not called if the connection ends
    /// before. One sending at a time.
    void Send(Pieces pieces, std::function<void()> whole, std::function<void()> then);

    /// Calls `then` after `delay`, unless the connection ends before. One at a time.
    void After(std::chrono::milliseconds delay, std::function<void()> then);

private:
    using ErrorCode = boost::system::error_code;
    using Parser = boost::beast::http::request_parser<boost::beast::http::string_body>;

    bool IsOpen() const { return !stalled_ && !closed_; }
    void LimitIdleTime(std::chrono::seconds limit);
    void ReadRequest();
    void OnRequest(ErrorCode error);
    void Answer(const HttpRequest& request, HttpResponse response, bool keepAlive);
    void Respond(const HttpRequest& request, const HttpResponse& response, bool keepAlive);
    void StartStream(StreamId id);
    void WatchForEnd();
    void FloodHeaders();
    void Drip();
    bool ResetIsDue();
    void Write(Pieces pieces, std::function<void()> then);
    void End();

    HttpServer& server_;
    FaultPlan& faults_;
    ClientStream stream_;
    boost::asio::steady_timer idleTimer_;
    boost::asio::steady_timer timer_;
    boost::beast::flat_buffer received_;
    std::optional<Parser> parser_;
    std::string answer_;   // what is being sent of an ordinary answer
    std::string dripping_; // what is still to be sent byte by byte
    std::function<void()> drippingWhole_;
    std::function<void()> drippingThen_;
    std::array<char, 512> ignored_{}; // what a client sends while it gets a stream
    std::unique_ptr<MjpegSession> session_;
    std::uint32_t resetsSeen_;
    bool stalled_ = false;
    bool closed_ = false;
};

} // namespace larkmoor::camera
