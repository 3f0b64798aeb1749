#pragma once

#include <larkmoor/capability_store.h>

#include <cstdint>

namespace korvane::ipcapture
{

/// Hears how a capability query ended. Implemented and owned by the host, valid as long as the query module.
class ICapabilitySink
{
public:
    virtual ~ICapabilitySink() = default;

    virtual void ReservedSlot1() = 0; ///< never called by the driver
    virtual void OnQueryDone() = 0;   ///< the store is filled; runs on the query thread

    /// `code`: 0 bad address, 1 login refused, 3 anything else. `text` is zero-ended, valid during the call.
    /// Runs on the query thread.
    virtual void OnQueryFailed(std::uint32_t code, const char* text) = 0;

    /// The query did not end in time and was given up; runs on the thread that deletes the module.
    virtual void OnQueryKilled() = 0;
};

/// One query of one device, run on a thread of its own. A module runs one query in its life.
class IIPCapabilityQuery
{
public:
    virtual ~IIPCapabilityQuery() = default;

    /// 1 when the query runs; its end is told to the sink. 0 if a text is null, a query was started before,
    /// or no thread could be had. Texts are zero-ended and copied; `store` must stay valid until the query
    /// has ended.
    virtual std::uint32_t StartQuery(const char* address, std::uint16_t port, const char* user,
                                     const char* password, ICapabilityStore* store) = 0;

    virtual void TerminateQuery() = 0; ///< ends a running query; returns at once; any thread
};

} // namespace korvane::ipcapture
