#pragma once

#include "channels/camera_channel.h"

#include <larkmoor/host_channel_client.h>

#include <cstdint>
#include <memory>

namespace korvane
{

/// Makes the video channels of a device.
class ICustomCreator
{
public:
    virtual ~ICustomCreator() = default;

    /// A channel that is not started yet and will call `channelClient` (the host's), or null. `channel` from
    /// 0.
    virtual std::unique_ptr<ICameraChannel> CreateChannel(std::uint32_t channel,
                                                          ipcapture::IHostChannelClient* channelClient) = 0;
};

} // namespace korvane
