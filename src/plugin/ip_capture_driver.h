#pragma once

#include "device/driver.h"
#include "platform/host_process.h"
#include "plugin/ip_video_capture.h"
#include "ptz/base_ptz_control.h"
#include "runtime/recursive_lock.h"

#include <larkmoor/ip_capture_driver.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>

namespace korvane
{

/// One device: what the host gave at `Open`, and the objects that do the work. Knows no device family.
///
/// The fields are written in `Open` and `Close` only, while no thread of the device runs, and read without a
/// lock in between. `Close` and the family's destructor delete the objects first, and each of them stops its
/// own threads. The video capture object goes first of all, while a head may still ask for a channel's
/// settings: it has a lock.
class CIPCaptureDriver : public ipcapture::IIPCaptureDriverEx4, public IDriver, public ICustomCreator
{
public:
    // The host's view
    bool Open(ipcapture::IHostSink* hostSink, ipcapture::IHostFrameAllocator* frameAllocator,
              ipcapture::IHostDeviceSettings* deviceSettings) override;
    void Close() override;
    ipcapture::IIPVideoCapture* GetVideoCapture() override { return videoCapture_.get(); }
    ipcapture::ICaptureIOApi* GetIO() override { return io_.get(); }
    void* GetReservedEx() override { return nullptr; }
    ipcapture::IIPPTZDriver* GetPTZ() override { return ptz_.get(); }
    void* GetReservedEx2() override { return nullptr; }
    ipcapture::IIPVideoCaptureEx* GetVideoCaptureEx() override { return videoCapture_.get(); }
    ipcapture::IIPPTZDriverEx* GetPTZEx() override { return ptz_.get(); }

    // The inner view
    std::string GetDeviceName() const override;
    [[gnu::format(printf, 3, 4)]] void DebugMessage(std::int32_t level, const char* format, ...) override;
    std::string GetHostDirectory() const override { return hostDirectory_; }
    const DEVICE_INFO& GetDeviceInfo() const override { return device_; }
    std::pair<std::uint32_t, std::uint32_t> GetIOCounts() const override { return ioCounts_; }
    ipcapture::IHostFrameAllocator* GetFrameAllocator() const override { return frameAllocator_; }
    std::uint32_t GetVideoStandard() const override { return videoStandard_; }
    std::uint32_t GetCodec() const override { return codec_; }
    std::uint32_t GetChannelCount() const override { return channelCount_; }
    std::string GetPropertyText(std::uint32_t number) const override;
    std::int32_t GetPropertyInt(std::uint32_t number) const override;
    ChannelSettings GetChannelSettings(std::uint32_t channel) const override;

    // What a device family decides. They run inside `Open` and `Close`.

    /// Makes the audio objects that the device has channels for; the result is not looked at.
    virtual bool ConstructAudio(ipcapture::IHostDeviceSettings& deviceSettings) = 0;
    virtual void DestructAudio() {}
    virtual bool ConstructIO() = 0;  ///< makes the I/O object, when there is none
    virtual bool ConstructPTZ() = 0; ///< makes the PTZ handler, when there is none; false fails the `Open`

    /// Writes the line that a device was opened; nothing without a driver name.
    virtual void LogDriverOpened(ipcapture::IHostDeviceSettings& deviceSettings,
                                 const std::string& driverName, const std::string& firmware);

protected:
    /// Tells all that runs to stop before the first is waited for, so that a close takes as long as the
    /// longest stop and not as long as all of them. A family adds what it has.
    virtual void RequestStop();

    /// Video capture, I/O and PTZ, in this order. A channel that was stopped from inside its own call stays
    /// with what it uses until the next time. Also for the family's destructor.
    void DeleteObjects();

    DEVICE_INFO device_;
    std::uint32_t videoStandard_ = 0;              ///< 1 NTSC, 0 PAL
    std::shared_ptr<ipcapture::ICaptureIOApi> io_; // shared with its threads after a stop from inside
    std::unique_ptr<CIPPTZDriverIf> ptz_;

private:
    bool OpenDevice(ipcapture::IHostDeviceSettings& deviceSettings);
    void ReadProperties(ipcapture::IHostDeviceSettings& deviceSettings);

    ipcapture::IHostSink* hostSink_ = nullptr;
    ipcapture::IHostFrameAllocator* frameAllocator_ = nullptr;
    std::pair<std::uint32_t, std::uint32_t> ioCounts_;
    std::uint32_t channelCount_ = 0;
    std::uint32_t codec_ = 0;
    std::map<std::uint32_t, std::string> properties_;
    platform::ProductVersion hostVersion_;
    mutable CRecursiveLock videoLock_{
        platform::LockPlace::kDriver}; // over the pointer behind it; taken before the object's own
    std::unique_ptr<CIPVideoCapture> videoCapture_;
    std::unique_ptr<CIPVideoCapture> leavingVideo_; // closed from inside a call of one of its channels
    std::string hostDirectory_;
};

} // namespace korvane
