#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include "runtime/base_thread.h"
#include "runtime/recursive_lock.h"

namespace korvane
{

class CReadTurn;

/// The one watch of the process over all users to whom a socket is lent, on the thread "RTP Read Watch".
///
/// Looks every `kLookMs` while packets go to any of them, and sleeps while none do. So a user that stays with
/// one packet loses its socket to the socket's own thread after one to two such times.
class CReadWatch : public CBaseThread
{
public:
    static constexpr std::uint32_t kLookMs = 4;

    /// The watch, which lives as long as anybody holds it; null if its thread can't be made. Any thread.
    static std::shared_ptr<CReadWatch> Get();

    CReadWatch() : CBaseThread(nullptr) {}
    ~CReadWatch() override; ///< joins; no turn is left

    void Add(CReadTurn& turn);    ///< before the threads of the turn run
    void Remove(CReadTurn& turn); ///< after them; once more does nothing

    /// Ends its sleep. By whoever begins to hand packets to a user; no system call while it is awake.
    void Wake()
    {
        if (isAsleep_.load() && isAsleep_.exchange(false))
            wakeEvent_.Set();
    }

    void Run() override;

private:
    bool LookAtAll();
    void Sleep();
    bool IsAnyDelivering();

    CRecursiveLock lock_; // guards the list, also while it is looked at
    std::vector<CReadTurn*> turns_;
    std::atomic<bool> isAsleep_{false};
    CEvent wakeEvent_{false};
};

} // namespace korvane
