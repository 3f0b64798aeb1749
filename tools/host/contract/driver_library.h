#pragma once

#include <larkmoor/exports.h>

#include <filesystem>

namespace larkmoor::host
{

using namespace korvane::ipcapture;

/// The driver's library, loaded at run time; it has to have all sixteen functions.
class DriverLibrary
{
public:
    /// Loads `file` and finds all functions. Throws `Failure` (NoDriver) that says what is missing.
    explicit DriverLibrary(const std::filesystem::path& file);

    /// Unloads it, but under a sanitizer, which could name nothing in it at the end of the process then.
    ~DriverLibrary();

    DriverLibrary(const DriverLibrary&) = delete;
    DriverLibrary& operator=(const DriverLibrary&) = delete;

    // Those of the sixteen that the bench host calls.
    CreateIPCaptureEx4Function createIPCaptureEx4 = nullptr;
    DeleteIPCaptureEx4Function deleteIPCaptureEx4 = nullptr;
    CreateCapabilityQueryModuleFunction createCapabilityQueryModule = nullptr;
    DeleteCapabilityQueryModuleFunction deleteCapabilityQueryModule = nullptr;

private:
    template <typename Function>
    void Resolve(const char* name, Function& function);

    void* handle_;
};

} // namespace larkmoor::host
