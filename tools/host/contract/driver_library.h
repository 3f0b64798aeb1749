#pragma once

#include <larkmoor/exports.h>

#include <filesystem>

namespace larkmoor::host
{

/// The driver's library, loaded at run time, with its sixteen functions.
class DriverLibrary
{
public:
    /// Loads `file` and finds all functions. Throws `Failure` (NoDriver) that says what is missing.
    explicit DriverLibrary(const std::filesystem::path& file);

    /// Unloads it, but under a sanitizer, which could name nothing in it at the end of the process then.
    ~DriverLibrary();

    DriverLibrary(const DriverLibrary&) = delete;
    DriverLibrary& operator=(const DriverLibrary&) = delete;

    korvane::ipcapture::CreateIPCaptureFunction createIPCapture = nullptr;
    korvane::ipcapture::CreateIPCaptureExFunction createIPCaptureEx = nullptr;
    korvane::ipcapture::CreateIPCaptureEx2Function createIPCaptureEx2 = nullptr;
    korvane::ipcapture::CreateIPCaptureEx3Function createIPCaptureEx3 = nullptr;
    korvane::ipcapture::CreateIPCaptureEx4Function createIPCaptureEx4 = nullptr;
    korvane::ipcapture::DeleteIPCaptureFunction deleteIPCapture = nullptr;
    korvane::ipcapture::DeleteIPCaptureExFunction deleteIPCaptureEx = nullptr;
    korvane::ipcapture::DeleteIPCaptureEx2Function deleteIPCaptureEx2 = nullptr;
    korvane::ipcapture::DeleteIPCaptureEx3Function deleteIPCaptureEx3 = nullptr;
    korvane::ipcapture::DeleteIPCaptureEx4Function deleteIPCaptureEx4 = nullptr;
    korvane::ipcapture::CreateCapabilityQueryModuleFunction createCapabilityQueryModule = nullptr;
    korvane::ipcapture::DeleteCapabilityQueryModuleFunction deleteCapabilityQueryModule = nullptr;
    korvane::ipcapture::InitCapabilityQueryFunction initCapabilityQuery = nullptr;
    korvane::ipcapture::StartCapabilityQueryFunction startCapabilityQuery = nullptr;
    korvane::ipcapture::TerminateCapabilityQueryFunction terminateCapabilityQuery = nullptr;
    korvane::ipcapture::UninitCapabilityQueryFunction uninitCapabilityQuery = nullptr;

private:
    void ResolveAll();

    void* handle_;
};

} // namespace larkmoor::host
