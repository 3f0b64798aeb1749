#define LARKMOOR_BUILDING

#include <larkmoor/exports.h>

#include "discovery/vivotek_camera_properties.h"
#include "plugin/larkmoor_driver.h"
#include "runtime/guarded.h"

#include <utility>

using namespace korvane::ipcapture; // the names in this file are the host's

namespace
{

/// A new object for the host; null without memory for one.
template <class Object, class... Arguments>
Object* Create(Arguments... arguments)
{
    return korvane::Guarded<Object*>(nullptr, [=] { return new Object(arguments...); });
}

/// The query module of the process; null before `InitCapabilityQuery` and after `UninitCapabilityQuery`.
IIPCapabilityQuery* processModule = nullptr;

} // namespace

IIPCaptureDriver* CreateIPCapture()
{
    return Create<korvane::CLarkmoorDriver>();
}

IIPCaptureDriverEx* CreateIPCaptureEx()
{
    return Create<korvane::CLarkmoorDriver>();
}

IIPCaptureDriverEx2* CreateIPCaptureEx2()
{
    return Create<korvane::CLarkmoorDriver>();
}

IIPCaptureDriverEx3* CreateIPCaptureEx3()
{
    return Create<korvane::CLarkmoorDriver>();
}

IIPCaptureDriverEx4* CreateIPCaptureEx4()
{
    return Create<korvane::CLarkmoorDriver>();
}

void DeleteIPCapture(IIPCaptureDriver* driver)
{
    delete driver;
}

void DeleteIPCaptureEx(IIPCaptureDriverEx* driver)
{
    delete driver;
}

void DeleteIPCaptureEx2(IIPCaptureDriverEx2* driver)
{
    delete driver;
}

void DeleteIPCaptureEx3(IIPCaptureDriverEx3* driver)
{
    delete driver;
}

void DeleteIPCaptureEx4(IIPCaptureDriverEx4* driver)
{
    delete driver;
}

IIPCapabilityQuery* CreateCapabilityQueryModule(ICapabilitySink* sink, std::uint8_t videoStandard)
{
    return Create<korvane::CVivotekCapabilityQueryModule>(sink, videoStandard);
}

void DeleteCapabilityQueryModule(IIPCapabilityQuery* module)
{
    delete module;
}

std::uint32_t InitCapabilityQuery(ICapabilitySink* sink, std::uint8_t videoStandard)
{
    if (processModule != nullptr)
        return 0;
    processModule = Create<korvane::CVivotekCapabilityQueryModule>(sink, videoStandard);
    return 1; // also without memory for a module: `StartCapabilityQuery` shows that
}

std::uint32_t StartCapabilityQuery(const char* address, std::uint16_t port, const char* user,
                                   const char* password, ICapabilityStore* store)
{
    return processModule == nullptr ? 0 : processModule->StartQuery(address, port, user, password, store);
}

std::uint32_t TerminateCapabilityQuery()
{
    if (processModule != nullptr)
        processModule->TerminateQuery();
    return 1;
}

std::uint32_t UninitCapabilityQuery()
{
    delete std::exchange(processModule, nullptr); // the sink may call this once more
    return 1;
}
