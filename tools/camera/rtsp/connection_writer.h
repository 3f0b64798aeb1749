#pragma once

#include "camera/fault/fault_plan.h"
#include "camera/rtsp/rtp_packet_batch.h"

#include <boost/asio/ip/tcp.hpp>

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>

namespace larkmoor::camera
{

/// Writes responses and interleaved packets (RFC 2326, 10.12) into one TCP connection, in order and never one
/// within the other. What the client does not take yet waits, and the next frames are refused while it does.
class ConnectionWriter : public std::enable_shared_from_this<ConnectionWriter>
{
public:
    /// `socket` outlives all calls; `limit` is what may wait, in bytes. `onHungry` is called when so much of
    /// what waited has gone that IsHungry, `onFailed` once when the connection has failed; both from Asio,
    /// never from within Add.
    ConnectionWriter(boost::asio::ip::tcp::socket& socket, std::size_t limit, std::function<void()> onHungry,
                     std::function<void()> onFailed);

    void AddText(std::string text);
    /// `rtpChannel` frames media packets, `rtpChannel` + 1 control packets.
    void AddPackets(PacketBatch batch, std::uint8_t rtpChannel);

    bool IsFull() const { return waitingBytes_ >= limit_; }
    bool IsHungry() const { return waitingBytes_ < limit_ / kHungryShare; }

    /// Writes in odd pieces, down to single bytes, from now on or no more.
    void SetCutting(bool cut) { cutting_ = cut; }
    /// Half of the next thing written goes out, then the connection is reset.
    void ResetInTheMiddle() { resetting_ = true; }
    /// Nothing is written any more, and what was to be is thrown away.
    void Mute();
    /// Closes with an RST (true), or an orderly FIN behind what waits.
    void Close(bool reset);

private:
    static constexpr std::size_t kHungryShare = 4; // enough waits so that the client never does

    struct Chunk
    {
        std::string text; // or
        PacketBatch batch;
    };

    void Add(Chunk chunk, std::size_t size);
    void Write();
    void WaitForRoom();
    bool WriteSome(std::size_t limit, std::size_t& written);
    void Drop(std::size_t bytes);
    std::size_t NextCut();
    void Fail();

    boost::asio::ip::tcp::socket& socket_;
    const std::size_t limit_;
    std::function<void()> onHungry_;
    std::function<void()> onFailed_;
    std::deque<Chunk> chunks_;
    std::size_t frontPacket_ = 0; // of the front batch: the first that is not wholly gone
    std::size_t frontOffset_ = 0; // of that packet or text: bytes gone
    std::size_t waitingBytes_ = 0;
    bool waiting_ = false; // for room in the socket
    bool cutting_ = false;
    bool resetting_ = false;
    bool closing_ = false; // as soon as all is gone
    bool dead_ = false;
    std::size_t cuts_ = 0;
};

/// One session's two channels of its RTSP connection, with the faults of what travels between the frames:
/// interleaved-garbage, interleaved-early (frames on channels that nobody asked for) and interleaved-cut.
class InterleavedOutput : public PacketOutput
{
public:
    /// Media go on `rtpChannel`, control packets on the next one. `faults` outlives this object.
    InterleavedOutput(std::shared_ptr<ConnectionWriter> writer, std::uint8_t rtpChannel,
                      const FaultPlan& faults)
        : writer_(std::move(writer)), rtpChannel_(rtpChannel), faults_(faults)
    {
    }

    void Send(PacketBatch batch) override;
    bool IsFull() const override { return writer_->IsFull(); }
    bool IsHungry() const override { return writer_->IsHungry(); }

private:
    const std::shared_ptr<ConnectionWriter> writer_;
    const std::uint8_t rtpChannel_;
    const FaultPlan& faults_;
    std::size_t oddities_ = 0;
};

} // namespace larkmoor::camera
