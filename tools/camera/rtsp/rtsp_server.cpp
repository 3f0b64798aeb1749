#include "camera/rtsp/rtsp_server.h"

#include "camera/rtsp/rtsp_connection.h"

#include <algorithm>
#include <cstdio>
#include <utility>
#include <vector>

namespace larkmoor::camera
{
namespace
{

using boost::asio::ip::tcp;

constexpr std::chrono::milliseconds kTick{50};
constexpr std::size_t kMostConnections = 4096;
constexpr double kRequestsASecond = 5; // before the faults of a busy device refuse
constexpr std::uint32_t kSmallestSide = 32;

} // namespace

RtspServer::RtspServer(boost::asio::io_context& context, RtspOptions options, RtspServices services)
    : context_(context),
      options_(std::move(options)),
      services_(std::move(services)),
      acceptor_(context),
      tick_(context),
      udp_(context),
      groups_(context, options_, services_, counters_)
{
}

RtspServer::~RtspServer() = default;

bool RtspServer::Start(std::string& error)
{
    port_ = options_.port;
    if (!udp_.Open(options_.bindAddress, error) || !Listen(error))
        return false;
    udp_.ListenForReports(
        [this](const UdpSender::Endpoint& reporter)
        {
            for (const auto& [key, connection] : connections_)
                connection->Touch(reporter);
        });
    Tick();
    return true;
}

bool RtspServer::Listen(std::string& error)
{
    boost::system::error_code failure;
    const auto address = boost::asio::ip::make_address(options_.bindAddress, failure);
    if (!failure)
        acceptor_.open(tcp::v4(), failure);
    if (!failure)
        acceptor_.set_option(tcp::acceptor::reuse_address(true), failure);
    if (!failure)
        acceptor_.bind({address, port_}, failure);
    if (!failure)
        acceptor_.listen(boost::asio::socket_base::max_listen_connections, failure);
    if (failure)
    {
        error =
            "RTSP port " + std::to_string(port_) + " on " + options_.bindAddress + ": " + failure.message();
        boost::system::error_code ignored;
        acceptor_.close(ignored);
        return false;
    }
    if (port_ == 0) // the same one is taken again later
        port_ = acceptor_.local_endpoint().port();
    Accept();
    return true;
}

void RtspServer::Accept()
{
    acceptor_.async_accept(
        [this](const boost::system::error_code& error, tcp::socket socket)
        {
            if (error == boost::asio::error::operation_aborted || !acceptor_.is_open())
                return;
            Accept();
            boost::system::error_code gone; // a client that left before it was looked at
            tcp::endpoint peer;
            if (!error)
                peer = socket.remote_endpoint(gone);
            if (!error && !gone && connections_.size() < kMostConnections)
            {
                const auto connection = std::make_shared<RtspConnection>(*this, std::move(socket), peer);
                connections_.emplace(connection.get(), connection);
                connection->Start();
                if (vanished_)
                    connection->Vanish();
            }
        });
}

void RtspServer::Stop()
{
    tick_.cancel();
    boost::system::error_code ignored;
    acceptor_.close(ignored);
    CloseAll(true);
    udp_.Close();
}

void RtspServer::CloseAll(bool politely)
{
    const auto connections = std::exchange(connections_, {});
    for (const auto& [key, connection] : connections)
    {
        if (politely)
            connection->Close();
        else
            connection->Reset();
    }
}

void RtspServer::Forget(RtspConnection& connection)
{
    connections_.erase(&connection);
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
    const FaultPlan& faults = services_.faults;
    const auto now = std::chrono::steady_clock::now();
    if (now - second_ >= std::chrono::seconds(1))
    {
        second_ = now;
        requestsInSecond_ = 0;
    }
    ++requestsInSecond_;
    for (const auto& [name, status] : {std::pair{"busy-503", 503}, std::pair{"busy-401", 401}})
    {
        if (faults.Active(name) && requestsInSecond_ > faults.Number(name, kRequestsASecond))
            return status;
    }
    return 0;
}

void RtspServer::Tick()
{
    PlayServerFaults();
    std::vector<std::shared_ptr<RtspConnection>> all; // a connection may end while it is looked after
    for (const auto& [key, connection] : connections_)
        all.push_back(connection);
    for (const auto& connection : all)
        connection->Tick();
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
    if (const bool down = faults.Active("reboot"); down != std::exchange(down_, down))
    {
        boost::system::error_code ignored;
        std::string error;
        if (down)
        {
            acceptor_.close(ignored);
            CloseAll(false);
        }
        else if (!Listen(error))
            down_ = true; // the port is taken for the moment: with the next tick
    }
    if (const bool vanished = faults.Active("half-open"); vanished != std::exchange(vanished_, vanished))
    {
        for (const auto& [key, connection] : connections_)
        {
            if (vanished)
                connection->Vanish();
        }
        if (!vanished)
            CloseAll(false); // whoever is back knows nothing of the old connections
    }
    if (const std::uint32_t resets = faults.Occurrences("reset"); resets != std::exchange(resets_, resets))
    {
        for (const auto& [key, connection] : connections_)
            connection->ResetInTheMiddle();
    }
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
