#pragma once

#include <larkmoor/exports.h>

#include <memory>
#include <string>

namespace larkmoor::gst
{

/// The driver's shared library. Once loaded it stays so until the process ends, as plugins do: a thread of
/// the driver that never came back from a call would end in memory that is gone.
class DriverLibrary
{
public:
    /// The library of that file; loaded once in a process. An empty name is that of the environment variable
    /// LARKMOOR_LIBRARY, else "liblarkmoor.so.0" or "liblarkmoor.so" beside the plugin's folder or where the
    /// system looks for libraries. Throws `Problem`. Any thread.
    static std::shared_ptr<const DriverLibrary> Load(const std::string& file);

    korvane::ipcapture::CreateIPCaptureEx4Function create = nullptr;
    korvane::ipcapture::DeleteIPCaptureEx4Function destroy = nullptr;
};

} // namespace larkmoor::gst
