#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include <larkmoor/host_frame.h>

#include "device/driver.h"
#include "device/host_frame.h"
#include "parsers/time_stamp_converter.h"
#include "transport/rtp_packet.h"

namespace korvane
{

/// Where a media parser's frames go: its channel. Called on the thread that feeds the parser.
class IMediaParserClient
{
public:
    /// One whole frame, the host's, valid during the call. False when it was not taken; the parser then
    /// waits for the next key frame.
    virtual bool OnMediaFrame(ipcapture::IHostFrame* frame) = 0;

    /// The width and height in pixels that the channel asked the device for.
    virtual void GetResolution(std::pair<std::uint32_t, std::uint32_t>& resolution) = 0;

protected:
    ~IMediaParserClient() = default; // never deleted through this interface
};

/// What the description of a stream gave of its decoder parameters; empty where it gave nothing.
struct ParameterSets
{
    std::vector<std::uint8_t> SPS;
    std::vector<std::uint8_t> PPS;
    std::vector<std::uint8_t> config;
};

/// The base of the parsers that build whole frames from RTP packets.
///
/// Packets come in order of arrival and are never reordered: a gap in the sequence numbers is a loss, and
/// costs the frame in hand. The marker bit alone ends a frame. Frames come from the host's allocator and go
/// to the client. One thread feeds the parser, once client and parameter sets are given; no lock.
class CRTPMediaParser
{
public:
    /// The most that a frame under construction may hold, in bytes: far above any picture of a camera, and
    /// reached only by a stream that never ends a frame.
    static constexpr std::size_t kMaxFrameBytes = 10 * 1024 * 1024;

    /// `driver` outlives the parser. `driverName` is what the allocator is told.
    CRTPMediaParser(IDriver* driver, std::string driverName);
    virtual ~CRTPMediaParser() = default;

    /// Never throws; the packet is looked at in the call only.
    virtual void OnPacket(CRTPPacket& packet);
    virtual void ResetParser(); ///< forgets the frame in hand and its size, and waits for a key frame
    virtual void SetParameterSets(const ParameterSets& parameterSets); ///< copies them

    /// The packets from now on are those of a new stream, whose timestamps have nothing to do with the last
    /// ones: the next packet starts the times anew. Any thread.
    void StartTimesAnew() { timesStartAnew_ = true; }

    /// Not owned; while it is null no frames are made.
    void SetClient(IMediaParserClient* client) { client_ = client; }

protected:
    using Bytes = std::span<const std::uint8_t>;

    /// Adds what the payload brings to the frame buffer. False, after a reset where there is something to
    /// forget, when the packet ends here.
    virtual bool AddPayload(Bytes payload) = 0;

    /// Delivers what the frame buffer holds, which is something, and is emptied then.
    virtual void CompleteFrame(std::uint32_t timestamp) = 0;

    /// Takes a new stream's mark, and notes the packet's sequence number. True for the first packet of the
    /// parser's life and for one that follows the last.
    bool CheckSequence(const CRTPPacket& packet);

    /// False, with a message, when the frame buffer holds more than `kMaxFrameBytes`.
    bool CheckBufferSize();

    /// Whether there is somebody to make frames for.
    bool CanDeliver() const { return client_ != nullptr && driver_->GetFrameAllocator() != nullptr; }

    /// Makes a frame of what the frame buffer holds and hands it over; a reset if it could not be filled or
    /// was refused. Without a frame of the host's that picture is lost, and no more.
    void DeliverFrame(std::uint32_t format);

    void Append(std::span<const std::uint8_t> bytes)
    {
        frameBuffer_.insert(frameBuffer_.end(), bytes.begin(), bytes.end());
    }

    IDriver* const driver_;
    const std::string driverName_;
    IMediaParserClient* client_ = nullptr;
    CTimeStampConverter converter_;
    std::vector<std::uint8_t> frameBuffer_; // the frame under construction; keeps its capacity
    ParameterSets parameterSets_;
    bool waitingForKey_ = true; // what comes before a key frame is dropped
    bool markerMayEnd_ = true;  // the frame; set for each packet, before its payload is added
    std::uint32_t width_ = 0;   // pixels, of the last key frame; 0 when unknown
    std::uint32_t height_ = 0;  // as width_

private:
    std::uint16_t lastSequence_ = 0;
    bool firstPacket_ = true;
    std::atomic<bool> timesStartAnew_{false};
    bool awaitsSource_ = false; // since the times started anew, all packets are of the source below
    std::uint32_t lastSource_ = 0;
};

} // namespace korvane
