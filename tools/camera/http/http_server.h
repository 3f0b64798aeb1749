#pragma once

#include "camera/http/connection.h"
#include "camera/http/picture_truth.h"
#include "camera/http/site.h"
#include "camera/log/request_log.h"
#include "camera/media/stream_hub.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>

#include <cstdint>
#include <memory>
#include <set>
#include <string>

namespace larkmoor::camera
{

/// The device's web server. It runs on the one thread of the io_context; all but Open happens there. The
/// faults half-open and reboot are played here.
class HttpServer
{
public:
    struct Parts
    {
        boost::asio::io_context& context;
        FaultPlan& faults;
        RequestLog& requests;
        TruthLog& truth;
        StreamHub& hub;
        Site& site;
        boost::asio::ssl::context* tls; ///< null for plain HTTP
        std::uint64_t seed;
        bool stamps; ///< pictures carry the time of their sending
    };

    /// All parts outlive the server.
    explicit HttpServer(const Parts& parts);

    /// Listens on `port` of `address`, on a free one for 0, and keeps that port also while a reboot is
    /// played. Before the context runs. False says in `error` why not.
    [[nodiscard]] bool Open(const std::string& address, std::uint16_t port, std::string& error);

    std::uint16_t Port() const { return endpoint_.port(); }

    /// Ends all connections and listens no more.
    void Close();

    // For connections.
    FaultPlan& Faults() { return parts_.faults; }
    HttpResponse Handle(const HttpRequest& request) { return parts_.site.Handle(request); }
    void Record(const LoggedRequest& request) { parts_.requests.Record(request); }
    std::unique_ptr<MjpegSession> MakeSession(Connection& connection, StreamId id);
    void Forget(const std::shared_ptr<Connection>& connection) { connections_.erase(connection); }

private:
    bool Listen(boost::system::error_code& error);
    void Accept();
    void Admit(boost::asio::ip::tcp::socket socket);
    void WatchFaults();
    void AbortAll();

    const Parts parts_;
    boost::asio::ip::tcp::endpoint endpoint_;
    boost::asio::ip::tcp::acceptor reservation_; // bound, never listening: nobody else gets the port
    boost::asio::ip::tcp::acceptor acceptor_;
    boost::asio::steady_timer watch_;
    PictureTruth truth_;
    std::set<std::shared_ptr<Connection>> connections_;
    std::uint64_t sessions_ = 0;
    bool rebooting_ = false;
    bool halfOpen_ = false;
    bool closed_ = false;
};

} // namespace larkmoor::camera
