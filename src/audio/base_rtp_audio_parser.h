#pragma once

#include "device/driver.h"
#include "device/host_frame.h"
#include "runtime/time.h"
#include "transport/sdp_response_parser.h"

#include <larkmoor/host_frame.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace korvane
{

/// Takes the frames of an audio parser, on the thread that feeds the parser.
class IAudioParserClient
{
public:
    virtual ~IAudioParserClient() = default;

    /// One frame, valid during the call only. False makes the parser begin afresh with the next packet.
    virtual bool AudioFrame(ipcapture::IHostFrame* frame) = 0;

    /// Whether frames are wanted: at a stop none is made of what has been read already.
    virtual bool WantsFrames() { return true; }
};

/// Builds audio frames for the host from RTP payloads: of G.711 and G.726 (RFC 3551) frames of as many bytes
/// as the format has samples in a second, of AAC (RFC 3640, with AU headers of 16 bits, one AU behind each)
/// one frame for each access unit. Frames carry the time of their delivery.
///
/// Packets come in order of arrival and are never reordered: at a gap in the sequence numbers what was
/// gathered is thrown away, so that no frame holds sound from both sides of it. All on one thread at a time;
/// no lock.
class CBaseRTPAudioParser
{
public:
    /// The most bytes that are gathered for a frame, whatever rates a device claims: a minute of G.711 at its
    /// highest rate, and far above any access unit.
    static constexpr std::uint32_t kMostBytes = 1024 * 1024;

    /// `client` and `driver` are not owned and outlive the parser. `audioChannel` is what frames are marked
    /// with.
    CBaseRTPAudioParser(IAudioParserClient* client, IDriver* driver, std::uint8_t audioChannel);

    /// Adds a payload to a frame of G.711 or G.726; one of fewer than 2 bytes is passed over.
    virtual void ProcessData(const std::uint8_t* data, std::uint32_t size);

    /// Makes a frame of the first `size` bytes of `buffer`, or of all of it if `size` is 0, and hands it
    /// over.
    virtual void ProcessAudioFrame(const std::vector<std::uint8_t>& buffer, std::uint32_t size);

    virtual ~CBaseRTPAudioParser() = default;

    /// The payload of the packet with that sequence number and marker bit; any bytes are acceptable input.
    /// Never throws.
    virtual void ParseData(const std::uint8_t* data, std::uint32_t size, std::uint16_t sequence, bool marker);

    /// Forgets the frame in hand and the last sequence number. What was gathered of AAC stays; only a gap
    /// ends it.
    virtual void Reset();

    void SetFormat(const SDPAudioFormat& format);

    /// The decoder parameters of a new description, and so of a new stream: what was gathered of AAC before
    /// is of no more use.
    void SetParameters(const SDPAudioParameters& parameters);

private:
    bool CheckSequence(std::uint16_t sequence);
    void ParseAACData(std::span<const std::uint8_t> input, bool marker);
    void LookForUnit(std::span<const std::uint8_t> input);
    bool TakeAccessUnit();
    bool HasRoom();
    std::vector<std::uint8_t> Config() const;
    void Deliver(const CHostFrame& frame, std::span<const std::uint8_t> data);

    IAudioParserClient* const client_;
    IDriver* const driver_;
    const std::uint8_t audioChannel_;
    std::uint16_t lastSequence_ = 0;
    bool firstPacket_ = true;
    SDPAudioFormat format_;
    SDPAudioParameters parameters_;
    std::vector<std::uint8_t> frameBuffer_; // G.711 and G.726
    std::vector<std::uint8_t> auBuffer_;    // AU headers and access units, as they came
    bool isTorn_ = false;                   // no whole access unit since a gap
    bool isMarkerTelling_ = false;          // the device does not set it on every packet
    std::uint32_t mostAuBytes_;             // in the AU buffer
    CTime overflowStamp_;                   // of the last message
};

} // namespace korvane
