#pragma once

#include "platform/thread.h"
#include "runtime/guarded.h"
#include "runtime/leaving_list.h"
#include "runtime/recursive_lock.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <utility>

namespace korvane
{

/// The channels of one direction of audio by number, at most as many as the device has. `Channel` has `Start`
/// and `Stop` as `IAudioInputChannel`. Any thread; nothing is thrown into the host. No lock is held while a
/// channel is made, starts or stops: a start holds its place with an entry that has no channel yet.
template <class Channel>
class TAudioChannelTable
{
public:
    explicit TAudioChannelTable(std::uint32_t maximum) : maximum_(maximum) {}
    void RequestStop() ///< tells all channels to stop, and waits for none
    {
        Channels channels;
        {
            const CLockGuard guard(lock_);
            channels = channels_;
        }
        for (const auto& entry : channels)
        {
            if (entry.second.channel != nullptr)
                entry.second.channel->RequestStop();
        }
    }
    ~TAudioChannelTable() { StopAll(); }
    bool
    StopAll() ///< in order; false if one was stopped from inside its own call and is to be stopped once more
    {
        Channels channels;
        {
            const CLockGuard guard(lock_);
            channels.swap(channels_);
        }
        for (const auto& entry : channels)
        {
            if (entry.second.channel != nullptr)
                leaving_.End(entry.second.channel);
        }
        return leaving_.EndAll();
    }

    std::uint32_t Count() ///< channels that run
    {
        const CLockGuard guard(lock_);
        return static_cast<std::uint32_t>(std::ranges::count_if(channels_, [](const auto& entry)
                                                                { return entry.second.channel != nullptr; }));
    }

    /// Starts what `make` gives, the table's from then on, unless the number runs already or another thread
    /// is starting it. False also if the number is stopped meanwhile.
    template <class Make>
    bool Start(std::uint32_t number, Make&& make)
    {
        leaving_.EndAll();
        {
            const CLockGuard guard(lock_);
            if (channels_.contains(number))
                return true;
            if (channels_.size() >= maximum_ || !Guarded(false, [&] { return Reserve(number); }))
                return false;
        }
        const std::shared_ptr<Channel> made(
            Guarded(static_cast<Channel*>(nullptr), std::forward<Make>(make)));
        if (made != nullptr && Guarded(false, [&] { return made->Start(); }) && Occupy(number, made))
            return true;
        if (made != nullptr)
            leaving_.End(made);
        Occupy(number, nullptr);
        return false;
    }

    bool Stop(std::uint32_t number)
    {
        std::shared_ptr<Channel> channel;
        {
            const CLockGuard guard(lock_);
            if (auto node = channels_.extract(number))
                channel = std::move(node.mapped().channel);
        }
        if (channel == nullptr)
            return false;
        leaving_.End(channel);
        return true;
    }

    /// What `ask` gives for the channel with that number; `none` if there is no such channel.
    template <class Result, class Ask>
    Result With(std::uint32_t number, Result none, Ask&& ask)
    {
        std::shared_ptr<Channel> channel;
        {
            const CLockGuard guard(lock_);
            if (const auto found = channels_.find(number); found != channels_.end())
                channel = found->second.channel;
        }
        return channel == nullptr ? none : Guarded(none, [&] { return ask(*channel); });
    }

private:
    struct Place
    {
        std::shared_ptr<Channel> channel; // null while the thread below starts it
        std::uint32_t starter = platform::Thread::CurrentId();
    };
    using Channels = std::map<std::uint32_t, Place>;

    bool Reserve(std::uint32_t number) { return channels_.try_emplace(number).second; }

    // Puts the channel into the place that this thread holds, or gives that back for null. False if it was
    // taken away meanwhile.
    bool Occupy(std::uint32_t number, const std::shared_ptr<Channel>& made)
    {
        const CLockGuard guard(lock_);
        const auto found = channels_.find(number);
        if (found == channels_.end() || found->second.starter != platform::Thread::CurrentId())
            return false;
        if (made == nullptr)
            channels_.erase(found);
        else
            found->second.channel = made;
        return true;
    }

    TLeavingList<Channel> leaving_;
    CRecursiveLock lock_{platform::LockPlace::kTable}; // guards the next
    Channels channels_;
    const std::uint32_t maximum_;
};

} // namespace korvane
