#include "host/base/web_probe.h"

#include <cerrno>
#include <cstring>
#include <memory>
#include <string_view>

#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace larkmoor::host
{

namespace
{

using Clock = std::chrono::steady_clock;

class Socket
{
public:
    explicit Socket(int handle) : handle_(handle) {}
    ~Socket() { close(handle_); }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    int Handle() const { return handle_; }

    bool WaitFor(short what, Clock::time_point until) const
    {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now());
        pollfd entry{handle_, what, 0};
        return left.count() > 0 && poll(&entry, 1, static_cast<int>(left.count())) == 1;
    }

    int Error() const
    {
        int error = 0;
        socklen_t size = sizeof error;
        getsockopt(handle_, SOL_SOCKET, SO_ERROR, &error, &size);
        return error;
    }

private:
    const int handle_;
};

std::string Ask(const Socket& connection, Clock::time_point until)
{
    static constexpr std::string_view kRequest = "HEAD / HTTP/1.0\r\n\r\n";
    char answer = 0;
    if (send(connection.Handle(), kRequest.data(), kRequest.size(), MSG_NOSIGNAL) < 0)
        return std::strerror(errno);
    if (!connection.WaitFor(POLLIN, until))
        return "it takes a connection, but does not answer";
    return recv(connection.Handle(), &answer, 1, 0) == 1 ? "" : "it hangs up without an answer";
}

std::string Probe(const addrinfo& target, Clock::time_point until)
{
    const int handle = socket(target.ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (handle < 0)
        return std::strerror(errno);
    const Socket connection(handle);
    if (connect(handle, target.ai_addr, target.ai_addrlen) != 0)
    {
        if (errno != EINPROGRESS)
            return std::strerror(errno);
        if (!connection.WaitFor(POLLOUT, until))
            return "no answer";
        if (const int error = connection.Error())
            return std::strerror(error);
    }
    return Ask(connection, until);
}

} // namespace

std::string ProbeWebServer(const std::string& address, std::uint16_t port, std::chrono::milliseconds patience)
{
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (const int error = getaddrinfo(address.c_str(), std::to_string(port).c_str(), &hints, &found))
        return gai_strerror(error);
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> owner(found, &freeaddrinfo);
    return Probe(*found, Clock::now() + patience);
}

} // namespace larkmoor::host
