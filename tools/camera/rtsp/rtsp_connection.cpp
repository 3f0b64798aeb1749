#include "camera/rtsp/rtsp_connection.h"

#include "camera/rtsp/rtsp_server.h"
#include "camera/rtsp/rtsp_target.h"
#include "camera/rtsp/session_description.h"

#include <utility>

namespace larkmoor::camera
{
namespace
{

using boost::asio::ip::tcp;

constexpr const char* kMethods = "OPTIONS, DESCRIBE, SETUP, PLAY, GET_PARAMETER, TEARDOWN";

} // namespace

RtspConnection::RtspConnection(RtspServer& server, tcp::socket socket, const tcp::endpoint& peer)
    : server_(server),
      socket_(std::move(socket)),
      localAddress_(socket_.local_endpoint().address().to_string()),
      sessions_(server, peer.address())
{
}

RtspConnection::~RtspConnection()
{
    if (writer_)
        writer_->Mute();
}

void RtspConnection::Start()
{
    boost::system::error_code ignored;
    socket_.set_option(tcp::no_delay(true), ignored);
    socket_.non_blocking(true, ignored);
    const auto weak = weak_from_this();
    writer_ = std::make_shared<ConnectionWriter>(
        socket_, server_.Options().queueBytes,
        [weak]
        {
            if (const auto self = weak.lock())
                self->sessions_.OnHungry();
        },
        [weak]
        {
            if (const auto self = weak.lock())
                self->End(true);
        });
    Read();
}

void RtspConnection::Read()
{
    if (vanished_ || ended_)
        return;
    socket_.async_read_some(
        boost::asio::buffer(input_),
        [self = shared_from_this()](const boost::system::error_code& error, std::size_t count)
        {
            if (self->ended_ || self->vanished_)
                return;
            if (error)
                self->End(false);
            else
                self->OnBytes(count);
        });
}

void RtspConnection::OnBytes(std::size_t count)
{
    reader_.Append(std::span(input_).first(count));
    for (;;)
    {
        const RtspRequestReader::Item item = reader_.Next();
        if (item == RtspRequestReader::Item::None)
            break;
        if (item == RtspRequestReader::Item::Broken)
        {
            writer_->AddText(RtspReply(400).Text("0"));
            Close();
            return;
        }
        if (item == RtspRequestReader::Item::Request)
            Handle(RtspRequest(reader_.Last()));
        if (ended_ || vanished_)
            return;
    }
    Read();
}

void RtspConnection::Send(const RtspReply& reply, const RtspRequest& request, std::string_view cseq)
{
    server_.Services().requests.Record({"rtsp", request.method, request.target, reply.Status()});
    writer_->AddText(reply.Text(cseq));
}

void RtspConnection::Handle(const RtspRequest& request)
{
    const RtspServices& services = server_.Services();
    const std::string cseq(request.Header("CSeq"));
    if (const int busy = server_.BusyStatus(); busy != 0)
    {
        Send(RtspReply(busy), request, cseq);
        return;
    }
    if (request.method != "OPTIONS")
    {
        const auto verdict =
            services.authenticator.Check(request.method, request.target, request.Header("Authorization"));
        if (!verdict.granted)
        {
            RtspReply reply(401);
            for (const std::string& challenge : verdict.challenges)
                reply.Header("WWW-Authenticate", challenge);
            Send(reply, request, cseq);
            return;
        }
    }
    if (request.method == "OPTIONS" && services.faults.Active("keepalive-400") && sessions_.Has(request))
    {
        Send(RtspReply(400), request, "4711");
        return;
    }
    if (const auto reply = Answer(request))
        Send(*reply, request, cseq);
}

std::optional<RtspReply> RtspConnection::Answer(const RtspRequest& request)
{
    if (request.method == "OPTIONS")
        return AnswerOptions(request);
    if (request.method == "DESCRIBE")
        return Describe(request);
    if (request.method == "SETUP")
    {
        const auto target = Resolve(request.target);
        return target ? sessions_.SetUp(request, *target, writer_) : RtspReply(404);
    }
    if (request.method == "PLAY")
    {
        sessions_.Play(request, BaseOf(request.target),
                       [weak = weak_from_this(), request](const RtspReply& reply)
                       {
                           if (const auto self = weak.lock())
                               self->Send(reply, request, request.Header("CSeq"));
                       });
        return std::nullopt;
    }
    if (request.method == "TEARDOWN")
        return sessions_.TearDown(request);
    if (request.method == "GET_PARAMETER")
        return sessions_.KeepAlive(request);
    return RtspReply(501).Header("Public", kMethods);
}

std::optional<RtspReply> RtspConnection::AnswerOptions(const RtspRequest& request)
{
    if (sessions_.Has(request, true) && server_.Services().faults.Active("keepalive-silent"))
    {
        server_.Services().requests.Record({"rtsp", request.method, request.target, 0});
        return std::nullopt;
    }
    (void)sessions_.KeepAlive(request); // a sign of life whatever the answer
    return RtspReply(200).Header("Public", kMethods);
}

std::optional<RtspTarget> RtspConnection::Resolve(std::string_view target) const
{
    return server_.Services().resolve(PathOf(target));
}

/// The address of the stream that `target` names, without a slash at its end.
std::string RtspConnection::BaseOf(std::string_view target) const
{
    return "rtsp://" + localAddress_ + ":" + std::to_string(server_.Port()) + "/" +
           std::string(PathOf(target));
}

RtspReply RtspConnection::Describe(const RtspRequest& request)
{
    const FaultPlan& faults = server_.Services().faults;
    const auto target = Resolve(request.target);
    if (!target)
        return RtspReply(404);
    const auto stream = server_.Services().hub.Stream(target->id);
    const VideoSettings settings = stream->Settings();
    const auto sets = stream->Parameters();
    if (!sets)
        return RtspReply(500);

    const std::string path = "/" + std::string(PathOf(request.target));
    const std::string base = BaseOf(request.target);
    const auto controlOf = [&](std::string_view track) {
        return (faults.Active("base-odd", "absolute-control") ? base + "/" : std::string()) +
               std::string(track);
    };
    RtspReply reply(200);
    if (faults.Active("base-odd", "no-scheme"))
        reply.Header("Content-Base", path + "/");
    else if (faults.Active("base-odd", "no-slash"))
        reply.Header("Content-Base", base);
    else if (!faults.Active("base-odd", "absent"))
        reply.Header("Content-Base", base + "/");
    std::string description =
        DescribeVideo({*target, localAddress_, controlOf(kVideoTrack), *sets, settings.frameRate,
                       MediaSession::PayloadTypeOf(settings.codec), settings.codec},
                      faults);
    if (const auto audio = server_.Services().hub.FindAudio(target->id))
        description += DescribeAudio(audio->Settings(), audio->Config(), controlOf(kAudioTrack));
    return reply.Body("application/sdp", description);
}

void RtspConnection::Tick()
{
    if (!vanished_ && !ended_)
        sessions_.Tick();
}

void RtspConnection::Close()
{
    sessions_.Stop();
    End(false);
}

void RtspConnection::Reset()
{
    sessions_.Vanish();
    End(true);
}

void RtspConnection::Vanish()
{
    vanished_ = true;
    writer_->Mute();
    boost::system::error_code ignored;
    socket_.cancel(ignored);
    sessions_.Vanish();
}

void RtspConnection::End(bool reset)
{
    if (std::exchange(ended_, true))
        return;
    sessions_.Clear();
    writer_->Close(reset);
    server_.Forget(*this);
}

} // namespace larkmoor::camera
