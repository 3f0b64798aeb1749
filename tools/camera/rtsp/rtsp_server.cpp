#include "camera/rtsp/rtsp_server.h"

#include "camera/rtsp/rtsp_connection.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace larkmoor::camera
{
namespace
{

using boost::asio::ip::tcp;

constexpr std::chrono::milliseconds kTick{50};
constexpr std::size_t kMostConnections = 4096;
constexpr std::uint32_t kSmallestSide = 32;

} // namespace

RtspServer::RtspServer(boost::asio::io_context& context, RtspOptions options, RtspServices services)
    : context_(context),
      options_(std::move(options)),
      services_(std::move(services)),
      listener_(context, services_.faults,
                {[this](tcp::socket socket) { Admit(std::move(socket)); },
                 [this] { ForAll(&RtspConnection::Vanish); }, [this] { ForAll(&RtspConnection::Reset); }}),
      tick_(context),
      udp_(context),
      groups_(context, options_, services_),
      rate_(services_.faults)
{
}

RtspServer::~RtspServer() = default;

bool RtspServer::Start(std::string& error)
{
    if (!udp_.Open(options_.bindAddress, error))
        return false;
    boost::system::error_code failure;
    if (!listener_.Open(options_.bindAddress, options_.port, failure))
    {
        error = "RTSP port " + std::to_string(options_.port) + " on " + options_.bindAddress + ": " +
                failure.message();
        return false;
    }
    udp_.ListenForReports(
        [this](const UdpSender::Endpoint& reporter)
        {
            for (const auto& [key, connection] : connections_)
                connection->Touch(reporter);
        });
    Tick();
    return true;
}

void RtspServer::Admit(tcp::socket socket)
{
    boost::system::error_code gone; // a client that left before it was looked at
    const tcp::endpoint peer = socket.remote_endpoint(gone);
    if (gone || connections_.size() >= kMostConnections)
        return;
    const auto connection = std::make_shared<RtspConnection>(*this, std::move(socket), peer);
    connections_.emplace(connection.get(), connection);
    connection->Start();
    if (listener_.IsHalfOpen())
        connection->Vanish();
}

void RtspServer::Stop()
{
    tick_.cancel();
    listener_.Close();
    ForAll(&RtspConnection::Close);
    udp_.Close();
}

void RtspServer::ForAll(void (RtspConnection::*operation)())
{
    for (const auto& [key, connection] : std::map(connections_)) // one that ends takes itself out
        ((*connection).*operation)();
}

std::string RtspServer::NewSessionId()
{
    Dice dice(NextSeed(), "session");
    char text[17];
    std::snprintf(text, sizeof text, "%08X%08X", static_cast<unsigned>(dice.Below(0xFFFFFFFF)),
                  static_cast<unsigned>(lastSeed_));
    return text;
}

int RtspServer::BusyStatus()
{
    rate_.Count();
    return rate_.IsTooHigh("busy-503") ? 503 : rate_.IsTooHigh("busy-401") ? 401 : 0;
}

void RtspServer::Tick()
{
    PlayServerFaults();
    ForAll(&RtspConnection::Tick);
    groups_.Tick();
    tick_.expires_after(kTick);
    tick_.async_wait(
        [this](const boost::system::error_code& error)
        {
            if (!error)
                Tick();
        });
}

void RtspServer::PlayServerFaults()
{
    const FaultPlan& faults = services_.faults;
    if (const std::uint32_t resets = faults.Occurrences("reset"); resets != std::exchange(resets_, resets))
        ForAll(&RtspConnection::ResetInTheMiddle);
    ChangePictureSizes(faults.Active("sps-change"));
}

/// sps-change: streams have half their size while the fault lasts.
void RtspServer::ChangePictureSizes(bool change)
{
    if (!change && resized_.empty())
        return;
    for (const auto& stream : services_.hub.Streams())
    {
        const auto before = resized_.find(stream->Id());
        if (change && before == resized_.end())
        {
            VideoSettings settings = stream->Settings();
            resized_.emplace(stream->Id(), settings);
            settings.width = std::max(kSmallestSide, settings.width / 2);
            settings.height = std::max(kSmallestSide, settings.height / 2);
            stream->Configure(settings);
        }
        else if (!change && before != resized_.end())
            stream->Configure(before->second);
    }
    if (!change)
        resized_.clear();
}

} // namespace larkmoor::camera
