#include "camera/net/listener.h"

#include <boost/asio/ip/address.hpp>

#include <chrono>
#include <memory>
#include <utility>

namespace larkmoor::camera
{

namespace
{

using boost::asio::ip::tcp;
using ErrorCode = boost::system::error_code;

constexpr std::chrono::milliseconds kFaultLook(20);
constexpr std::chrono::milliseconds kAcceptPause(100);
constexpr double kUsualLimit = 5; // requests a second, for the busy faults

bool Bind(tcp::acceptor& acceptor, const tcp::endpoint& endpoint, ErrorCode& error)
{
    acceptor.open(endpoint.protocol(), error);
    if (!error)
        acceptor.set_option(tcp::acceptor::reuse_address(true), error);
    if (!error)
        acceptor.bind(endpoint, error);
    return !error;
}

} // namespace

Listener::Listener(boost::asio::io_context& context, const FaultPlan& faults, Server server)
    : context_(context),
      faults_(faults),
      server_(std::move(server)),
      reservation_(context),
      acceptor_(context),
      watch_(context)
{
}

bool Listener::Open(const std::string& address, std::uint16_t port, ErrorCode& error)
{
    const auto ip = boost::asio::ip::make_address(address, error);
    if (!error && Bind(reservation_, {ip, port}, error))
        endpoint_ = reservation_.local_endpoint(error);
    if (error || !Listen(error))
        return false;
    WatchFaults();
    return true;
}

bool Listener::Listen(ErrorCode& error)
{
    if (Bind(acceptor_, endpoint_, error))
        acceptor_.listen(boost::asio::socket_base::max_listen_connections, error);
    if (error)
    {
        ErrorCode ignored;
        acceptor_.close(ignored);
        return false;
    }
    Accept();
    return true;
}

void Listener::Accept()
{
    acceptor_.async_accept(
        [this](ErrorCode error, Socket socket)
        {
            if (error == boost::asio::error::operation_aborted)
                return;
            if (!error)
            {
                server_.admit(std::move(socket));
                return Accept();
            }
            // Out of descriptors, most likely: they come back when clients leave.
            const auto pause = std::make_shared<boost::asio::steady_timer>(context_, kAcceptPause);
            pause->async_wait(
                [this, pause](ErrorCode)
                {
                    if (acceptor_.is_open())
                        Accept();
                });
        });
}

void Listener::WatchFaults()
{
    const bool wasHalfOpen = std::exchange(halfOpen_, faults_.Active("half-open"));
    if (halfOpen_ && !wasHalfOpen)
        server_.stallAll();
    // What a vanished peer still gets after its return it answers with a reset.
    if (wasHalfOpen && !halfOpen_)
        server_.abortAll();

    const bool wasRebooting = std::exchange(rebooting_, faults_.Active("reboot"));
    ErrorCode error;
    if (rebooting_ && !wasRebooting)
    {
        acceptor_.close(error);
        server_.abortAll();
    }
    if (wasRebooting && !rebooting_ && !Listen(error))
        rebooting_ = true; // to be tried again
    watch_.expires_after(kFaultLook);
    watch_.async_wait(
        [this](ErrorCode cancelled)
        {
            if (!cancelled && !closed_)
                WatchFaults();
        });
}

void Listener::Close()
{
    closed_ = true;
    ErrorCode ignored;
    watch_.cancel();
    acceptor_.close(ignored);
    reservation_.close(ignored);
}

void RequestRate::Count()
{
    const FaultPlan::Clock::time_point now = FaultPlan::Clock::now();
    if (now - second_ >= std::chrono::seconds(1))
    {
        second_ = now;
        inSecond_ = 0;
    }
    ++inSecond_;
}

bool RequestRate::IsTooHigh(const char* fault) const
{
    return faults_.Active(fault) && inSecond_ > faults_.Number(fault, kUsualLimit);
}

} // namespace larkmoor::camera
