// A library of its own with a thread in it that is given up while it is away.

#include "platform/thread.h"

#include <semaphore>

namespace
{

std::binary_semaphore away{0};

std::uint32_t StayAway(void*)
{
    const korvane::platform::AwayScope scope;
    away.release();
    std::binary_semaphore never(0); // on the stack, which a halted thread keeps
    never.acquire();
    return 0;
}

} // namespace

extern "C" [[gnu::visibility("default")]] int GiveAThreadUp()
{
    korvane::platform::Thread thread;
    if (!thread.Start(&StayAway, nullptr, "away"))
        return 0;
    away.acquire();
    thread.GiveUp();
    return 1;
}
