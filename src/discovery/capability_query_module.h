#pragma once

#include "device/driver.h"
#include "discovery/camera_properties_ex.h"
#include "platform/thread.h"
#include "runtime/one_at_a_time.h"
#include "runtime/smart_ptr.h"

#include <larkmoor/capability_query.h>

#include <cstdint>

namespace korvane
{

/// Asks one device what it is, on a thread of its own, and tells the host how that ended. A device family
/// completes it with its properties.
///
/// A module runs one query in its life. Any thread may call; a sink may delete the module from within its
/// call.
class CCapabilityQueryModule : public ipcapture::IIPCapabilityQuery
{
public:
    /// `sink` is the host's and is kept; `videoStandardFlag`: 0 PAL, anything else NTSC.
    CCapabilityQueryModule(ipcapture::ICapabilitySink* sink, std::uint8_t videoStandardFlag);

    /// Ends the request in progress, and waits for a running query for at most twice the network time-out,
    /// 20 s; then gives its thread up and tells the sink so. A query that was given up calls neither store
    /// nor sink any more, and what it holds of the properties is never freed.
    ~CCapabilityQueryModule() override;

    std::uint32_t StartQuery(const char* address, std::uint16_t port, const char* user, const char* password,
                             ipcapture::ICapabilityStore* store) override;
    void TerminateQuery() override;

    /// What is to be filled, from the device record and the video standard; null if it can't be made. The
    /// caller owns it.
    virtual CCameraPropertiesEx* CreateProperties() = 0;

    /// The body of the query thread.
    virtual void RunQuery();

protected:
    /// What the destructor does. A derived class calls it from its own, so that the query thread never meets
    /// an object that is half gone; a second call does nothing.
    void StopQuery();

    const std::uint32_t videoStandardFlag_; ///< 1 NTSC, 0 PAL
    DEVICE_INFO device_;                    ///< which device, set before `CreateProperties` is asked

private:
    using Properties = TSmartPtr<CCameraPropertiesEx>;

    static std::uint32_t ThreadEntry(void* module);
    bool Prepare(const char* address, std::uint16_t port, const char* user, const char* password);
    Properties ShareProperties();

    ipcapture::ICapabilitySink* const sink_;
    ipcapture::ICapabilityStore* store_ = nullptr;
    Properties properties_;
    COneAtATime turn_;              // to start or stop
    CRecursiveLock propertiesLock_; // guards the pointer properties_, for a few instructions
    platform::Thread thread_;       // keeps its handle when the query has ended
};

} // namespace korvane
