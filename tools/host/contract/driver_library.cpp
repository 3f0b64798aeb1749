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

constexpr const char* kFunctions[] = {
    "CreateIPCapture",      "CreateIPCaptureEx",           "CreateIPCaptureEx2",
    "CreateIPCaptureEx3",   "CreateIPCaptureEx4",          "DeleteIPCapture",
    "DeleteIPCaptureEx",    "DeleteIPCaptureEx2",          "DeleteIPCaptureEx3",
    "DeleteIPCaptureEx4",   "CreateCapabilityQueryModule", "DeleteCapabilityQueryModule",
    "InitCapabilityQuery",  "StartCapabilityQuery",        "TerminateCapabilityQuery",
    "UninitCapabilityQuery"};

} // namespace

template <typename Function>
void DriverLibrary::Resolve(const char* name, Function& function)
{
    function = reinterpret_cast<Function>(dlsym(handle_, name));
}

DriverLibrary::DriverLibrary(const std::filesystem::path& file)
    : handle_(dlopen(std::filesystem::absolute(file).c_str(), RTLD_NOW | RTLD_LOCAL))
{
    if (handle_ == nullptr)
        throw Failure(ExitStatus::NoDriver, std::string("can't load the driver: ") + dlerror());
    for (const char* const name : kFunctions)
    {
        if (dlsym(handle_, name) != nullptr)
            continue;
        dlclose(handle_);
        throw Failure(ExitStatus::NoDriver, file.string() + " is no capture driver: no function " + name);
    }
    Resolve("CreateIPCaptureEx4", createIPCaptureEx4);
    Resolve("DeleteIPCaptureEx4", deleteIPCaptureEx4);
    Resolve("CreateCapabilityQueryModule", createCapabilityQueryModule);
    Resolve("DeleteCapabilityQueryModule", deleteCapabilityQueryModule);
}

DriverLibrary::~DriverLibrary()
{
    if (!kStaysLoaded)
        dlclose(handle_);
}

} // namespace larkmoor::host
