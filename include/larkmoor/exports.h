#pragma once

/// The sixteen functions that the library exports under plain C names, and the types of pointers to them for
/// a host that loads the library at run time. None of them throws.
///
/// The headers need C++11 and include only <cstdint>. All types are in `korvane::ipcapture`, except
/// `SYSTEMTIME`.

#include <larkmoor/capability_query.h>
#include <larkmoor/ip_capture_driver.h>

#include <cstdint>

#if defined(_WIN32)
#if defined(LARKMOOR_BUILDING)
#define LARKMOOR_EXPORT __declspec(dllexport)
#else
#define LARKMOOR_EXPORT
#endif
#else
#define LARKMOOR_EXPORT __attribute__((visibility("default")))
#endif

extern "C"
{
    /// Creates a driver that is not open yet; null if memory runs out. The host deletes it with any of the
    /// `Delete...` functions. All five create the same object and return it under different interfaces. Any
    /// thread.
    LARKMOOR_EXPORT korvane::ipcapture::IIPCaptureDriver* CreateIPCapture();
    LARKMOOR_EXPORT korvane::ipcapture::IIPCaptureDriverEx* CreateIPCaptureEx();
    LARKMOOR_EXPORT korvane::ipcapture::IIPCaptureDriverEx2* CreateIPCaptureEx2();
    LARKMOOR_EXPORT korvane::ipcapture::IIPCaptureDriverEx3* CreateIPCaptureEx3();
    LARKMOOR_EXPORT korvane::ipcapture::IIPCaptureDriverEx4* CreateIPCaptureEx4();

    /// Deletes a driver, whichever `Create...` function created it; null does nothing. Call `Close` first.
    /// Not from inside a call of the driver into the host.
    LARKMOOR_EXPORT void DeleteIPCapture(korvane::ipcapture::IIPCaptureDriver* driver);
    LARKMOOR_EXPORT void DeleteIPCaptureEx(korvane::ipcapture::IIPCaptureDriverEx* driver);
    LARKMOOR_EXPORT void DeleteIPCaptureEx2(korvane::ipcapture::IIPCaptureDriverEx2* driver);
    LARKMOOR_EXPORT void DeleteIPCaptureEx3(korvane::ipcapture::IIPCaptureDriverEx3* driver);
    LARKMOOR_EXPORT void DeleteIPCaptureEx4(korvane::ipcapture::IIPCaptureDriverEx4* driver);

    /// Creates a query module; null if memory runs out. `videoStandard`: 0 PAL, otherwise NTSC; used for
    /// property 1, and for a device that does not report its own. `sink` may be null and must stay valid
    /// until the module is deleted. Any thread.
    LARKMOOR_EXPORT korvane::ipcapture::IIPCapabilityQuery*
    CreateCapabilityQueryModule(korvane::ipcapture::ICapabilitySink* sink, std::uint8_t videoStandard);

    /// Deletes a module of `CreateCapabilityQueryModule`; null does nothing. It cancels a running query and
    /// waits for it for at most 20 s. Then it abandons the query and calls `OnQueryKilled`.
    LARKMOOR_EXPORT void DeleteCapabilityQueryModule(korvane::ipcapture::IIPCapabilityQuery* module);

    /// Creates the one query module of the process, with the same arguments. Returns 1, or 0 if the module
    /// exists already. The four functions of this module are not thread-safe: call them one at a time.
    LARKMOOR_EXPORT std::uint32_t InitCapabilityQuery(korvane::ipcapture::ICapabilitySink* sink,
                                                      std::uint8_t videoStandard);

    /// Calls `IIPCapabilityQuery::StartQuery` on the module of the process. Returns 0 also if there is no
    /// module.
    LARKMOOR_EXPORT std::uint32_t StartCapabilityQuery(const char* address, std::uint16_t port,
                                                       const char* user, const char* password,
                                                       korvane::ipcapture::ICapabilityStore* store);
    LARKMOOR_EXPORT std::uint32_t
    TerminateCapabilityQuery(); ///< calls `TerminateQuery` if there is a module; returns 1
    LARKMOOR_EXPORT std::uint32_t UninitCapabilityQuery(); ///< deletes the module of the process; returns 1
}

namespace korvane
{
namespace ipcapture
{

using CreateIPCaptureFunction = IIPCaptureDriver* (*)();
using CreateIPCaptureExFunction = IIPCaptureDriverEx* (*)();
using CreateIPCaptureEx2Function = IIPCaptureDriverEx2* (*)();
using CreateIPCaptureEx3Function = IIPCaptureDriverEx3* (*)();
using CreateIPCaptureEx4Function = IIPCaptureDriverEx4* (*)();
using DeleteIPCaptureFunction = void (*)(IIPCaptureDriver*);
using DeleteIPCaptureExFunction = void (*)(IIPCaptureDriverEx*);
using DeleteIPCaptureEx2Function = void (*)(IIPCaptureDriverEx2*);
using DeleteIPCaptureEx3Function = void (*)(IIPCaptureDriverEx3*);
using DeleteIPCaptureEx4Function = void (*)(IIPCaptureDriverEx4*);
using CreateCapabilityQueryModuleFunction = IIPCapabilityQuery* (*)(ICapabilitySink*, std::uint8_t);
using DeleteCapabilityQueryModuleFunction = void (*)(IIPCapabilityQuery*);
using InitCapabilityQueryFunction = std::uint32_t (*)(ICapabilitySink*, std::uint8_t);
using StartCapabilityQueryFunction = std::uint32_t (*)(const char*, std::uint16_t, const char*, const char*,
                                                       ICapabilityStore*);
using TerminateCapabilityQueryFunction = std::uint32_t (*)();
using UninitCapabilityQueryFunction = std::uint32_t (*)();

} // namespace ipcapture
} // namespace korvane
