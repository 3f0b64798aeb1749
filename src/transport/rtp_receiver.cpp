#include "transport/rtp_receiver.h"

#include <cstdio>
#include <span>
#include <utility>

#include "transport/datagram_batch.h"
#include "transport/udp_client.h"

namespace korvane
{

namespace
{

constexpr std::uint32_t kReadSize = 1536; // suits the packets that networks carry
constexpr std::uint32_t kWaitMs = 2000;
constexpr std::uint32_t kReceiverStopMs = 2000;
constexpr std::uint32_t kIdleMs = 1000;
constexpr std::size_t kMostSpare = 8; // items that wait for their next packet, per side

} // namespace

struct CRTPReceiver::Item
{
    platform::SocketAddress sender;
    CRTPPacket packet;

    // With the two blocks' own overhead.
    std::size_t Bytes() const
    {
        return sizeof(Item) + packet.Payload().size() + packet.Extension().size() + 32;
    }
};

CRTPReceiver::CRTPReceiver(IDebugMessage* debug) : CBaseThread(debug) {}

CRTPReceiver::~CRTPReceiver()
{
    CRTPReceiver::Stop();
}

bool CRTPReceiver::StartUnicast(bool keepClient, std::uint16_t port)
{
    return Start(keepClient, [this, port](IRTPClient& client) { return client.StartUnicast(this, port); });
}

bool CRTPReceiver::StartMulticast(const std::string& address, std::uint16_t port)
{
    return Start(false, [&](IRTPClient& client) { return client.StartMulticast(this, address, port); });
}

template <class StartClient>
bool CRTPReceiver::Start(bool keepClient, StartClient startClient)
{
    if (!keepClient)
    {
        if (client_)
            client_->Stop(); // its thread looks at the pointer, and the port may be the same
        udpClient_ = new CUDPClient(debug_);
        udpClient_->SetUserReads(true);
        client_.Reset(udpClient_);
    }
    if (client_)
    {
        // Before the client's thread looks at it, so that its memory is the small one from the start.
        client_->SetReadSize(kReadSize);
        if (startClient(*client_))
        {
            client_->SetWaitTime(kWaitMs);
            EmptyQueue();
            threadsClient_ = client_;
            char name[64];
            std::snprintf(name, sizeof(name), "RTP Packet Queue (%hu)", GetPort());
            if (StartThread(name))
                return true;
        }
    }
    Stop();
    return false;
}

void CRTPReceiver::Stop()
{
    stopEvent_.Set();
    if (client_)
    {
        client_->Stop();
        client_.Release();
    }
    EmptyQueue();
    StopThread(kReceiverStopMs);
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
    std::deque<std::unique_ptr<Item>> dropped;
    bool isFirstDrop = false;
    {
        const CLockGuard guard(lock_);
        if (queuedBytes_ + item->Bytes() > kMostQueuedBytes)
        {
            dropped.swap(queue_);
            queuedBytes_ = 0;
            isFirstDrop = !std::exchange(isDropping_, true);
        }
        queuedBytes_ += item->Bytes();
        queue_.push_back(std::move(item));
    }
    droppedPackets_ += dropped.size();
    if (isFirstDrop && debug_ != nullptr)
        debug_->DebugMessage(
            kLevelWarning, "%s: The user of port %hu is slower than the network: %u packets were dropped",
            "korvane::CRTPReceiver::OnDatagram", GetPort(), static_cast<unsigned>(dropped.size()));
}

void CRTPReceiver::OnTimeout(IRTPClient& client)
{
    if (&client == client_.Get() && user_ != nullptr)
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
    const TSmartPtr<IRTPClient> keeper(std::move(threadsClient_));
    CUDPClient& client = *udpClient_;
    CDatagramBatch batch(kReadSize);
    CEvent* const events[] = {&stopEvent_, &dataEvent_, &client.TurnEvent()};
    bool canRead = true;
    while (!IsStopping())
    {
        HandleQueued();
        if (!canRead || !client.TryBeginReading())
            CEvent::WaitForAny(events, 3, kIdleMs);
        else if (!IsQueueEmpty())
            client.EndReading(); // what the client's thread queued before it gave the turn back comes first
        else
            canRead = HandleArriving(client, batch);
    }
    EmptyQueue();
}

void CRTPReceiver::HandleQueued()
{
    std::unique_ptr<Item> item;
    while ((item = Pop(std::move(item))) != nullptr && !IsStopping())
        Give(item->sender, item->packet);
}

bool CRTPReceiver::HandleArriving(CUDPClient& client, CDatagramBatch& batch)
{
    if (!client.Read(batch))
        return false;
    batch.ForEach(
        [this](const platform::SocketAddress& sender, std::span<const std::uint8_t> bytes, bool)
        {
            CRTPPacket packet;
            if (packet.ParseInPlace(bytes.data(), static_cast<std::uint32_t>(bytes.size())))
                Give(sender, packet);
            return !IsStopping();
        });
    return true;
}

void CRTPReceiver::Give(const platform::SocketAddress& sender, CRTPPacket& packet)
{
    if (user_ == nullptr || IsStopping())
        return;
    try
    {
        user_->OnRTPReceived(sender, packet);
    }
    catch (...)
    {
        // one packet that the user fails on is no reason to keep the next from it
    }
}

} // namespace korvane
