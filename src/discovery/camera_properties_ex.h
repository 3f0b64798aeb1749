#pragma once

#include "device/driver.h"
#include "discovery/camera_properties.h"
#include "discovery/store_writer.h"

#include <larkmoor/capability_store.h>

#include <atomic>
#include <cstdint>

namespace korvane
{

// Codes of a failed query, and of a failed fetch.
constexpr std::uint32_t kBadAddress = 0;
constexpr std::uint32_t kLoginRefused = 1;
constexpr std::uint32_t kOffline = 2;
constexpr std::uint32_t kOtherFailure = 3;

/// What a device is and can do, read from the device and then written into the host's store.
///
/// Made for one query, filled once and saved once, on the query's thread. `CancelFetch` alone may come from
/// another thread.
class CCameraPropertiesEx : public CCameraProperties
{
public:
    /// `hostVideoStandard`: 0 PAL, anything else NTSC.
    CCameraPropertiesEx(const DEVICE_INFO& deviceInfo, std::uint32_t hostVideoStandard)
        : deviceInfo_(deviceInfo), hostVideoStandard_(hostVideoStandard)
    {
    }
    virtual ~CCameraPropertiesEx() = default;

    /// Reads the device; blocks for as long as its requests take. On false `errorCode` receives the reason,
    /// `kLoginRefused` or `kOtherFailure`, unless the fetch was cancelled.
    virtual bool FetchProperties(std::uint32_t* errorCode) = 0;

    /// Writes all into `store`. False for a null store, and for one that throws.
    virtual bool SaveProperties(ipcapture::ICapabilityStore* store);

    /// Ends a running fetch: at its next step, or in the request under way if the device family can end that.
    virtual void CancelFetch() { cancelled_ = true; }

protected:
    bool IsCancelled() const { return cancelled_; }

    /// Writes what the base has; a device family adds its own before and behind it.
    virtual void Save(CStoreWriter& writer);

    const DEVICE_INFO deviceInfo_;
    const std::uint32_t hostVideoStandard_; ///< 0 PAL, anything else NTSC
    CAudioCapabilities audioInput_;
    CAudioCapabilities audioOutput_;

private:
    void SaveValues(CStoreWriter& writer);
    void SaveCodecs(CStoreWriter& writer);
    void SaveResolutions(CStoreWriter& writer);
    void SaveConnection(CStoreWriter& writer);
    void SaveAudio(CStoreWriter& writer);

    std::atomic<bool> cancelled_ = false;
};

} // namespace korvane
