#pragma once

#include "runtime/guarded.h"
#include "runtime/recursive_lock.h"

#include <memory>
#include <vector>

namespace korvane
{

/// Ends the channels of a table. What was stopped from inside one of its own calls has a thread that still
/// uses the driver: it stays here, to be stopped once more. `Channel` has `Stop` as `ICameraChannel`. Any
/// thread; nothing is thrown, and no lock is held while a channel stops.
template <class Channel>
class TLeavingList
{
public:
    void End(const std::shared_ptr<Channel>& channel)
    {
        const auto stopOrKeep = [&]
        {
            if (channel->Stop())
                return;
            const CLockGuard guard(lock_);
            leaving_.push_back(channel);
        };
        Guarded(stopOrKeep);
    }

    bool EndAll() ///< those that were kept; false if some have to be kept still
    {
        std::vector<std::shared_ptr<Channel>> leaving;
        {
            const CLockGuard guard(lock_);
            leaving.swap(leaving_);
        }
        for (const auto& channel : leaving)
            End(channel);
        const CLockGuard guard(lock_);
        return leaving_.empty();
    }

private:
    CRecursiveLock lock_; // guards the list
    std::vector<std::shared_ptr<Channel>> leaving_;
};

} // namespace korvane
