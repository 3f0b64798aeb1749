#include "support/loopback.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <thread>

namespace korvane::test
{

LoopbackListener::LoopbackListener(int backlog) : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (bind(socket_, reinterpret_cast<sockaddr*>(&address), length) != 0 || listen(socket_, backlog) != 0 ||
        getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        throw std::runtime_error("no port for the test server");
    port_ = ntohs(address.sin_port);
}

LoopbackListener::~LoopbackListener()
{
    close(socket_);
}

int LoopbackListener::Accept() const
{
    return accept4(socket_, nullptr, nullptr, SOCK_CLOEXEC);
}

void LoopbackListener::End() const
{
    shutdown(socket_, SHUT_RDWR);
}

BlackHole::BlackHole()
{
    if (!filler_.OpenStream() || !filler_.BeginConnect(platform::MakeSocketAddress(kLoopback, Port())) ||
        filler_.WaitConnected(kPatienceMs) != platform::WaitResult::kSignalled)
        throw std::runtime_error("the listening port could not be filled");
}

bool BlackHole::WaitForConnection() const
{
    char wanted[32]; // in the table: peer and state SYN_SENT
    std::snprintf(wanted, sizeof wanted, " 0100007F:%04X 02 ", unsigned{Port()});
    for (const auto end = std::chrono::steady_clock::now() + kPatience;
         std::chrono::steady_clock::now() < end;)
    {
        std::ifstream table("/proc/net/tcp");
        const std::string text((std::istreambuf_iterator<char>(table)), {});
        if (text.find(wanted) != std::string::npos)
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

} // namespace korvane::test
