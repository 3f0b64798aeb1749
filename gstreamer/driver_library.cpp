#include "gstreamer/driver_library.h"

#include "gstreamer/problem.h"

#include <cstdlib>
#include <filesystem>
#include <map>
#include <mutex>
#include <vector>

#include <dlfcn.h>

namespace larkmoor::gst
{

namespace
{

namespace fs = std::filesystem;

void WhereThisIs() {} // an address in the plugin

std::vector<std::string> Candidates(const std::string& file)
{
    if (!file.empty())
        return {file};
    if (const char* const chosen = std::getenv("LARKMOOR_LIBRARY"); chosen != nullptr && *chosen != '\0')
        return {chosen};
    std::vector<std::string> names;
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&WhereThisIs), &info) != 0 && info.dli_fname != nullptr)
    {
        // A build has the plugin one folder below the library, an installation too.
        std::error_code error;
        const fs::path folder = fs::absolute(info.dli_fname, error).parent_path().parent_path();
        for (const char* name : {"liblarkmoor.so.0", "liblarkmoor.so"})
            if (fs::exists(folder / name, error))
                names.push_back((folder / name).string());
    }
    names.insert(names.end(), {"liblarkmoor.so.0", "liblarkmoor.so"});
    return names;
}

void* Open(const std::string& file)
{
    std::string reasons;
    for (const std::string& name : Candidates(file))
    {
        if (void* const handle = dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL))
            return handle;
        const char* const reason = dlerror();
        reasons += (reasons.empty() ? "" : "; ") + (reason == nullptr ? name : std::string(reason));
    }
    throw Problem(GST_RESOURCE_ERROR_NOT_FOUND, "can't load the driver: " + reasons);
}

template <typename Function>
void Resolve(void* handle, const char* name, Function& function)
{
    function = reinterpret_cast<Function>(dlsym(handle, name));
    if (function == nullptr)
        throw Problem(GST_RESOURCE_ERROR_NOT_FOUND,
                      std::string("the library is not a capture driver: it has no function ") + name);
}

} // namespace

std::shared_ptr<const DriverLibrary> DriverLibrary::Load(const std::string& file)
{
    static std::mutex lock;
    static std::map<void*, std::shared_ptr<const DriverLibrary>> loaded;
    const std::lock_guard guard(lock);
    void* const handle = Open(file); // the same one for the same file
    auto& library = loaded[handle];
    if (library == nullptr)
    {
        auto fresh = std::make_shared<DriverLibrary>();
        Resolve(handle, "CreateIPCaptureEx4", fresh->create);
        Resolve(handle, "DeleteIPCaptureEx4", fresh->destroy);
        library = fresh;
    }
    return library;
}

} // namespace larkmoor::gst
