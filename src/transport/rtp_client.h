#pragma once

#include <cstdint>
#include <string>

#include "platform/socket.h"

namespace korvane
{

class IRTPClient;

/// What a user of `IRTPClient` hears, on the client's thread. It must not start or stop the client from here.
/// Exceptions are dropped.
class IRTPClientUser
{
public:
    virtual ~IRTPClientUser() = default;

    /// One datagram; `data` is the client's and valid during the call only.
    virtual void OnDatagram(IRTPClient& client, const platform::SocketAddress& sender,
                            const std::uint8_t* data, std::uint32_t length) = 0;

    virtual void OnTimeout(IRTPClient& client) = 0; ///< nothing arrived during one wait time

    /// No more will come: by a stop (then on the thread that stops), or because the socket has failed.
    virtual void OnClosed(IRTPClient& client) = 0;
};

/// A source of datagrams on one port, on a thread of its own. Callers serialise the calls.
class IRTPClient
{
public:
    virtual ~IRTPClient() = default;

    /// Starts on the group `address` (dotted text) and `port`; on false the client is stopped.
    virtual bool StartMulticast(IRTPClientUser* user, const std::string& address, std::uint16_t port) = 0;
    virtual bool StartUnicast(IRTPClientUser* user, std::uint16_t port) = 0;

    /// Stops and waits for the thread; gives the result of joining it. Not on the client's own thread.
    virtual bool Stop() = 0;

    /// First size of a read in bytes, at most 65,535; looked at when the thread starts.
    virtual void SetReadSize(std::uint32_t bytes) = 0;
    /// How long one wait for data may last; may change while the client runs.
    virtual void SetWaitTime(std::uint32_t waitMs) = 0;

    virtual std::uint16_t GetPort() const = 0; ///< 0 when stopped

    /// Within `OnDatagram`: another one follows at once, so that a user may put off what it does once for
    /// several. A client that does not know says no.
    virtual bool HasMore() const { return false; }
};

} // namespace korvane
