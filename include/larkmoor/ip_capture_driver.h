#pragma once

#include <larkmoor/capture_io.h>
#include <larkmoor/host_device_settings.h>
#include <larkmoor/host_frame.h>
#include <larkmoor/host_sink.h>
#include <larkmoor/ip_audio.h>
#include <larkmoor/ip_ptz.h>
#include <larkmoor/ip_video_capture.h>

namespace korvane::ipcapture
{

/// The driver of one device. The host gets it from a `Create...` export, calls `Open`, works with the objects
/// that the getters give, calls `Close` and hands it to a `Delete...` export. `Open`, `Close` and the getters
/// run on one host thread at a time. All objects that the getters give are the driver's and go with `Close`;
/// the getters give null before `Open` and after `Close`.
class IIPCaptureDriver
{
public:
    virtual ~IIPCaptureDriver() = default;

    /// Keeps `hostSink` (may be null: no messages) and `frameAllocator` until `Close`; reads `deviceSettings`
    /// during the call. False if property 1 (video standard) is missing or no number; `Close` cleans up then,
    /// too. Not to be called twice without `Close` in between.
    virtual bool Open(IHostSink* hostSink, IHostFrameAllocator* frameAllocator,
                      IHostDeviceSettings* deviceSettings) = 0;

    /// Stops all channels and deletes all objects of the device. The host calls `StopIO` before.
    virtual void Close() = 0;

    virtual IIPVideoCapture* GetVideoCapture() = 0;
    virtual ICaptureIOApi* GetIO() = 0;
};

class IIPCaptureDriverEx : public IIPCaptureDriver
{
public:
    virtual void* GetReservedEx() = 0; ///< always null
    virtual IIPPTZDriver* GetPTZ() = 0;
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

} // namespace korvane::ipcapture
