#include "support/multicast_network.h"

#include <cstdlib>
#include <sched.h>
#include <thread>

namespace korvane::test
{

bool RunInMulticastNetwork(const std::function<void()>& body)
{
    bool made = false;
    std::thread thread(
        [&]
        {
            made = unshare(CLONE_NEWNET) == 0 &&
                   std::system("ip link set lo up && ip route add 224.0.0.0/4 dev lo src 127.0.0.1") == 0;
            if (made)
                body();
        });
    thread.join();
    return made;
}

} // namespace korvane::test
