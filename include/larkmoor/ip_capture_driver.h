#pragma once

#include <larkmoor/capture_io.h>
#include <larkmoor/host_device_settings.h>
#include <larkmoor/host_frame.h>
#include <larkmoor/host_sink.h>
#include <larkmoor/ip_audio.h>
#include <larkmoor/ip_ptz.h>
#include <larkmoor/ip_video_capture.h>

namespace korvane
{
namespace ipcapture
{

/// The driver of one device. The host creates it with a `Create...` function, calls `Open`, uses the objects
/// that the getters return, calls `Close` and deletes it with a `Delete...` function. Call `Open`, `Close`
/// and the getters from one thread at a time, and `Open` and `Close` not from inside a call of the driver
/// into the host. The driver owns the objects that the getters return and deletes them in `Close`. The
/// getters return null before `Open` and after `Close`.
class IIPCaptureDriver
{
public:
    virtual ~IIPCaptureDriver() = default;

    /// Reads `deviceSettings` during the call; uses `hostSink` (null: no messages) and `frameAllocator`
    /// (null: no frames) until `Close` returns. Does not contact the device. Returns false if
    /// `deviceSettings`, its description or its connection is null, if one of their calls throws, or if
    /// property 1 (video standard) is missing or not an integer; call `Close` in this case too. Do not call
    /// `Open` twice without `Close` in between.
    virtual bool Open(IHostSink* hostSink, IHostFrameAllocator* frameAllocator,
                      IHostDeviceSettings* deviceSettings) = 0;

    /// Stops all channels and deletes all objects of the device. Call `StopIO` first. No call into the host
    /// begins after it returns. Takes at most 2 s, or 4 s with PTZ, if the host's calls return.
    virtual void Close() = 0;

    virtual IIPVideoCapture* GetVideoCapture() = 0;
    virtual ICaptureIOApi* GetIO() = 0; ///< also for a device without inputs and outputs
};

class IIPCaptureDriverEx : public IIPCaptureDriver
{
public:
    virtual void* GetReservedEx() = 0;  ///< always null
    virtual IIPPTZDriver* GetPTZ() = 0; ///< also for a device without PTZ
};

class IIPCaptureDriverEx2 : public IIPCaptureDriverEx
{
public:
    virtual void* GetReservedEx2() = 0; ///< always null; a slot of its own NOLINT(bugprone-virtual-near-miss)
    virtual IIPVideoCaptureEx* GetVideoCaptureEx() = 0;
};

class IIPCaptureDriverEx3 : public IIPCaptureDriverEx2
{
public:
    virtual IIPPTZDriverEx* GetPTZEx() = 0;
};

class IIPCaptureDriverEx4 : public IIPCaptureDriverEx3
{
public:
    virtual IIPAudioCapture2* GetAudioCapture() = 0; ///< null if the device has no audio input
    virtual IIPAudioSender* GetAudioSender() = 0;    ///< null if the device has no audio output
};

} // namespace ipcapture
} // namespace korvane
