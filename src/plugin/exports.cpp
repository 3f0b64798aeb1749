#define LARKMOOR_BUILDING

#include <larkmoor/exports.h>

#include "discovery/vivotek_capability_query_module.h"
#include "plugin/larkmoor_driver.h"
#include "runtime/guarded.h"

#include <new>
#include <utility>

using namespace korvane::ipcapture; // the names in this file are the host's

namespace
{

korvane::CLarkmoorDriver* CreateDriver()
{
    return korvane::Guarded(static_cast<korvane::CLarkmoorDriver*>(nullptr),
                            [] { return new (std::nothrow) korvane::CLarkmoorDriver; });
}

/// Any object that the host holds goes through its virtual destructor, which doesn't throw.
template <class Interface>
void Delete(Interface* object)
{
    delete object;
}

/// The query module of the process; null before `InitCapabilityQuery` and after `UninitCapabilityQuery`.
IIPCapabilityQuery* processModule = nullptr;

IIPCapabilityQuery* CreateModule(ICapabilitySink* sink, std::uint8_t videoStandard)
{
    return korvane::Guarded(
        static_cast<IIPCapabilityQuery*>(nullptr),
        [&] { return new (std::nothrow) korvane::CVivotekCapabilityQueryModule(sink, videoStandard); });
}

} // namespace

IIPCaptureDriver* CreateIPCapture()
{
    return CreateDriver();
}

IIPCaptureDriverEx* CreateIPCaptureEx()
{
    return CreateDriver();
}

IIPCaptureDriverEx2* CreateIPCaptureEx2()
{
    return CreateDriver();
}

IIPCaptureDriverEx3* CreateIPCaptureEx3()
{
    return CreateDriver();
}

IIPCaptureDriverEx4* CreateIPCaptureEx4()
{
    return CreateDriver();
}

void DeleteIPCapture(IIPCaptureDriver* driver)
{
    Delete(driver);
}

void DeleteIPCaptureEx(IIPCaptureDriverEx* driver)
{
    Delete(driver);
}

void DeleteIPCaptureEx2(IIPCaptureDriverEx2* driver)
{
    Delete(driver);
}

void DeleteIPCaptureEx3(IIPCaptureDriverEx3* driver)
{
    Delete(driver);
}

void DeleteIPCaptureEx4(IIPCaptureDriverEx4* driver)
{
    Delete(driver);
}

IIPCapabilityQuery* CreateCapabilityQueryModule(ICapabilitySink* sink, std::uint8_t videoStandard)
{
    return CreateModule(sink, videoStandard);
}

void DeleteCapabilityQueryModule(IIPCapabilityQuery* module)
{
    Delete(module);
}

std::uint32_t InitCapabilityQuery(ICapabilitySink* sink, std::uint8_t videoStandard)
{
    if (processModule != nullptr)
        return 0;
    processModule = CreateModule(sink, videoStandard);
    return 1; // also without memory for a module: `StartCapabilityQuery` shows that
}

std::uint32_t StartCapabilityQuery(const char* address, std::uint16_t port, const char* user,
                                   const char* password, ICapabilityStore* store)
{
    if (address == nullptr || user == nullptr || password == nullptr || processModule == nullptr)
        return 0;
    return korvane::Guarded(0u,
                            [&]() -> std::uint32_t
                            { return processModule->StartQuery(address, port, user, password, store); });
}

std::uint32_t TerminateCapabilityQuery()
{
    if (processModule != nullptr)
        processModule->TerminateQuery();
    return 1;
}

std::uint32_t UninitCapabilityQuery()
{
    Delete(std::exchange(processModule, nullptr)); // the sink may call this once more
    return 1;
}
