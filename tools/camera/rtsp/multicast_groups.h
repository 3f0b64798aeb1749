#pragma once

#include "camera/rtsp/media_session.h"
#include "camera/rtsp/udp_sender.h"

#include <boost/asio/io_context.hpp>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <tuple>

namespace larkmoor::camera
{

/// The groups that streams are sent to: one sender for each, for as long as a client of it has a session.
class MulticastGroups
{
public:
    /// The references outlive the groups.
    MulticastGroups(boost::asio::io_context& context, const RtspOptions& options,
                    const RtspServices& services)
        : context_(context), options_(options), services_(services)
    {
    }

    /// The sender of `target`'s group; it says goodbye when the last one that joined lets go. Null if there
    /// is no socket for it. `seed` and `described` count if the group is new.
    std::shared_ptr<MediaSession> Join(const RtspTarget& target, const ParameterSets& described,
                                       std::uint64_t seed);

    void Tick();

private:
    using Key = std::tuple<StreamId, std::string, std::uint16_t>;

    boost::asio::io_context& context_;
    const RtspOptions& options_;
    const RtspServices& services_;
    std::map<Key, std::weak_ptr<MediaSession>> groups_;
};

} // namespace larkmoor::camera
