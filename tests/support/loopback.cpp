#include "support/loopback.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>

namespace korvane::test
{

LoopbackListener::LoopbackListener() : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (bind(socket_, reinterpret_cast<sockaddr*>(&address), length) != 0 || listen(socket_, 64) != 0 ||
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

} // namespace korvane::test
