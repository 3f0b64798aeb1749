#include "transport/rtp_receiver.h"

#include <span>
#include <utility>

#include "platform/clock.h"
#include "runtime/guarded.h"

namespace korvane
{

namespace
{

constexpr std::uint32_t kReadSize = 1536; // suits the packets that networks carry
constexpr std::uint32_t kReceiverStopMs = 2000;
constexpr std::uint32_t kIdleMs = 1000;
constexpr std::uint32_t kLossLineMs = 60'000; // from one line to the next
constexpr std::size_t kMostSpare = 8;         // items that wait for their next packet, per side

} // namespace

struct CRTPReceiver::Item
{
    platform::SocketAddress sender;
    CRTPPacket packet;

    static constexpr std::size_t kHeapBytes = 32; // beside the two blocks
    std::size_t Bytes() const { return sizeof(Item) + kHeapBytes + packet.Capacity(); }
};

CRTPReceiver::CRTPReceiver(IDebugMessage* debug) : CBaseThread(debug)
{
    static_assert(sizeof(Item) + Item::kHeapBytes + CRTPPacket::kMostSpareBytes <= 256);
}

CRTPReceiver::~CRTPReceiver()
{
    CRTPReceiver::Stop();
}

bool CRTPReceiver::StartUnicast(std::uint16_t port)
{
    return Start([this, port](IRTPClient& client) { return client.StartUnicast(this, port); });
}

bool CRTPReceiver::StartMulticast(const std::string& address, std::uint16_t port)
{
    return Start([&](IRTPClient& client) { return client.StartMulticast(this, address, port); });
}

template <class StartClient>
bool CRTPReceiver::Start(StartClient startClient)
{
    const COneAtATime::Turn only(startOrStop_);
    Stop(); // the port may be the same
    client_.Reset(new CUDPClient(debug_));
    client_->Lend();
    // Before the client's thread looks at it, so that its memory is the small one from the start.
    client_->SetReadSize(kReadSize);
    if (startClient(*client_) && StartThread("RTP Packet Queue (" + std::to_string(GetPort()) + ")"))
        return true;
    Stop();
    return false;
}

// The thread goes first: it reads the client's socket. Each step may be done a second time: the thread that
// did it first may have been given up in it.
void CRTPReceiver::Stop()
{
    stopEvent_.Set();
    const COneAtATime::Turn only(startOrStop_);
    StopThread(kReceiverStopMs);
    if (client_)
        client_->Stop();
    client_.Release();
    EmptyQueue();
}

void CRTPReceiver::OnStopRequested()
{
    if (client_)
        client_->Interrupt();
}

std::uint16_t CRTPReceiver::GetPort() const
{
    return client_ ? client_->GetPort() : std::uint16_t{0};
}

void CRTPReceiver::EmptyQueue()
{
    std::deque<std::unique_ptr<Item>> dropped; // freed without the lock
    const CLockGuard guard(lock_);
    dropped.swap(queue_);
    queuedBytes_ = 0;
}

std::unique_ptr<CRTPReceiver::Item> CRTPReceiver::NewItem()
{
    if (ownSpare_.empty())
    {
        const CLockGuard guard(lock_);
        ownSpare_.swap(spare_);
    }
    if (ownSpare_.empty())
        return std::make_unique<Item>();
    std::unique_ptr<Item> item = std::move(ownSpare_.back());
    ownSpare_.pop_back();
    return item;
}

void CRTPReceiver::OnDatagram(IRTPClient& client, const platform::SocketAddress& sender,
                              const std::uint8_t* data, std::uint32_t length)
{
    if (&client != client_.Get())
        return;
    std::unique_ptr<Item> item = NewItem();
    item->sender = sender;
    if (!item->packet.Parse(data, length))
        ownSpare_.push_back(std::move(item));
    else if (!IsStopping())
        Push(std::move(item));
    // One wake-up for all that arrived together. Also behind one that was dropped: others may wait.
    if (!client.HasMore())
        dataEvent_.Set();
}

void CRTPReceiver::Push(std::unique_ptr<Item> item)
{
    std::deque<std::unique_ptr<Item>> dropped; // freed without the lock
    const std::size_t bytes = item->Bytes();
    const CLockGuard guard(lock_);
    if (queuedBytes_ + bytes > kMostQueuedBytes)
    {
        dropped.swap(queue_);
        queuedBytes_ = 0;
        droppedPackets_ += dropped.size();
        if (!std::exchange(isDropping_, true) || untoldDrops_ != 0)
            untoldDrops_ += static_cast<std::uint32_t>(dropped.size());
    }
    queuedBytes_ += bytes;
    queue_.push_back(std::move(item));
}

void CRTPReceiver::OnTimeout(IRTPClient&)
{
    if (user_ != nullptr && !IsStopping())
        user_->OnRTPTimeout();
}

void CRTPReceiver::OnClosed(IRTPClient&)
{
    // The owner sees a stream that has fallen silent, and acts on that.
}

std::unique_ptr<CRTPReceiver::Item> CRTPReceiver::Pop(std::unique_ptr<Item> done)
{
    std::unique_ptr<Item> item;
    const CLockGuard guard(lock_);
    if (done != nullptr && spare_.size() < kMostSpare)
        spare_.push_back(std::move(done)); // its memory takes a later packet
    if (!queue_.empty())
    {
        item = std::move(queue_.front());
        queue_.pop_front();
        queuedBytes_ -= item->Bytes();
    }
    isDropping_ = isDropping_ && !queue_.empty(); // the user has caught up: what comes next is a new run
    return item;
}

bool CRTPReceiver::IsQueueEmpty()
{
    const CLockGuard guard(lock_);
    return queue_.empty();
}

void CRTPReceiver::Run()
{
    CDatagramBatch batch(kReadSize);
    CReadTurn& turn = client_->Turn();
    CEvent* const events[] = {&stopEvent_, &dataEvent_, &turn.GivenBack()};
    lossesSeen_ = 0;
    untoldLosses_ = 0;
    bool canRead = true;
    while (!IsStopping())
    {
        for (std::unique_ptr<Item> item; (item = Pop(std::move(item))) != nullptr && !IsStopping();)
        {
            TellSlowUser();
            Give(item->sender, item->packet);
        }
        TellLosses();
        if (!canRead || !turn.TryBeginReading())
        {
            CEvent::WaitForAny(events, 3, kIdleMs);
            continue;
        }
        if (!IsQueueEmpty())
        {
            turn.EndReading(); // what the client's thread queued before it gave the turn back comes first
            continue;
        }
        canRead = client_->Read(batch);
        for (CDatagramBatch::Arrived next; canRead && batch.Next(next) && !IsStopping();)
        {
            CRTPPacket packet;
            if (packet.ParseInPlace(next.bytes.data(), static_cast<std::uint32_t>(next.bytes.size())))
                Give(next.sender, packet);
        }
    }
    EmptyQueue();
}

// The host's log may stall: meanwhile the socket's thread reads, as while a packet is with the user.
void CRTPReceiver::TellSlowUser()
{
    if (untoldDrops_.load(std::memory_order_relaxed) == 0)
        return;
    const std::uint32_t drops = untoldDrops_.exchange(0);
    if (debug_ != nullptr && !IsStopping())
        debug_->DebugMessage(kLevelWarning,
                             "%s: The user of port %hu is slower than the network: %u packets were dropped",
                             "korvane::CRTPReceiver::OnDatagram", GetPort(), drops);
}

void CRTPReceiver::TellLosses()
{
    const std::uint32_t losses = client_->DroppedDatagrams();
    untoldLosses_ += losses - std::exchange(lossesSeen_, losses);
    if (untoldLosses_ == 0)
        return;
    const std::uint32_t now = platform::Clock::Milliseconds();
    if (lossesToldMs_ && now - *lossesToldMs_ < kLossLineMs)
        return;
    lossesToldMs_ = now;
    const std::uint32_t untold = std::exchange(untoldLosses_, 0);
    if (debug_ != nullptr && !IsStopping())
        debug_->DebugMessage(kLevelWarning,
                             "%s: The receive buffer of port %hu was full: %u packets were dropped",
                             "korvane::CRTPReceiver::Run", GetPort(), untold);
}

void CRTPReceiver::Give(const platform::SocketAddress& sender, CRTPPacket& packet)
{
    if (user_ == nullptr || IsStopping())
        return;
    client_->Turn().BeginPacket();
    Guarded([&] { user_->OnRTPReceived(sender, packet); }); // a user that fails on one packet gets the next
}

} // namespace korvane
