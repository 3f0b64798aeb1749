#pragma once

#include "device/channel_settings.h"
#include "device/device_info.h"
#include "runtime/debug_message.h"

#include <larkmoor/host_frame.h>

#include <cstdint>
#include <string>
#include <utility>

namespace korvane
{

/// The driver as its channels, threads and services see it: the hub for everything that belongs to one
/// device. Holders don't own it. Any thread, without a lock: what is read here changes only in `Open` and
/// `Close`, while nothing runs.
class IDriver : public IDebugMessage
{
public:
    virtual std::string GetDriverName() const = 0; ///< "Larkmoor"
    virtual std::string
    GetHostDirectory() const = 0; ///< of the host's executable, with its closing separator
    virtual const DEVICE_INFO& GetDeviceInfo() const = 0;

    /// Digital inputs, digital outputs.
    virtual std::pair<std::uint32_t, std::uint32_t> GetIOCounts() const = 0;

    virtual ipcapture::IHostFrameAllocator* GetFrameAllocator() const = 0; ///< the host's; may be null
    virtual std::uint32_t GetVideoStandard() const = 0;                    ///< 1 NTSC, 0 PAL
    virtual std::uint32_t GetCodec() const = 0;        ///< 1 Motion JPEG, 2 MPEG-4, 3 H.264
    virtual std::uint32_t GetChannelCount() const = 0; ///< video channels of the device

    /// The text of a numbered property; empty if the host gave none or "(none)".
    virtual std::string GetPropertyText(std::uint32_t number) const = 0;

    /// The property as a whole number in 32 bits; `kNoProperty` if it is absent or no number.
    virtual std::int32_t GetPropertyInt(std::uint32_t number) const = 0;

    /// The settings of a running video channel; all 0 if there is none.
    virtual ChannelSettings GetChannelSettings(std::uint32_t channel) const = 0;
};

/// What `GetPropertyInt` gives for a property that is absent or no number.
inline constexpr std::int32_t kNoProperty = INT32_MIN;

} // namespace korvane
