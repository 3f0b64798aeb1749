#pragma once

#include "channels/camera_channel.h"
#include "runtime/leaving_list.h"
#include "runtime/recursive_lock.h"

#include <larkmoor/host_channel_client.h>
#include <larkmoor/ip_video_capture.h>

#include <cstdint>
#include <memory>
#include <vector>

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

/// The host's handle on the video channels of one device: a table with one place per channel. It knows
/// neither codec nor transport. No lock is held while a channel is made, started, stopped or asked, so that
/// the slow stop of one doesn't hold up the others.
class CIPVideoCapture final : public ipcapture::IIPVideoCaptureEx
{
public:
    /// `creator` outlives the object. The table's size never changes.
    CIPVideoCapture(ICustomCreator* creator, std::uint32_t channelCount);
    ~CIPVideoCapture() override { StopAll(); }
    void RequestStop(); ///< tells all channels to stop, and waits for none

    /// Stops all channels, in order. False if one was stopped from inside its own call: once more, then.
    bool StopAll();

    std::uint32_t GetChannelCount() override;
    bool StartChannel(std::uint32_t channel, ipcapture::IHostChannelClient* channelClient,
                      ipcapture::IHostChannelSettings* channelSettings) override;
    bool StopChannel(std::uint32_t channel) override;
    bool ChangeChannel(std::uint32_t channel, ipcapture::IHostResolution* resolution,
                       std::uint32_t frameInterval) override;
    std::uint32_t GetReservedValue() override { return 0; }
    bool GetChannelState(std::uint32_t channel, std::uint32_t* state, std::uint32_t* detail, char* text,
                         std::uint32_t textSize) override;
    bool ReservedCall1(std::uint32_t, std::uint32_t, std::uint32_t) override { return false; }
    bool ReservedCall2(std::uint32_t, std::uint32_t, std::uint32_t) override { return false; }
    bool ReservedCallEx1(std::uint32_t) override { return false; }
    bool ReservedCallEx2(std::uint32_t) override { return false; }

    /// A copy of a channel's settings; all 0 if nothing stands in this place. Any thread.
    ChannelSettings GetChannelSettings(std::uint32_t channel);

private:
    bool Start(std::uint32_t channel, ipcapture::IHostChannelClient* channelClient,
               ipcapture::IHostChannelSettings& channelSettings);
    std::shared_ptr<ICameraChannel> Find(std::uint32_t channel);

    /// Puts `next` (or nothing) into a place and gives what stood there.
    std::shared_ptr<ICameraChannel> Replace(std::uint32_t channel, std::shared_ptr<ICameraChannel> next);

    ICustomCreator* const creator_;
    TLeavingList<ICameraChannel> leaving_;
    CRecursiveLock lock_{platform::LockPlace::kTable}; // guards the next; no other lock is taken under it

    /// Shared, so that whoever asks a channel for something holds it until it has its answer.
    std::vector<std::shared_ptr<ICameraChannel>> channels_;
};

} // namespace korvane
