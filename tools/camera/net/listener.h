#pragma once

#include "camera/fault/fault_plan.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>

#include <cstdint>
#include <functional>
#include <string>

namespace larkmoor::camera
{

/// A port of the device on which clients come in, with what goes wrong there: the faults half-open and
/// reboot. It runs on the one thread of the io_context; all but Open happens there.
class Listener
{
public:
    using Socket = boost::asio::ip::tcp::socket;

    /// What the server that listens does.
    struct Server
    {
        std::function<void(Socket)> admit; ///< takes a client in, stalled while IsHalfOpen
        std::function<void()> stallAll;    ///< has all connections neither read nor write, but stay open
        std::function<void()> abortAll;    ///< ends all connections with a reset
    };

    /// All outlive the listener.
    Listener(boost::asio::io_context& context, const FaultPlan& faults, Server server);

    /// Listens on `port` of `address`, on a free one for 0, and keeps that port also while a reboot is
    /// played. False says in `error` why not.
    [[nodiscard]] bool Open(const std::string& address, std::uint16_t port, boost::system::error_code& error);

    std::uint16_t Port() const { return endpoint_.port(); }
    bool IsHalfOpen() const { return halfOpen_; }

    void Close(); ///< listens no more

private:
    bool Listen(boost::system::error_code& error);
    void Accept();
    void WatchFaults();

    boost::asio::io_context& context_;
    const FaultPlan& faults_;
    const Server server_;
    boost::asio::ip::tcp::endpoint endpoint_;
    boost::asio::ip::tcp::acceptor reservation_; // bound, never listening: nobody else gets the port
    boost::asio::ip::tcp::acceptor acceptor_;
    boost::asio::steady_timer watch_;
    bool rebooting_ = false;
    bool halfOpen_ = false;
    bool closed_ = false;
};

/// Counts requests, for the faults busy-503 and busy-401. One thread.
class RequestRate
{
public:
    explicit RequestRate(const FaultPlan& faults) : faults_(faults) {}

    void Count();                            ///< one more
    bool IsTooHigh(const char* fault) const; ///< for the fault, if it is played: above so many a second

private:
    const FaultPlan& faults_;
    FaultPlan::Clock::time_point second_{}; // when the present one began
    std::uint32_t inSecond_ = 0;            // requests since then
};

} // namespace larkmoor::camera
