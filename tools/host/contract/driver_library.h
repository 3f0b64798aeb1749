#pragma once

#include <larkmoor/exports.h>

#include <filesystem>

namespace larkmoor::host
{

using namespace korvane::ipcapture;

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

    CreateIPCaptureFunction createIPCapture = nullptr;
    CreateIPCaptureExFunction createIPCaptureEx = nullptr;
    CreateIPCaptureEx2Function createIPCaptureEx2 = nullptr;
    CreateIPCaptureEx3Function createIPCaptureEx3 = nullptr;
    CreateIPCaptureEx4Function createIPCaptureEx4 = nullptr;
    DeleteIPCaptureFunction deleteIPCapture = nullptr;
    DeleteIPCaptureExFunction deleteIPCaptureEx = nullptr;
    DeleteIPCaptureEx2Function deleteIPCaptureEx2 = nullptr;
    DeleteIPCaptureEx3Function deleteIPCaptureEx3 = nullptr;
    DeleteIPCaptureEx4Function deleteIPCaptureEx4 = nullptr;
    CreateCapabilityQueryModuleFunction createCapabilityQueryModule = nullptr;
    DeleteCapabilityQueryModuleFunction deleteCapabilityQueryModule = nullptr;
    InitCapabilityQueryFunction initCapabilityQuery = nullptr;
    StartCapabilityQueryFunction startCapabilityQuery = nullptr;
    TerminateCapabilityQueryFunction terminateCapabilityQuery = nullptr;
    UninitCapabilityQueryFunction uninitCapabilityQuery = nullptr;

private:
    void ResolveAll();

    void* handle_;
};

} // namespace larkmoor::host
