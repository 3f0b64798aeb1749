#include "camera/rtsp/client_sessions.h"

#include "camera/rtsp/audio_session.h"
#include "camera/rtsp/connection_writer.h"
#include "camera/rtsp/rtsp_server.h"
#include "camera/rtsp/rtsp_target.h"

#include <cstdio>
#include <utility>

namespace larkmoor::camera
{
namespace
{

constexpr std::chrono::seconds kShortSession{8};
constexpr std::size_t kMostSessions = 16; // of one connection

std::string SsrcText(std::uint32_t ssrc)
{
    char text[9];
    std::snprintf(text, sizeof text, "%08X", static_cast<unsigned>(ssrc));
    return text;
}

std::string PortPair(std::uint32_t first)
{
    return std::to_string(first) + "-" + std::to_string(first + 1);
}

} // namespace

std::chrono::seconds ClientSessions::Timeout() const
{
    return server_.Services().faults.Active("session-short") ? kShortSession
                                                             : server_.Options().sessionTimeout;
}

RtspReply ClientSessions::SetUp(const RtspRequest& request, const RtspTarget& target,
                                const std::shared_ptr<ConnectionWriter>& writer)
{
    if (sessions_.size() >= kMostSessions)
        return RtspReply(503);
    for (const TransportRequest& wanted : ParseTransport(request.Header("Transport")))
    {
        Session session;
        session.target = target;
        session.isAudio = NamesAudio(request.target);
        session.lastSign = std::chrono::steady_clock::now();
        std::string transport;
        session.media = MakeMedia(wanted, session, writer, transport);
        if (!session.media)
            continue;
        const std::string id = server_.NewSessionId();
        sessions_.emplace(id, std::move(session));
        return RtspReply(200)
            .Header("Transport", transport)
            .Header("Session", id + ";timeout=" + std::to_string(Timeout().count()));
    }
    return RtspReply(461);
}

std::shared_ptr<RtpSession> ClientSessions::MakeAudio(const TransportRequest& wanted, Session& session,
                                                      const std::shared_ptr<ConnectionWriter>& writer,
                                                      std::string& transport)
{
    const auto stream = server_.Services().hub.FindAudio(session.target.id);
    if (!stream || wanted.multicast)
        return nullptr;
    auto output = MakeOutput(wanted, session, writer, transport);
    if (!output)
        return nullptr;
    auto media = std::make_shared<AudioSession>(server_.Options(), server_.Services(), stream,
                                                std::move(output), server_.NextSeed());
    transport += ";ssrc=" + SsrcText(media->Ssrc());
    return media;
}

std::shared_ptr<RtpSession> ClientSessions::MakeMedia(const TransportRequest& wanted, Session& session,
                                                      const std::shared_ptr<ConnectionWriter>& writer,
                                                      std::string& transport)
{
    if (session.isAudio)
        return MakeAudio(wanted, session, writer, transport);
    const RtspServices& services = server_.Services();
    const auto stream = services.hub.Stream(session.target.id);
    const auto sets = stream->Parameters();
    ParameterSets described;
    if (sets && !services.faults.Active("sprop-missing"))
        described = *sets;

    if (wanted.multicast)
    {
        const RtspTarget& target = session.target;
        transport = "RTP/AVP;multicast;destination=" + target.group + ";port=" + PortPair(target.port) +
                    ";ttl=" + std::to_string(target.ttl);
        return server_.Groups().Join(target, described, server_.NextSeed());
    }
    auto output = MakeOutput(wanted, session, writer, transport);
    if (!output)
        return nullptr;
    auto media =
        std::make_shared<MediaSession>(server_.Options(), services,
                                       MediaSession::Setup{server_.Context(), stream, std::move(output),
                                                           std::move(described), server_.NextSeed()});
    transport += ";ssrc=" + SsrcText(media->Ssrc());
    return media;
}

std::unique_ptr<PacketOutput> ClientSessions::MakeOutput(const TransportRequest& wanted, Session& session,
                                                         const std::shared_ptr<ConnectionWriter>& writer,
                                                         std::string& transport)
{
    if (wanted.overTcp)
    {
        // Several sessions of one connection get neighbouring channels unless the client says which.
        const auto channel =
            wanted.hasChannels ? wanted.rtpChannel : static_cast<std::uint8_t>(2 * sessions_.size());
        session.overTcp = true;
        transport = "RTP/AVP/TCP;unicast;interleaved=" + PortPair(channel);
        return std::make_unique<InterleavedOutput>(writer, channel, server_.Services().faults);
    }
    if (!wanted.hasPorts)
        return nullptr;
    session.reports = UdpSender::Endpoint(client_, wanted.rtcpPort);
    transport = "RTP/AVP;unicast;client_port=" + std::to_string(wanted.rtpPort) + "-" +
                std::to_string(wanted.rtcpPort) + ";server_port=" + PortPair(server_.Udp().RtpPort());
    return std::make_unique<UdpOutput>(server_.Udp(), UdpSender::Endpoint(client_, wanted.rtpPort),
                                       *session.reports);
}

ClientSessions::Sessions::iterator ClientSessions::Find(const RtspRequest& request)
{
    std::string_view id = request.Header("Session");
    id = id.substr(0, id.find(';'));
    return sessions_.find(std::string(id));
}

bool ClientSessions::Has(const RtspRequest& request, bool playing)
{
    const auto session = Find(request);
    return session != sessions_.end() && (session->second.playing || !playing);
}

void ClientSessions::Play(const RtspRequest& request, const std::string& address,
                          std::function<void(const RtspReply&)> send)
{
    const auto found = Find(request);
    if (found == sessions_.end())
    {
        send(RtspReply(454));
        return;
    }
    Session& session = found->second;
    session.playing = true;
    session.lastSign = std::chrono::steady_clock::now();
    RtspReply reply(200);
    reply.Header("Session", found->first).Header("Range", "npt=0.000-");
    if (session.reports || session.overTcp) // a group may have been under way for long
        reply.Header("RTP-Info", "url=" + address + "/" +
                                     std::string(session.isAudio ? kAudioTrack : kVideoTrack) +
                                     ";seq=" + std::to_string(session.media->FirstSequence()) +
                                     ";rtptime=" + std::to_string(session.media->FirstTimestamp()));
    if (server_.Services().faults.Active("interleaved-early") && session.overTcp)
    {
        session.media->Play([send = std::move(send), reply] { send(reply); });
        return;
    }
    send(reply);
    session.media->Play();
}

/// A group goes on while others are in it; its last member's end is its own.
void ClientSessions::StopOne(Session& session)
{
    if (session.media.use_count() == 1)
        session.media->Stop();
}

RtspReply ClientSessions::TearDown(const RtspRequest& request)
{
    const auto session = Find(request);
    if (session == sessions_.end())
        return RtspReply(454);
    StopOne(session->second);
    sessions_.erase(session);
    return RtspReply(200);
}

RtspReply ClientSessions::KeepAlive(const RtspRequest& request)
{
    const auto session = Find(request);
    if (session == sessions_.end())
        return RtspReply(request.Header("Session").empty() ? 200 : 454);
    session->second.lastSign = std::chrono::steady_clock::now();
    return RtspReply(200).Header("Session", session->first);
}

void ClientSessions::Touch(const UdpSender::Endpoint& reporter)
{
    for (auto& [id, session] : sessions_)
    {
        if (session.reports == reporter)
            session.lastSign = std::chrono::steady_clock::now();
    }
}

void ClientSessions::Tick()
{
    const auto now = std::chrono::steady_clock::now();
    for (auto session = sessions_.begin(); session != sessions_.end();)
    {
        // An interleaved session lives as long as its connection takes its data.
        if (!session->second.overTcp && now - session->second.lastSign > Timeout())
        {
            StopOne(session->second);
            session = sessions_.erase(session);
            continue;
        }
        if (session->second.reports || session->second.overTcp) // groups tick by themselves
            session->second.media->Tick();
        ++session;
    }
}

void ClientSessions::OnHungry()
{
    for (auto& [id, session] : sessions_)
        session.media->OnHungry();
}

void ClientSessions::Stop()
{
    for (auto& [id, session] : sessions_)
        StopOne(session);
}

void ClientSessions::Vanish()
{
    for (auto& [id, session] : sessions_)
    {
        if (session.media.use_count() == 1)
            session.media->Vanish();
    }
}

} // namespace larkmoor::camera
