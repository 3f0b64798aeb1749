#pragma once

#include "camera/net/listener.h"
#include "camera/rtsp/multicast_groups.h"
#include "camera/rtsp/rtsp_services.h"
#include "camera/rtsp/udp_sender.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace larkmoor::camera
{

class RtspConnection;

/// An RTSP 1.0 server (RFC 2326) that sends the hub's streams over RTP (RFC 3550): DESCRIBE, SETUP, PLAY,
/// OPTIONS, GET_PARAMETER and TEARDOWN; unicast over UDP, interleaved in the RTSP connection, and multicast.
/// It serves on the one thread that runs the io_context, and belongs to it but for its construction and
/// destruction, which come before and after the io_context runs.
class RtspServer
{
public:
    RtspServer(boost::asio::io_context& context, RtspOptions options, RtspServices services);
    ~RtspServer();

    /// Listens. False says in `error` why not.
    [[nodiscard]] bool Start(std::string& error);

    std::uint16_t Port() const { return listener_.Port(); }

    /// Ends all sessions with a BYE and all connections, and listens no more.
    void Stop();

    // For the server's own connections and sessions.
    const RtspOptions& Options() const { return options_; }
    const RtspServices& Services() const { return services_; }
    boost::asio::io_context& Context() { return context_; }
    UdpSender& Udp() { return udp_; }
    MulticastGroups& Groups() { return groups_; }
    std::string NewSessionId();
    std::uint64_t NextSeed() { return options_.seed * 1'000'003 + ++lastSeed_; }
    /// Counts a request, and gives the status that too many of them in a second get: 503, 401, or 0 for none.
    int BusyStatus();
    void Forget(RtspConnection& connection) { connections_.erase(&connection); }

private:
    void Admit(boost::asio::ip::tcp::socket socket);
    void ForAll(void (RtspConnection::*operation)());
    void Tick();
    void PlayServerFaults();
    void ChangePictureSizes(bool change);

    boost::asio::io_context& context_;
    const RtspOptions options_;
    const RtspServices services_;
    Listener listener_;
    boost::asio::steady_timer tick_;
    UdpSender udp_;
    MulticastGroups groups_;
    std::map<RtspConnection*, std::shared_ptr<RtspConnection>> connections_;
    std::uint64_t lastSeed_ = 0;
    RequestRate rate_;
    std::uint32_t resets_ = 0;
    std::map<StreamId, VideoSettings> resized_; // what streams were before the fault sps-change
};

} // namespace larkmoor::camera
