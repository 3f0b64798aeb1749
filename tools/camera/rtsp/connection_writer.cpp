#include "camera/rtsp/connection_writer.h"

#include <boost/asio/post.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string>
#include <string_view>
#include <utility>

#include <sys/socket.h>

namespace larkmoor::camera
{

namespace
{

using boost::asio::ip::tcp;

constexpr std::size_t kPartsPerCall = 256;

// Lengths that cut framing, headers and payloads at every odd place.
constexpr std::array<std::size_t, 16> kCuts = {1, 1, 1, 1, 2, 1, 3, 13, 1, 17, 5, 700, 1, 3, 1999, 7};

using namespace std::string_view_literals;

// None of it holds a "$" with the number of a channel in use behind it: no reader could tell that from a
// frame.
constexpr std::array<std::string_view, 6> kGarbage = {
    "\x00\xFF\x80\xE0stray"sv, "$"sv,    "RTSP/1.0 200 OK\r\nCSeq: 1\r\n\r\n"sv,
    "$$\x7F\x00\x05$tray"sv,   "\r\n"sv, "ANNOUNCE rtsp://127.0.0.1/ RTSP/1.0\r\nCSeq: 1\r\n\r\n"sv,
};

/// A frame for the channel four above that of the session.
std::string UnaskedFrame(std::uint8_t rtpChannel)
{
    std::string frame = std::string("$?\0\x10"sv).replace(1, 1, 1, static_cast<char>(rtpChannel + 4));
    return frame + std::string("\x80\x60\x12\x34unasked-data"sv);
}

} // namespace

ConnectionWriter::ConnectionWriter(tcp::socket& socket, std::size_t limit, std::function<void()> onHungry,
                                   std::function<void()> onFailed)
    : socket_(socket), limit_(limit), onHungry_(std::move(onHungry)), onFailed_(std::move(onFailed))
{
}

void ConnectionWriter::AddText(std::string text)
{
    const std::size_t size = text.size();
    Add({std::move(text), {}}, size);
}

void ConnectionWriter::AddPackets(PacketBatch batch, std::uint8_t rtpChannel)
{
    for (OutPacket& packet : batch.packets)
    {
        const std::size_t size = packet.Size();
        packet.head[0] = '$';
        packet.head[1] = static_cast<std::uint8_t>(rtpChannel + (packet.control ? 1 : 0));
        packet.head[2] = static_cast<std::uint8_t>(size >> 8);
        packet.head[3] = static_cast<std::uint8_t>(size);
    }
    const std::size_t size = batch.Size();
    Add({{}, std::move(batch)}, size);
}

void ConnectionWriter::Add(Chunk chunk, std::size_t size)
{
    if (dead_ || closing_ || size == 0)
        return;
    chunks_.push_back(std::move(chunk));
    waitingBytes_ += size;
    if (!waiting_)
        Write();
}

void ConnectionWriter::Write()
{
    const std::size_t allowed = resetting_ ? (waitingBytes_ + 1) / 2 : SIZE_MAX;
    std::size_t total = 0;
    while (!chunks_.empty() && total < allowed)
    {
        std::size_t written = 0;
        const std::size_t limit = std::min(allowed - total, cutting_ ? NextCut() : SIZE_MAX);
        if (!WriteSome(limit, written))
            return;
        if (written == 0)
        {
            WaitForRoom();
            return;
        }
        Drop(written);
        total += written;
    }
    if (resetting_)
    {
        Close(true);
        Fail();
    }
    else if (closing_)
        Close(false);
}

/// One system call with at most `limit` bytes; 0 written means that there is no room. False if it failed.
bool ConnectionWriter::WriteSome(std::size_t limit, std::size_t& written)
{
    std::array<iovec, kPartsPerCall> parts;
    std::size_t count = 0;
    std::size_t skip = frontOffset_;
    const auto add = [&](const void* data, std::size_t size)
    {
        const std::size_t skipped = std::min(skip, size);
        skip -= skipped;
        const std::size_t used = std::min(size - skipped, limit);
        if (used == 0 || count == parts.size())
            return;
        // The system only reads through this pointer.
        parts[count++] = {const_cast<char*>(static_cast<const char*>(data)) + skipped, used};
        limit -= used;
    };
    std::size_t packet = frontPacket_;
    for (const Chunk& chunk : chunks_)
    {
        if (limit == 0 || count == parts.size())
            break;
        add(chunk.text.data(), chunk.text.size());
        for (; packet < chunk.batch.packets.size() && limit > 0 && count + 2 <= parts.size(); ++packet)
        {
            const OutPacket& each = chunk.batch.packets[packet];
            add(each.head.data(), OutPacket::kFramingBytes + each.headBytes);
            add(each.shared.data(), each.shared.size());
        }
        if (packet < chunk.batch.packets.size())
            break;
        packet = 0;
    }
    msghdr message{};
    message.msg_iov = parts.data();
    message.msg_iovlen = count;
    const ssize_t result = sendmsg(socket_.native_handle(), &message, MSG_DONTWAIT | MSG_NOSIGNAL);
    if (result >= 0)
    {
        written = static_cast<std::size_t>(result);
        return true;
    }
    if (errno == EAGAIN || errno == EINTR)
        return true;
    Fail();
    return false;
}

/// Forgets bytes that are gone.
void ConnectionWriter::Drop(std::size_t bytes)
{
    waitingBytes_ -= bytes;
    frontOffset_ += bytes;
    while (!chunks_.empty())
    {
        const Chunk& front = chunks_.front();
        if (front.text.empty())
        {
            const auto& packets = front.batch.packets;
            while (frontPacket_ < packets.size() &&
                   frontOffset_ >= OutPacket::kFramingBytes + packets[frontPacket_].Size())
                frontOffset_ -= OutPacket::kFramingBytes + packets[frontPacket_++].Size();
            if (frontPacket_ < packets.size())
                return;
            frontPacket_ = 0;
        }
        else
        {
            if (frontOffset_ < front.text.size())
                return;
            frontOffset_ -= front.text.size();
        }
        chunks_.pop_front();
    }
}

std::size_t ConnectionWriter::NextCut()
{
    return kCuts[cuts_++ % kCuts.size()];
}

void ConnectionWriter::WaitForRoom()
{
    waiting_ = true;
    socket_.async_wait(tcp::socket::wait_write,
                       [self = shared_from_this()](const boost::system::error_code& error)
                       {
                           self->waiting_ = false;
                           if (error || self->dead_)
                               return;
                           self->Write();
                           if (self->IsHungry() && !self->dead_ && self->onHungry_)
                               self->onHungry_();
                       });
}

void ConnectionWriter::Mute()
{
    dead_ = true;
    chunks_.clear();
    waitingBytes_ = 0;
}

void ConnectionWriter::Close(bool reset)
{
    if (!reset && !chunks_.empty() && !dead_)
    {
        closing_ = true;
        return;
    }
    Mute();
    onHungry_ = nullptr;
    boost::system::error_code ignored;
    if (reset)
        socket_.set_option(boost::asio::socket_base::linger(true, 0), ignored);
    else
        socket_.shutdown(tcp::socket::shutdown_both, ignored);
    socket_.close(ignored);
}

void ConnectionWriter::Fail()
{
    Mute();
    if (auto tell = std::exchange(onFailed_, nullptr))
        boost::asio::post(socket_.get_executor(), std::move(tell));
}

void InterleavedOutput::Send(PacketBatch batch)
{
    writer_->SetCutting(faults_.Active("interleaved-cut"));
    if (faults_.Active("interleaved-garbage"))
        writer_->AddText(std::string(kGarbage[oddities_++ % kGarbage.size()]));
    if (faults_.Active("interleaved-early"))
        writer_->AddText(UnaskedFrame(rtpChannel_));
    writer_->AddPackets(std::move(batch), rtpChannel_);
}

} // namespace larkmoor::camera
