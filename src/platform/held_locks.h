#pragma once

#include <cstdint>

namespace korvane::platform
{

/// Where a lock is in the one order in which a thread may take several: under a lock it takes only those of a
/// later place. Each is held for a few lines, never across a wait or a call into the host. What lasts longer,
/// such as a stop or a request to a device, has a `COneAtATime` in place of a lock.
enum class LockPlace : std::uint8_t
{
    kDriver, ///< a driver's pointer to its video capture object
    kTable,  ///< the channels by number
    kObject, ///< one object's own state: all others
    kClient, ///< the request in hand of an HTTP client
};

/// The books on the locks that the calling thread holds. Debug builds keep them, and end the process with a
/// line that names the rule when one is broken: that is a mistake of the driver, never of its input. Release
/// builds keep none.
namespace HeldLocks
{

#ifdef NDEBUG
inline void Take(LockPlace) {}
inline void Release(LockPlace) {}
inline void CheckWait() {}
inline void CheckHostCall() {}
inline void ForbidHostCalls() {}
inline std::uint32_t Count()
{
    return 0;
}
#else
void Take(LockPlace place);    ///< by the lock, when it is had; not for a further entry of its owner
void Release(LockPlace place); ///< by the lock, before it is left
void CheckWait();              ///< where a wait begins that something outside of the driver can prolong
void CheckHostCall();          ///< where a call into the host begins
void ForbidHostCalls();        ///< by a thread that reads a socket which must never be left unread
std::uint32_t Count();         ///< locks that the calling thread holds
#endif

/// Around the wait for a lock: it may come while locks of a lower place are held.
class WaitForLock
{
#ifdef NDEBUG
public:
    WaitForLock() {} // not defaulted: else the object would count as unused
#else
public:
    WaitForLock();
    ~WaitForLock();
    WaitForLock(const WaitForLock&) = delete;
    WaitForLock& operator=(const WaitForLock&) = delete;
#endif
};

} // namespace HeldLocks

} // namespace korvane::platform
