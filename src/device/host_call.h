#pragma once

#include "platform/held_locks.h"
#include "platform/reserve.h"
#include "platform/thread.h"
#include "runtime/guarded.h"

#include <optional>
#include <stdexcept>
#include <type_traits>
#include <utility>

namespace korvane
{

/// Around each call into one of the host's objects, and nothing else: every such call of the driver is made
/// in a scope of its own, by `CallHost` or `TClientGate`.
///
/// The thread may be given up while the host has it (platform/thread.h). So the call uses only what is on the
/// thread's own stack and what is the host's; and it is one call, for what the driver does around it must not
/// run on a thread that was given up. No lock of the driver is held here, and no thread calls that must read
/// a socket whatever the host does: debug builds check both.
class HostCallScope
{
public:
    HostCallScope() { platform::HeldLocks::CheckHostCall(); }

private:
    platform::Reserve::Use none_{nullptr}; // before the scope, from which a thread may not come back
    platform::AwayScope away_;
};

/// Makes one call into the host, and gives its result, or `failure` if the host threw.
template <class Result, class Call>
Result CallHost(Result failure, Call&& call) noexcept
{
    return Guarded(std::move(failure),
                   [&call]
                   {
                       const HostCallScope scope;
                       return std::forward<Call>(call)();
                   });
}

/// The same for a call without a result: true if it returned.
template <class Call>
bool CallHost(Call&& call) noexcept
{
    return CallHost(false,
                    [&call]
                    {
                        std::forward<Call>(call)();
                        return true;
                    });
}

/// The same where a failure ends the whole operation, such as the reading of settings: throws, outside of the
/// gate, if the host threw.
template <class Call>
auto AskHost(Call&& call)
{
    using Answer = std::optional<std::invoke_result_t<Call>>;
    const Answer answer = CallHost(Answer(), [&call] { return Answer(std::forward<Call>(call)()); });
    if (!answer)
        throw std::runtime_error("the host threw");
    return *answer;
}

} // namespace korvane
