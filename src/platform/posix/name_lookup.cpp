#include "platform/socket.h"

#include <memory>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include "platform/thread.h"

namespace korvane::platform
{

std::uint32_t LookUpIPv4(const std::string& name)
{
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    {
        // A copy: the caller's name may be gone when a slow resolver comes back.
        const std::string ownName(name.begin(), name.end());
        const AwayScope away;
        // getaddrinfo and not gethostbyname: the latter answers all threads from one static buffer.
        if (getaddrinfo(ownName.c_str(), nullptr, &hints, &found) != 0 || found == nullptr)
            return 0;
    }
    const std::unique_ptr<addrinfo, void (*)(addrinfo*)> owner(found, freeaddrinfo);
    return reinterpret_cast<const sockaddr_in*>(found->ai_addr)->sin_addr.s_addr;
}

} // namespace korvane::platform
