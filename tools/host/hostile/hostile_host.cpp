#include "host/hostile/hostile_host.h"

#include <cstdlib>
#include <cstring>

namespace larkmoor::host
{

void HostileSink::WriteMessage(CDebugInfoIf* message)
{
    constexpr const char* kThreadId = "Thread (id=";
    const char* const text = message->GetMessage();
    const char* const id = text == nullptr ? nullptr : std::strstr(text, kThreadId);
    if (id != nullptr && std::strstr(text, "will be terminated!") != nullptr)
    {
        const std::lock_guard guard(lock_);
        givenUp_.push_back(static_cast<pid_t>(std::strtol(id + std::strlen(kThreadId), nullptr, 10)));
    }
    side_.Hear(Operation::WriteMessage);
}

std::vector<pid_t> HostileSink::GivenUp() const
{
    const std::lock_guard guard(lock_);
    return givenUp_;
}

bool HostileClient::Take(Operation operation, const IHostFrame* frame)
{
    if (!allocator_.Holds(frame))
        side_.Fault("delivery of a frame that the driver does not hold");
    return side_.Answer(operation, true);
}

} // namespace larkmoor::host
