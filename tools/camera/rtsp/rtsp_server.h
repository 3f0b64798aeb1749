#pragma once

#include "camera/rtsp/multicast_groups.h"
#include "camera/rtsp/rtsp_services.h"
#include "camera/rtsp/udp_sender.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>

#include <chrono>
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

    std::uint16_t Port() const { return port_; } ///< that it listens on, also while a fault keeps it from it

    /// Ends all sessions with a BYE and all connections, and listens no more.
    void Stop();

    // For the server's own connections and sessions.
    const RtspOptions& Options() const { return options_; }
    const RtspServices& Services() const { return services_; }
    boost::asio::io_context& Context() { return context_; }
    UdpSender& Udp() { return udp_; }
    MulticastGroups& Groups() { return groups_; }
    SendCounters& Counters() { return counters_; }
    std::string NewSessionId();
    std::uint64_t NextSeed() { return options_.seed * 1'000'003 + ++lastSeed_; }
    /// Counts a request, and gives the status that too many of them in a second get: 503, 401, or 0 for none.
    int BusyStatus();
    void Forget(RtspConnection& connection);

private:
    bool Listen(std::string& error);
    void Accept();
    void Tick();
    void PlayServerFaults();
    void CloseAll(bool politely);
    void ChangePictureSizes(bool change);

    boost::asio::io_context& context_;
    const RtspOptions options_;
    const RtspServices services_;
    boost::asio::ip::tcp::acceptor acceptor_;
    boost::asio::steady_timer tick_;
    UdpSender udp_;
    SendCounters counters_;
    MulticastGroups groups_;
    std::uint16_t port_ = 0;
    std::map<RtspConnection*, std::shared_ptr<RtspConnection>> connections_;
    std::uint64_t lastSeed_ = 0;
    std::chrono::steady_clock::time_point second_;
    std::uint32_t requestsInSecond_ = 0;
    bool down_ = false;     // as long as the fault reboot says
    bool vanished_ = false; // as long as the fault half-open says
    std::uint32_t resets_ = 0;
    std::map<StreamId, VideoSettings> resized_; // what streams were before the fault sps-change
};

} // namespace larkmoor::camera
