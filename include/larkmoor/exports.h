#pragma once

/// The sixteen functions of the library, under plain names, and the types of pointers to them for a host that
/// loads the library at run time. None of them throws.

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
    /// A new driver, not opened yet, or null if there is no memory. The five levels make the same object;
    /// they differ in what the host knows of it. Any thread.
    LARKMOOR_EXPORT korvane::ipcapture::IIPCaptureDriver* CreateIPCapture();
    LARKMOOR_EXPORT korvane::ipcapture::IIPCaptureDriverEx* CreateIPCaptureEx();
    LARKMOOR_EXPORT korvane::ipcapture::IIPCaptureDriverEx2* CreateIPCaptureEx2();
    LARKMOOR_EXPORT korvane::ipcapture::IIPCaptureDriverEx3* CreateIPCaptureEx3();
    LARKMOOR_EXPORT korvane::ipcapture::IIPCaptureDriverEx4* CreateIPCaptureEx4();

    /// Destroys a driver, whichever `Create...` made it; null does nothing. The host calls `Close` before.
    LARKMOOR_EXPORT void DeleteIPCapture(korvane::ipcapture::IIPCaptureDriver* driver);
    LARKMOOR_EXPORT void DeleteIPCaptureEx(korvane::ipcapture::IIPCaptureDriverEx* driver);
    LARKMOOR_EXPORT void DeleteIPCaptureEx2(korvane::ipcapture::IIPCaptureDriverEx2* driver);
    LARKMOOR_EXPORT void DeleteIPCaptureEx3(korvane::ipcapture::IIPCaptureDriverEx3* driver);
    LARKMOOR_EXPORT void DeleteIPCaptureEx4(korvane::ipcapture::IIPCaptureDriverEx4* driver);

    /// A query module that the caller holds, or null. `videoStandard`: 0 PAL, else NTSC. `sink` is kept.
    LARKMOOR_EXPORT korvane::ipcapture::IIPCapabilityQuery*
    CreateCapabilityQueryModule(korvane::ipcapture::ICapabilitySink* sink, std::uint8_t videoStandard);

    /// Destroys a module of `CreateCapabilityQueryModule`, waiting for its query for at most 20 s; null does
    /// nothing.
    LARKMOOR_EXPORT void DeleteCapabilityQueryModule(korvane::ipcapture::IIPCapabilityQuery* module);

    /// Makes the one query module of the process: 1, or 0 if it exists already. The four functions of this
    /// module take no lock: the host calls them one at a time.
    LARKMOOR_EXPORT std::uint32_t InitCapabilityQuery(korvane::ipcapture::ICapabilitySink* sink,
                                                      std::uint8_t videoStandard);

    /// `IIPCapabilityQuery::StartQuery` on the module of the process; 0 if there is none or a text is null.
    LARKMOOR_EXPORT std::uint32_t StartCapabilityQuery(const char* address, std::uint16_t port,
                                                       const char* user, const char* password,
                                                       korvane::ipcapture::ICapabilityStore* store);
    LARKMOOR_EXPORT std::uint32_t
    TerminateCapabilityQuery(); ///< `TerminateQuery`, if there is a module; always 1
    LARKMOOR_EXPORT std::uint32_t UninitCapabilityQuery(); ///< destroys the module of the process; always 1
}

namespace korvane::ipcapture
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

} // namespace korvane::ipcapture
