#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "platform/held_locks.h"
#include "runtime/event.h"

namespace korvane
{

/// A lock that its owner may take again, for the short regions of per-packet and per-frame paths: one atomic
/// operation when free; a taken one is tried for some rounds before the thread sleeps. Not fair.
class CRecursiveLock
{
public:
    explicit CRecursiveLock(platform::LockPlace place = platform::LockPlace::kObject);
    ~CRecursiveLock();
    CRecursiveLock(const CRecursiveLock&) = delete;
    CRecursiveLock& operator=(const CRecursiveLock&) = delete;

    bool TryEnter(); ///< false when another thread held it through all rounds
    void Enter();    ///< each one wants a `Leave`
    void Leave();    ///< by the owner only

private:
    struct State
    {
        std::uint32_t spinCount = 0;               // further tries before a thread sleeps
        std::atomic<std::uint32_t> lockCount{0};   // entries and waiters
        std::atomic<std::uint32_t> ownerThread{0}; // id, 0 when free; only its owner finds itself in it
        std::uint32_t recursionCount = 0;          // the owner's alone
    };

    void Take(std::uint32_t thread);

    const platform::LockPlace place_;
    CEvent wakeUp_{false};
    const std::unique_ptr<State> state_;
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
