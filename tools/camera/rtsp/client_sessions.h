#pragma once

#include "camera/rtsp/connection_writer.h"
#include "camera/rtsp/media_session.h"
#include "camera/rtsp/rtsp_message.h"
#include "camera/rtsp/udp_sender.h"

#include <boost/asio/ip/address.hpp>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace larkmoor::camera
{

class RtspServer;

/// The sessions that one client set up in one connection: the answers to the requests that make, use and end
/// them, and their end when the client gives no sign any more. On the io_context's thread.
class ClientSessions
{
public:
    /// `server` outlives the sessions; media over UDP go to the address `client`.
    ClientSessions(RtspServer& server, boost::asio::ip::address client)
        : server_(server), client_(std::move(client))
    {
    }

    /// Makes a session of `target`. Interleaved media go through `writer`.
    RtspReply SetUp(const RtspRequest& request, const RtspTarget& target,
                    const std::shared_ptr<ConnectionWriter>& writer);

    /// Calls `send` with the answer, before the first packet, unless a fault says otherwise. `address` is
    /// that of the stream, without a slash at its end.
    void Play(const RtspRequest& request, const std::string& address,
              std::function<void(const RtspReply&)> send);

    RtspReply TearDown(const RtspRequest& request);

    /// For requests that do nothing but show that the client is alive.
    RtspReply KeepAlive(const RtspRequest& request);

    /// The request names one of these sessions, one that plays if `playing`.
    bool Has(const RtspRequest& request, bool playing = false);

    /// A receiver report came from there.
    void Touch(const UdpSender::Endpoint& reporter);

    /// For reports, time-outs and faults that come with time; some times a second.
    void Tick();

    /// The connection takes more.
    void OnHungry();

    void Stop();   ///< with a BYE for each
    void Vanish(); ///< without a word
    void Clear() { sessions_.clear(); }

private:
    struct Session
    {
        RtspTarget target;
        bool isAudio = false;
        std::shared_ptr<RtpSession> media;
        bool overTcp = false;
        std::optional<UdpSender::Endpoint> reports; ///< where the client's reports come from; not of a group
        std::chrono::steady_clock::time_point lastSign;
        bool playing = false;
    };
    using Sessions = std::map<std::string, Session>;

    std::shared_ptr<RtpSession> MakeMedia(const TransportRequest& wanted, Session& session,
                                          const std::shared_ptr<ConnectionWriter>& writer,
                                          std::string& transport);
    std::shared_ptr<RtpSession> MakeAudio(const TransportRequest& wanted, Session& session,
                                          const std::shared_ptr<ConnectionWriter>& writer,
                                          std::string& transport);
    std::unique_ptr<PacketOutput> MakeOutput(const TransportRequest& wanted, Session& session,
                                             const std::shared_ptr<ConnectionWriter>& writer,
                                             std::string& transport);
    Sessions::iterator Find(const RtspRequest& request);
    std::chrono::seconds Timeout() const;
    static void StopOne(Session& session);

    RtspServer& server_;
    const boost::asio::ip::address client_;
    Sessions sessions_; // by session identifier
};

} // namespace larkmoor::camera
