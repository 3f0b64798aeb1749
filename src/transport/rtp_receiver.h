#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/socket.h"
#include "runtime/base_thread.h"
#include "runtime/one_at_a_time.h"
#include "runtime/recursive_lock.h"
#include "runtime/smart_ptr.h"
#include "transport/rtp_packet.h"
#include "transport/udp_client.h"

namespace korvane
{

/// What a user of `CRTPReceiver` hears. Exceptions are dropped.
class IRTPReceiverUser
{
public:
    virtual ~IRTPReceiverUser() = default;

    /// One packet, in order of arrival, on the queue's thread. `packet` and what it refers to are valid
    /// during the call only.
    virtual void OnRTPReceived(const platform::SocketAddress& sender, CRTPPacket& packet) = 0;

    /// Nothing arrived during one wait time; on the thread that reads, and not during a stop.
    virtual void OnRTPTimeout() {}
    virtual void OnRTPClosed() {}
};

/// Takes RTP packets from a UDP port to its user on the thread "RTP Packet Queue (%hu)", so that a slow
/// parser or host never holds up the socket.
///
/// Keeps arrival order; what is not RTP is dropped. As long as the user keeps up, the queue's thread reads
/// the socket itself, which saves waking one thread by another for every frame. When the user stays with one
/// packet, the client's thread reads, parses and queues in its place (transport/read_turn.h). The queue is
/// bounded by `kMostQueuedBytes`: a user that stays slower than the network finds the whole queue gone, which
/// shows as a break in the sequence, and the log tells it once per run of such drops; what the system dropped
/// before it could be read it tells once a minute. The queue's thread writes both, and no lock is held during
/// a callback. Callers serialise the starts, and call neither start nor stop from a callback; a stop may come
/// while another one is under way.
class CRTPReceiver : public IRTPClientUser, public CBaseThread
{
public:
    /// Memory that is held, of which at most as much again as the payload is spare: about four seconds of a
    /// 16 Mbit/s stream.
    static constexpr std::size_t kMostQueuedBytes = 8 * 1024 * 1024;

    explicit CRTPReceiver(IDebugMessage* debug);
    ~CRTPReceiver() override; ///< stops

    void SetUser(IRTPReceiverUser* user) { user_ = user; } ///< not owned; before a start

    /// Receives on `port`, on a new client. On false all is stopped.
    bool StartUnicast(std::uint16_t port);
    /// Same, from the group `address` (dotted text).
    bool StartMulticast(const std::string& address, std::uint16_t port);

    /// From its return on there is no callback, and the queue is empty. Within 2,000 ms and what the client
    /// takes; a user that does not come back by then is given up with its thread. A second caller waits for
    /// the first, and goes on in its place when that one's thread was given up.
    void Stop();

    std::uint16_t GetPort() const; ///< of the client; 0 if there is none

    std::uint64_t DroppedPackets() const { return droppedPackets_; } ///< by the bound, since construction
    TSmartPtr<CUDPClient> Client() const { return client_; }         ///< empty when stopped

    void OnDatagram(IRTPClient& client, const platform::SocketAddress& sender, const std::uint8_t* data,
                    std::uint32_t length) override;
    void OnTimeout(IRTPClient& client) override;
    void OnClosed(IRTPClient& client) override;

    void Run() override;

protected:
    void OnStopRequested() override;

private:
    struct Item;

    template <class StartClient>
    bool Start(StartClient startClient);
    std::unique_ptr<Item> NewItem();
    void Push(std::unique_ptr<Item> item);
    std::unique_ptr<Item> Pop(std::unique_ptr<Item> done);
    bool IsQueueEmpty();
    void EmptyQueue();
    void Give(const platform::SocketAddress& sender, CRTPPacket& packet);
    void TellSlowUser();
    void TellLosses();

    COneAtATime startOrStop_;
    TSmartPtr<CUDPClient> client_; // the same for as long as the queue's thread runs
    IRTPReceiverUser* user_ = nullptr;
    CRecursiveLock lock_; // guards the queue and the next three
    std::deque<std::unique_ptr<Item>> queue_;
    std::size_t queuedBytes_ = 0;
    bool isDropping_ = false; // since the queue was last empty
    std::vector<std::unique_ptr<Item>> spare_;
    std::vector<std::unique_ptr<Item>> ownSpare_; // the socket thread's
    std::atomic<std::uint64_t> droppedPackets_{0};
    std::atomic<std::uint32_t> untoldDrops_{0}; // of a run that the log does not have yet
    CEvent dataEvent_{false};
    // The queue's thread's:
    std::uint32_t lossesSeen_ = 0;   // of the client's count
    std::uint32_t untoldLosses_ = 0; // since the last line
    std::optional<std::uint32_t> lossesToldMs_;
};

} // namespace korvane
