#pragma once

#include "camera/rtsp/client_sessions.h"
#include "camera/rtsp/connection_writer.h"
#include "camera/rtsp/rtsp_message.h"
#include "camera/rtsp/udp_sender.h"

#include <boost/asio/ip/tcp.hpp>

#include <array>
#include <memory>
#include <optional>
#include <string>

namespace larkmoor::camera
{

class RtspServer;

/// One client's TCP connection with the sessions that it set up; they end with it. On the io_context's
/// thread.
class RtspConnection : public std::enable_shared_from_this<RtspConnection>
{
public:
    /// `server` outlives the connection.
    RtspConnection(RtspServer& server, boost::asio::ip::tcp::socket socket,
                   const boost::asio::ip::tcp::endpoint& peer);
    ~RtspConnection();

    void Start();

    /// Ends all sessions, with a BYE, and the connection.
    void Close();

    // Faults of the whole device.
    void Reset(); ///< ends at once with an RST
    void ResetInTheMiddle()
    {
        writer_->ResetInTheMiddle();
    }              ///< the same, in the middle of the next thing to be sent
    void Vanish(); ///< neither reads nor writes from now on, and stays open

    /// For reports, time-outs and faults that come with time; some times a second.
    void Tick();

    /// A receiver report came from there: sessions of that client are alive.
    void Touch(const UdpSender::Endpoint& reporter) { sessions_.Touch(reporter); }

private:
    void Read();
    void OnBytes(std::size_t count);
    void Handle(const RtspRequest& request);
    std::optional<RtspReply> Answer(const RtspRequest& request);
    std::optional<RtspReply> AnswerOptions(const RtspRequest& request);
    RtspReply Describe(const RtspRequest& request);
    std::optional<RtspTarget> Resolve(std::string_view target) const;
    std::string BaseOf(std::string_view target) const;
    void Send(const RtspReply& reply, const RtspRequest& request, std::string_view cseq);
    void End(bool reset);

    RtspServer& server_;
    boost::asio::ip::tcp::socket socket_;
    const std::string localAddress_;
    std::shared_ptr<ConnectionWriter> writer_;
    RtspRequestReader reader_;
    std::array<std::uint8_t, 4096> input_{};
    ClientSessions sessions_;
    bool vanished_ = false;
    bool ended_ = false;
};

} // namespace larkmoor::camera
