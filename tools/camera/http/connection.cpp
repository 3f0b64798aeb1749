#include "camera/http/connection.h"

#include "camera/fault/fault_plan.h"
#include "camera/http/http_server.h"
#include "camera/http/mjpeg_session.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/http/read.hpp>

#include <algorithm>
#include <utility>

namespace larkmoor::camera
{

namespace
{

namespace http = boost::beast::http;

constexpr std::uint32_t kMostHeaderBytes = 16 * 1024;
constexpr std::uint64_t kMostBodyBytes = 64 * 1024; // of a form
constexpr std::chrono::seconds kRequestLimit(60);
constexpr std::chrono::seconds kHandshakeLimit(30);
constexpr std::chrono::milliseconds kDripInterval(1000);
constexpr std::chrono::milliseconds kHeaderFloodInterval(50);
constexpr std::size_t kHeaderFloodLines = 100;
constexpr std::size_t kWrongLengthBytes = 100;

std::size_t SizeOf(const Connection::Pieces& pieces)
{
    std::size_t size = 0;
    for (const auto& piece : pieces)
        size += piece.size();
    return size;
}

/// The first `size` bytes of `pieces`.
Connection::Pieces FirstOf(Connection::Pieces pieces, std::size_t size)
{
    for (auto& piece : pieces)
    {
        piece = piece.first(std::min(piece.size(), size));
        size -= piece.size();
    }
    return pieces;
}

std::string StatusLine(int status)
{
    const auto code = http::int_to_status(static_cast<unsigned>(status));
    return "HTTP/1.1 " + std::to_string(status) + " " + std::string(http::obsolete_reason(code)) + "\r\n";
}

/// True for bytes that are no request; a client that leaves, also in the middle of one, sends none.
bool IsMalformed(const boost::system::error_code& error)
{
    return error.category() == http::make_error_code(http::error::bad_method).category() &&
           error != http::error::end_of_stream && error != http::error::partial_message;
}

HttpRequest ToRequest(http::request<http::string_body>&& message)
{
    HttpRequest request;
    request.method = std::string(message.method_string());
    request.target = std::string(message.target());
    request.authorization = std::string(message[http::field::authorization]);
    std::string_view target = request.target;
    for (const std::string_view scheme : {"http://", "https://"}) // RFC 7230, section 5.3.2
    {
        if (target.starts_with(scheme))
            target.remove_prefix(std::min(target.find('/', scheme.size()), target.size()));
    }
    const std::size_t mark = std::min(target.find('?'), target.size());
    request.path = target.substr(0, mark);
    request.query = target.substr(std::min(mark + 1, target.size()));
    if (!request.path.starts_with('/'))
        request.path.insert(0, "/");
    if (message.method() == http::verb::post && !message.body().empty())
        request.query += (request.query.empty() ? "" : "&") + message.body();
    return request;
}

} // namespace

Connection::Connection(HttpServer& server, boost::asio::ip::tcp::socket socket,
                       boost::asio::ssl::context* tls)
    : server_(server),
      faults_(server.Faults()),
      stream_(std::move(socket), tls),
      idleTimer_(stream_.get_executor()),
      timer_(stream_.get_executor()),
      received_(kMostHeaderBytes + kMostBodyBytes),
      resetsSeen_(faults_.Occurrences("reset"))
{
}

Connection::~Connection() = default;

void Connection::Start()
{
    if (!stream_.HasTls())
        return ReadRequest();
    LimitIdleTime(kHandshakeLimit);
    stream_.Handshake([self = shared_from_this()](ErrorCode error)
                      { error ? self->Close() : self->ReadRequest(); });
}

void Connection::LimitIdleTime(std::chrono::seconds limit)
{
    idleTimer_.expires_after(limit);
    idleTimer_.async_wait(
        [self = shared_from_this()](ErrorCode error)
        {
            if (!error && self->IsOpen())
                self->Close();
        });
}

void Connection::ReadRequest()
{
    if (!IsOpen())
        return;
    parser_.emplace();
    parser_->header_limit(kMostHeaderBytes);
    parser_->body_limit(kMostBodyBytes);
    LimitIdleTime(kRequestLimit);
    http::async_read(stream_, received_, *parser_,
                     [self = shared_from_this()](ErrorCode error, std::size_t) { self->OnRequest(error); });
}

void Connection::OnRequest(ErrorCode error)
{
    if (!IsOpen())
        return;
    idleTimer_.cancel();
    if (IsMalformed(error))
        return Answer({"?", "?", "", "", ""}, TextResponse(400, "This is no HTTP request"), false);
    if (error)
        return Close();
    const bool keepAlive = parser_->get().keep_alive();
    const HttpRequest request = ToRequest(parser_->release());
    Answer(request, server_.Handle(request), keepAlive);
}

void Connection::Answer(const HttpRequest& request, HttpResponse response, bool keepAlive)
{
    server_.Record({stream_.HasTls() ? "https" : "http", request.method, request.target, response.status});
    if (response.stream && request.method != "HEAD")
        return StartStream(*response.stream);
    if (response.silent)
        return WatchForEnd();
    if (response.delay.count() != 0)
        return After(std::exchange(response.delay, std::chrono::milliseconds(0)),
                     [this, request, response, keepAlive] { Respond(request, response, keepAlive); });
    if (faults_.Active("slow-http", "headers"))
    {
        answer_ = StatusLine(response.status);
        return Send({AsBytes(answer_)}, {}, [this] { FloodHeaders(); });
    }
    Respond(request, response, keepAlive);
}

void Connection::Respond(const HttpRequest& request, const HttpResponse& response, bool keepAlive)
{
    std::size_t length = response.body.size();
    std::string body = request.method == "HEAD" ? "" : response.body;
    if (faults_.Active("slow-http", "short"))
    {
        length += kWrongLengthBytes;
        keepAlive = false;
    }
    else if (faults_.Active("slow-http", "long"))
        body.append(kWrongLengthBytes, '*');

    answer_ = StatusLine(response.status);
    answer_ += "Server: larkmoor-camera\r\nCache-Control: no-cache, no-store\r\n";
    for (const auto& [name, value] : response.headers)
        answer_ += name + ": " + value + "\r\n";
    answer_ += "Content-Type: " + response.contentType + "\r\n";
    answer_ += "Content-Length: " + std::to_string(length) + "\r\n";
    answer_ += std::string("Connection: ") + (keepAlive ? "keep-alive" : "close") + "\r\n\r\n";
    answer_ += body;
    Send({AsBytes(answer_)}, {}, [this, keepAlive] { keepAlive ? ReadRequest() : Close(); });
}

void Connection::FloodHeaders()
{
    if (!faults_.Active("slow-http", "headers"))
        return Close();
    answer_.clear();
    for (std::size_t i = 0; i < kHeaderFloodLines; ++i)
        answer_ += "X-More: " + std::string(60, 'm') + "\r\n";
    Send({AsBytes(answer_)}, {}, [this] { After(kHeaderFloodInterval, [this] { FloodHeaders(); }); });
}

void Connection::StartStream(StreamId id)
{
    WatchForEnd();
    session_ = server_.MakeSession(*this, id);
    session_->Start();
}

void Connection::WatchForEnd()
{
    stream_.async_read_some(boost::asio::buffer(ignored_),
                            [self = shared_from_this()](ErrorCode error, std::size_t)
                            {
                                if (!self->IsOpen())
                                    return;
                                error ? self->Close() : self->WatchForEnd();
                            });
}

bool Connection::ResetIsDue()
{
    // A later count means that the moment has come since this connection began.
    const std::uint32_t before = std::exchange(resetsSeen_, faults_.Occurrences("reset"));
    return before < resetsSeen_;
}

void Connection::Send(Pieces pieces, std::function<void()> whole, std::function<void()> then)
{
    if (!IsOpen())
        return;
    if (ResetIsDue())
        return Write(FirstOf(pieces, SizeOf(pieces) / 2), [this] { Abort(); });
    if (faults_.Active("slow-http", "bytes"))
    {
        dripping_.clear();
        for (const auto& piece : pieces)
            dripping_.append(reinterpret_cast<const char*>(piece.data()), piece.size());
        drippingWhole_ = std::move(whole);
        drippingThen_ = std::move(then);
        return Drip();
    }
    if (whole)
        whole();
    Write(std::move(pieces), std::move(then));
}

void Connection::Drip()
{
    const bool isOver = dripping_.size() <= 1 || !faults_.Active("slow-http", "bytes");
    if (isOver)
    {
        if (drippingWhole_)
            drippingWhole_();
        return Write({AsBytes(dripping_)}, std::move(drippingThen_));
    }
    Write({AsBytes(dripping_).first(1)},
          [this]
          {
              dripping_.erase(0, 1);
              After(kDripInterval, [this] { Drip(); });
          });
}

void Connection::Write(Pieces pieces, std::function<void()> then)
{
    std::vector<boost::asio::const_buffer> buffers;
    for (const auto& piece : pieces)
        buffers.emplace_back(piece.data(), piece.size());
    boost::asio::async_write(stream_, buffers,
                             [self = shared_from_this(), then = std::move(then)](ErrorCode error, std::size_t)
                             {
                                 if (!self->IsOpen())
                                     return;
                                 error ? self->Close() : then();
                             });
}

void Connection::After(std::chrono::milliseconds delay, std::function<void()> then)
{
    timer_.expires_after(delay);
    timer_.async_wait(
        [self = shared_from_this(), then = std::move(then)](ErrorCode error)
        {
            if (!error && self->IsOpen())
                then();
        });
}

void Connection::Stall()
{
    if (!IsOpen())
        return;
    stalled_ = true;
    session_.reset();
    idleTimer_.cancel();
    timer_.cancel();
    ErrorCode ignored;
    stream_.Lowest().cancel(ignored);
}

void Connection::Close()
{
    ErrorCode ignored;
    if (!closed_)
        stream_.Lowest().shutdown(boost::asio::socket_base::shutdown_both, ignored);
    End();
}

void Connection::Abort()
{
    ErrorCode ignored;
    stream_.Lowest().set_option(boost::asio::socket_base::linger(true, 0), ignored);
    End();
}

void Connection::End()
{
    if (std::exchange(closed_, true))
        return;
    session_.reset();
    idleTimer_.cancel();
    timer_.cancel();
    ErrorCode ignored;
    stream_.Lowest().close(ignored);
    server_.Forget(shared_from_this());
}

} // namespace larkmoor::camera
