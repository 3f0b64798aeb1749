#pragma once

#include <atomic>
#include <cstdint>

#include "platform/held_locks.h"
#include "runtime/event.h"

namespace korvane
{

/// A lock that its owner may take again, for the short regions of per-packet and per-frame paths: one atomic
/// operation when free; a taken one is tried for some rounds before the thread sleeps. Not fair.
class CRecursiveLock
{
public:
    explicit CRecursiveLock(platform::LockPlace place = platform::LockPlace::kObject) : place_(place) {}

    bool TryEnter(); ///< false when another thread held it through all rounds
    void Enter();    ///< each one wants a `Leave`
    void Leave();    ///< by the owner only

private:
    void Take(std::uint32_t thread);

    const platform::LockPlace place_;
    std::atomic<std::uint32_t> threads_{0}; // the owner and those that sleep until it leaves
    std::atomic<std::uint32_t> owner_{0};   // its id, 0 when free; only the owner finds itself in it
    std::uint32_t depth_ = 0;               // the owner's alone: entries that want a `Leave`
    CEvent wakeUp_{false};
};

/// Holds a lock for a scope.
class CLockGuard
{
public:
    explicit CLockGuard(CRecursiveLock& lock) : lock_(lock) { lock_.Enter(); }
    ~CLockGuard() { lock_.Leave(); }
    CLockGuard(const CLockGuard&) = delete;
    CLockGuard& operator=(const CLockGuard&) = delete;

private:
    CRecursiveLock& lock_;
};

} // namespace korvane
