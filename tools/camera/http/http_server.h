#pragma once

#include "camera/http/connection.h"
#include "camera/http/mjpeg_session.h"
#include "camera/http/site.h"
#include "camera/log/camera_log.h"
#include "camera/media/stream_hub.h"
#include "camera/net/listener.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

#include <cstdint>
#include <memory>
#include <set>
#include <string>

namespace larkmoor::camera
{

/// The device's web server. It runs on the one thread of the io_context; all but Open happens there.
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

    /// Listens, as Listener does. Before the context runs. False says in `error` why not.
    [[nodiscard]] bool Open(const std::string& address, std::uint16_t port, std::string& error);

    std::uint16_t Port() const { return listener_.Port(); }

    /// Ends all connections and listens no more.
    void Close();

    // For connections.
    FaultPlan& Faults() { return parts_.faults; }
    HttpResponse Handle(const HttpRequest& request) { return parts_.site.Handle(request); }
    void Record(const LoggedRequest& request) { parts_.requests.Record(request); }
    std::unique_ptr<MjpegSession> MakeSession(Connection& connection, StreamId id);
    void Forget(const std::shared_ptr<Connection>& connection) { connections_.erase(connection); }

private:
    void Admit(boost::asio::ip::tcp::socket socket);
    void ForAll(void (Connection::*operation)());

    const Parts parts_;
    Listener listener_;
    PictureTruth truth_;
    std::set<std::shared_ptr<Connection>> connections_;
    std::uint64_t sessions_ = 0;
};

} // namespace larkmoor::camera
