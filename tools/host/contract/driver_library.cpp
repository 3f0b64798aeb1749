#include "host/contract/driver_library.h"

#include "host/base/failure.h"
#include "host/device/private_folder.h"

#include <dlfcn.h>
#include <link.h>

namespace larkmoor::host
{

namespace
{

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kStaysLoaded = true;
#else
constexpr bool kStaysLoaded = false;
#endif

constexpr const char* kFileName = "liblarkmoor.so";
constexpr const char* kInstalledName = "liblarkmoor.so.0";

constexpr const char* kFunctions[] = {
    "CreateIPCapture",      "CreateIPCaptureEx",           "CreateIPCaptureEx2",
    "CreateIPCaptureEx3",   "CreateIPCaptureEx4",          "DeleteIPCapture",
    "DeleteIPCaptureEx",    "DeleteIPCaptureEx2",          "DeleteIPCaptureEx3",
    "DeleteIPCaptureEx4",   "CreateCapabilityQueryModule", "DeleteCapabilityQueryModule",
    "InitCapabilityQuery",  "StartCapabilityQuery",        "TerminateCapabilityQuery",
    "UninitCapabilityQuery"};

std::string NameOf(const std::filesystem::path& file)
{
    if (!file.empty())
        return std::filesystem::absolute(file);
    const std::filesystem::path beside = ExecutableFolder() / kFileName;
    return std::filesystem::exists(beside) ? beside.string() : kInstalledName;
}

} // namespace

template <typename Function>
void DriverLibrary::Resolve(const char* name, Function& function)
{
    function = reinterpret_cast<Function>(dlsym(handle_, name));
}

DriverLibrary::DriverLibrary(const std::filesystem::path& file)
    : handle_(dlopen(NameOf(file).c_str(), RTLD_NOW | RTLD_LOCAL))
{
    if (handle_ == nullptr)
        throw Failure(ExitStatus::NoDriver, std::string("can't load the driver: ") + dlerror());
    for (const char* const name : kFunctions)
    {
        if (dlsym(handle_, name) != nullptr)
            continue;
        dlclose(handle_);
        throw Failure(ExitStatus::NoDriver, NameOf(file) + " is no capture driver: no function " + name);
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

std::filesystem::path DriverLibrary::File() const
{
    const link_map* map = nullptr;
    if (dlinfo(handle_, RTLD_DI_LINKMAP, &map) != 0)
        return {};
    return std::filesystem::canonical(map->l_name);
}

std::string DescribeDriver()
{
    try
    {
        const std::string file = DriverLibrary({}).File();
        const std::string beforeVersion = std::string(kFileName) + '.';
        const std::size_t at = file.rfind(beforeVersion);
        return file + ", version " +
               (at == std::string::npos ? "unknown" : file.substr(at + beforeVersion.size()));
    }
    catch (const Failure& failure)
    {
        return failure.what();
    }
}

} // namespace larkmoor::host
