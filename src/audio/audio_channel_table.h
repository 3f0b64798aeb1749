#pragma once

#include "runtime/guarded.h"
#include "runtime/recursive_lock.h"

#include <cstdint>
#include <map>
#include <memory>
#include <utility>

namespace korvane
{

/// The channels of one direction of audio by number, at most as many as the device has. `Channel` has `Start`
/// and `Stop` as `IAudioInputChannel`. Any thread; nothing is thrown into the host.
template <class Channel>
class TAudioChannelTable
{
public:
    explicit TAudioChannelTable(std::uint32_t maximum) : maximum_(maximum) {}
    ~TAudioChannelTable() ///< stops all channels, in order
    {
        std::map<std::uint32_t, std::unique_ptr<Channel>> channels;
        {
            const CLockGuard guard(lock_);
            channels.swap(channels_);
        }
        for (const auto& entry : channels)
            entry.second->Stop();
    }
    TAudioChannelTable(const TAudioChannelTable&) = delete;
    TAudioChannelTable& operator=(const TAudioChannelTable&) = delete;

    std::uint32_t Count()
    {
        const CLockGuard guard(lock_);
        return static_cast<std::uint32_t>(channels_.size());
    }

    /// Starts what `make` gives, the table's from then on, unless the number runs already. The lock is held
    /// meanwhile: other calls wait.
    template <class Make>
    bool Start(std::uint32_t number, Make&& make)
    {
        const auto start = [&]
        {
            const CLockGuard guard(lock_);
            if (channels_.contains(number))
                return true;
            if (channels_.size() >= maximum_)
                return false;
            std::unique_ptr<Channel> made(make());
            if (made == nullptr)
                return false;
            if (made->Start())
                return channels_.emplace(number, std::move(made)).second;
            made->Stop();
            return false;
        };
        return Guarded(false, start);
    }

    bool Stop(std::uint32_t number)
    {
        std::unique_ptr<Channel> channel;
        {
            const CLockGuard guard(lock_);
            if (auto node = channels_.extract(number))
                channel = std::move(node.mapped());
        }
        return channel != nullptr && Guarded(true, [&] { return channel->Stop(); });
    }

    /// What `ask` gives for the channel with that number, under the lock; `none` if there is no such channel.
    template <class Result, class Ask>
    Result With(std::uint32_t number, Result none, Ask&& ask)
    {
        const CLockGuard guard(lock_);
        const auto found = channels_.find(number);
        return found == channels_.end() ? none : Guarded(none, [&] { return ask(*found->second); });
    }

private:
    CRecursiveLock lock_{
        platform::LockPlace::kTable}; // guards the map; held while a channel starts, never while one stops
    std::map<std::uint32_t, std::unique_ptr<Channel>> channels_;
    const std::uint32_t maximum_;
};

} // namespace korvane
