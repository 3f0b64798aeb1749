#pragma once

#include "device/host_call.h"

#include <atomic>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace korvane
{

/// What a `TClientGate` knows without the type of its client.
class CClientGateBase
{
public:
    CClientGateBase() = default;
    CClientGateBase(const CClientGateBase&) = delete;
    CClientGateBase& operator=(const CClientGateBase&) = delete;

    /// Whether the calling thread is in a call through this gate, or in a scope of it: the host stops a
    /// channel from inside a call on one of the channel's own threads.
    bool IsInside() const { return current == serial_; }

    /// On a thread of the channel, or in a call, to the end of the scope.
    class Inside
    {
    public:
        explicit Inside(const CClientGateBase& gate) : before_(std::exchange(current, gate.serial_)) {}
        ~Inside() { current = before_; }
        Inside(const Inside&) = delete;
        Inside& operator=(const Inside&) = delete;

    private:
        const std::uint64_t before_;
    };

private:
    static inline std::atomic<std::uint64_t> lastSerial{0};
    static inline thread_local std::uint64_t current = 0; // of a gate: a later one may lie where it lay

    const std::uint64_t serial_ = ++lastSerial;
};

/// A channel's way to the host's client of it, from the threads that deliver and those that tell states. No
/// call begins once it is shut, until a client is set again.
template <class Client>
class TClientGate : public CClientGateBase
{
public:
    explicit TClientGate(Client* client) : client_(client) {} ///< the host's; may be null: all calls fail

    void Set(Client* client) { client_ = client; }
    void Shut() { client_ = nullptr; }

    /// What the client's operation gives; `failure` if it throws or there is nobody to call.
    template <class Result, class... Arguments>
    Result Ask(Result failure, Result (Client::*operation)(Arguments...),
               std::type_identity_t<Arguments>... arguments) const noexcept
    {
        Client* const client = client_;
        if (client == nullptr)
            return failure;
        const Inside inside(*this);
        try
        {
            const HostCallScope scope;
            return (client->*operation)(arguments...);
        }
        catch (...)
        {
            return failure;
        }
    }

    template <class... Arguments>
    void Tell(void (Client::*operation)(Arguments...), std::type_identity_t<Arguments>... arguments) const
    {
        Client* const client = client_;
        if (client == nullptr)
            return;
        const Inside inside(*this);
        CallHost([&] { (client->*operation)(arguments...); });
    }

private:
    std::atomic<Client*> client_;
};

} // namespace korvane
