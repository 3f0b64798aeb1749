#include "transport/rtsp_stream_parser.h"

#include <algorithm>

#include "runtime/byte_order.h"
#include "runtime/guarded.h"
#include "transport/rtcp_packet.h"

namespace korvane
{

namespace
{

constexpr std::uint8_t kFrameMark = '$';
constexpr std::size_t kFrameHeaderBytes = 4;
constexpr unsigned kControlVersion = 2;

} // namespace

CRTSPStreamParser::CRTSPStreamParser(IRTSPStreamParserUser* user, std::uint8_t rtpChannel)
    : rtpChannel_(rtpChannel), user_(user)
{
}

void CRTSPStreamParser::Feed(std::span<const std::uint8_t> block)
{
    if (pending_.empty())
    {
        // The usual case at low rates: a block of whole frames is read where it lies.
        const std::size_t used = Cut(block);
        pending_.assign(block.begin() + static_cast<std::ptrdiff_t>(used), block.end());
        return;
    }
    pending_.insert(pending_.end(), block.begin(), block.end());
    const std::size_t used = Cut(pending_);
    pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(used));
}

//  0                   1                   2                   3
//  0 1 2 3 4 5 6 7 8 9 0 1 2 3 4 5 6 7 8 9 0 1 2 3 4 5 6 7 8 9 0 1
// +-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+
// |      "$"      |    channel    |            length             |
// |                     length bytes of a frame                   |
//
// Gives the number of bytes that are done with.
std::size_t CRTSPStreamParser::Cut(std::span<const std::uint8_t> stream)
{
    std::size_t from = 0;
    for (;;)
    {
        const auto mark =
            std::find(stream.begin() + static_cast<std::ptrdiff_t>(from), stream.end(), kFrameMark);
        const auto at = static_cast<std::size_t>(mark - stream.begin());
        if (stream.size() - at <= kFrameHeaderBytes)
            return at;

        const std::uint8_t channel = stream[at + 1];
        if (channel != rtpChannel_ && channel != rtpChannel_ + 1)
        {
            from = at + 1;
            continue;
        }
        const std::size_t length = Utils::LoadBigEndian16(&stream[at + 2]);
        if (length > stream.size() - at - kFrameHeaderBytes)
            return at;
        // One frame that the user could not take costs that frame and not the session.
        Guarded([&] { Deliver(channel, stream.subspan(at + kFrameHeaderBytes, length)); });
        from = at + kFrameHeaderBytes + length;
    }
}

void CRTSPStreamParser::Deliver(std::uint8_t channel, std::span<const std::uint8_t> frame)
{
    if (channel != rtpChannel_)
        DeliverControl(frame);
    else if (packet_.ParseInPlace(frame.data(), static_cast<std::uint32_t>(frame.size())))
        user_->OnStreamPacket(packet_);
}

void CRTSPStreamParser::DeliverControl(std::span<const std::uint8_t> frame)
{
    for (RTCPWalker walker(frame); walker.Next() && walker.Version() == kControlVersion;)
        if (walker.Type() == kRTCPBye)
            user_->OnStreamBye();
}

} // namespace korvane
