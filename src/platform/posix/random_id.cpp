#include "platform/random_id.h"

#include <cerrno>
#include <sys/random.h>

namespace korvane::platform
{

bool MakeRandomId(std::array<std::uint8_t, 16>& id)
{
    // Requests of up to 256 bytes come whole once the system's pool is ready.
    ssize_t got = -1;
    do
        got = getrandom(id.data(), id.size(), 0);
    while (got < 0 && errno == EINTR);
    if (got == static_cast<ssize_t>(id.size()))
        return true;
    id.fill(0);
    return false;
}

} // namespace korvane::platform
