#include "host/contract/driver_library.h"

#include "host/base/failure.h"

#include <string>

#include <dlfcn.h>

namespace larkmoor::host
{

namespace
{

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kStaysLoaded = true;
#else
constexpr bool kStaysLoaded = false;
#endif

template <typename Function>
void Resolve(void* handle, const char* name, Function& function)
{
    function = reinterpret_cast<Function>(dlsym(handle, name));
    if (function == nullptr)
        throw Failure(ExitStatus::NoDriver, std::string("no function ") + name);
}

} // namespace

DriverLibrary::DriverLibrary(const std::filesystem::path& file)
    : handle_(dlopen(std::filesystem::absolute(file).c_str(), RTLD_NOW | RTLD_LOCAL))
{
    if (handle_ == nullptr)
        throw Failure(ExitStatus::NoDriver, std::string("can't load the driver: ") + dlerror());
    try
    {
        ResolveAll();
    }
    catch (const Failure& failure)
    {
        dlclose(handle_);
        throw Failure(ExitStatus::NoDriver, file.string() + " is no capture driver: " + failure.what());
    }
}

void DriverLibrary::ResolveAll()
{
    Resolve(handle_, "CreateIPCapture", createIPCapture);
    Resolve(handle_, "CreateIPCaptureEx", createIPCaptureEx);
    Resolve(handle_, "CreateIPCaptureEx2", createIPCaptureEx2);
    Resolve(handle_, "CreateIPCaptureEx3", createIPCaptureEx3);
    Resolve(handle_, "CreateIPCaptureEx4", createIPCaptureEx4);
    Resolve(handle_, "DeleteIPCapture", deleteIPCapture);
    Resolve(handle_, "DeleteIPCaptureEx", deleteIPCaptureEx);
    Resolve(handle_, "DeleteIPCaptureEx2", deleteIPCaptureEx2);
    Resolve(handle_, "DeleteIPCaptureEx3", deleteIPCaptureEx3);
    Resolve(handle_, "DeleteIPCaptureEx4", deleteIPCaptureEx4);
    Resolve(handle_, "CreateCapabilityQueryModule", createCapabilityQueryModule);
    Resolve(handle_, "DeleteCapabilityQueryModule", deleteCapabilityQueryModule);
    Resolve(handle_, "InitCapabilityQuery", initCapabilityQuery);
    Resolve(handle_, "StartCapabilityQuery", startCapabilityQuery);
    Resolve(handle_, "TerminateCapabilityQuery", terminateCapabilityQuery);
    Resolve(handle_, "UninitCapabilityQuery", uninitCapabilityQuery);
}

DriverLibrary::~DriverLibrary()
{
    if (!kStaysLoaded)
        dlclose(handle_);
}

} // namespace larkmoor::host
