#pragma once

#include <larkmoor/capability_store.h>

#include <cstdint>

namespace korvane
{
namespace ipcapture
{

/// Receives the result of a capability query. Implemented and owned by the host, valid until the query module
/// is deleted. Each query calls at most one of `OnQueryDone` and `OnQueryFailed`, once. The sink may delete
/// the module from inside either of them.
class ICapabilitySink
{
public:
    virtual ~ICapabilitySink() = default;

    virtual void ReservedSlot1() = 0; ///< never called by the driver
    virtual void OnQueryDone() = 0;   ///< the store is filled; on the query thread

    /// `code`: 0 bad address, 1 login refused, 3 anything else, including a cancelled query. `text` is
    /// English, zero-ended and valid during the call. On the query thread.
    virtual void OnQueryFailed(std::uint32_t code, const char* text) = 0;

    /// The query did not end within 20 s and was abandoned. On the thread that deletes the module.
    virtual void OnQueryKilled() = 0;
};

/// One query of one device, on its own thread. A module runs one query in its life. Any thread may call it.
class IIPCapabilityQuery
{
public:
    virtual ~IIPCapabilityQuery() = default;

    /// Returns 1 if the query was started; the sink receives its result. Returns 0 if a text is null, a query
    /// was started before, or the thread cannot be created. The driver copies the zero-ended texts; `port` is
    /// the HTTP port. `store` must stay valid until the query has ended.
    virtual std::uint32_t StartQuery(const char* address, std::uint16_t port, const char* user,
                                     const char* password, ICapabilityStore* store) = 0;

    /// Cancels the query and the request in progress. Returns at once; `OnQueryFailed` follows on the query
    /// thread, unless the store is already being written.
    virtual void TerminateQuery() = 0;
};

} // namespace ipcapture
} // namespace korvane
