#pragma once

#include <larkmoor/exports.h>

#include <filesystem>
#include <string>

namespace larkmoor::host
{

using namespace korvane::ipcapture;

/// The driver's library, loaded at run time; it has to have all sixteen functions.
class DriverLibrary
{
public:
    /// Loads `file`, or, if it is empty, "liblarkmoor.so" beside the program, else the installed one by its
    /// soname. Finds all functions. Throws `Failure` (NoDriver) that says what is missing.
    explicit DriverLibrary(const std::filesystem::path& file);

    /// Unloads it, but under a sanitizer, which could name nothing in it at the end of the process then.
    ~DriverLibrary();

    DriverLibrary(const DriverLibrary&) = delete;
    DriverLibrary& operator=(const DriverLibrary&) = delete;

    /// The file that was loaded, with all links followed.
    std::filesystem::path File() const;

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

/// What "--version" says of the library that would be loaded: its file and version, or why there is none. The
/// version is the end of the file's name, as in "liblarkmoor.so.0.1.0".
std::string DescribeDriver();

} // namespace larkmoor::host
