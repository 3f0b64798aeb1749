#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "transport/rtp_packet.h"

namespace korvane
{

/// Receives what an interleaved session carries. Called on the thread that feeds the parser.
class IRTSPStreamParserUser
{
public:
    virtual ~IRTSPStreamParserUser() = default;
    /// The packet and its bytes live for the duration of the call.
    virtual void OnStreamPacket(CRTPPacket& packet) = 0;
    virtual void OnStreamBye() = 0; ///< the device ended the stream by an RTCP BYE
};

/// Cuts the byte stream of an interleaved session (RFC 2326, section 10.12) into RTP packets and RTCP blocks.
/// Bytes outside a frame, such as the text of responses, are passed over unread. One thread; no lock.
class CRTSPStreamParser
{
public:
    /// The most that is ever kept between two blocks: a frame of the largest length, less its last byte.
    static constexpr std::size_t kMaxPendingBytes = 4 + 65535 - 1;

    /// `user` outlives the parser. RTP comes on channel `rtpChannel`, RTCP on the channel behind it.
    CRTSPStreamParser(IRTSPStreamParserUser* user, std::uint8_t rtpChannel);
    virtual ~CRTSPStreamParser() = default;

    /// Takes the next bytes of the stream, cut anywhere, and calls the user for each frame that they
    /// complete. An exception out of a call is dropped and the parse goes on.
    void Feed(std::span<const std::uint8_t> block);

    std::size_t PendingBytes() const { return pending_.size(); }

private:
    std::size_t Cut(std::span<const std::uint8_t> stream);
    void Deliver(std::uint8_t channel, std::span<const std::uint8_t> frame);
    void DeliverControl(std::span<const std::uint8_t> frame);

    std::uint8_t rtpChannel_;
    IRTSPStreamParserUser* user_;
    std::vector<std::uint8_t> pending_; // begins with the "$" of a frame that is not whole yet, or is empty
    CRTPPacket packet_;
};

} // namespace korvane
