#include "audio/base_rtp_audio_parser.h"

#include "runtime/byte_order.h"
#include "runtime/guarded.h"

#include <algorithm>
#include <iterator>

namespace korvane
{

namespace
{

constexpr std::uint32_t kDefaultAuBytes = 2048; // when no bit rate is known
constexpr std::uint16_t kAuHeaderBits = 16;     // one AU header: 13 bits of size, 3 of index
constexpr std::size_t kAuHeaderBytes = 4;       // with the length field in front
constexpr std::size_t kMostConfigBytes = 255;
constexpr const char* kFrameFunction = "korvane::CBaseRTPAudioParser::ProcessAudioFrame";

// ISO/IEC 14496-3, table 1.18
constexpr std::uint32_t kSampleRates[] = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                          22050, 16000, 12000, 11025, 8000,  7350};

/// Also true of what is too short to tell.
bool MayBeginUnit(std::span<const std::uint8_t> bytes)
{
    return bytes.size() < 2 || Utils::LoadBigEndian16(bytes.data()) == kAuHeaderBits;
}

std::uint32_t MostAuBytes(std::uint32_t bitRate)
{
    return bitRate / 16 == 0 ? kDefaultAuBytes : std::min(bitRate / 16, CBaseRTPAudioParser::kMostBytes);
}

} // namespace

CBaseRTPAudioParser::CBaseRTPAudioParser(IAudioParserClient* client, IDriver* driver,
                                         std::uint8_t audioChannel)
    : client_(client), driver_(driver), audioChannel_(audioChannel), mostAuBytes_(MostAuBytes(0))
{
}

void CBaseRTPAudioParser::SetFormat(const SDPAudioFormat& format)
{
    format_ = format;
    mostAuBytes_ = MostAuBytes(format.bitRate);
}

void CBaseRTPAudioParser::SetParameters(const SDPAudioParameters& parameters)
{
    parameters_ = parameters;
    auBuffer_.clear();
    isTorn_ = false;
    isMarkerTelling_ = false;
}

void CBaseRTPAudioParser::Reset()
{
    lastSequence_ = 0;
    firstPacket_ = true;
    frameBuffer_.clear();
}

bool CBaseRTPAudioParser::CheckSequence(std::uint16_t sequence)
{
    const bool follows = firstPacket_ || sequence == static_cast<std::uint16_t>(lastSequence_ + 1);
    firstPacket_ = false;
    lastSequence_ = sequence;
    return follows;
}

void CBaseRTPAudioParser::ParseData(const std::uint8_t* data, std::uint32_t size, std::uint16_t sequence,
                                    bool marker)
{
    try
    {
        if (!CheckSequence(sequence))
        {
            Reset();
            if (MayBeginUnit(auBuffer_)) // foreign bytes stay, and are told of once they fill the buffer
            {
                auBuffer_.clear();
                isTorn_ = true;
            }
        }
        if (format_.codecCode == ipcapture::kFormatAac)
            return ParseAACData({data, data == nullptr ? 0 : size}, marker);
        ProcessData(data, size);
        if (frameBuffer_.size() >= std::min(format_.sampleRate, kMostBytes))
        {
            ProcessAudioFrame(frameBuffer_, 0);
            frameBuffer_.clear();
        }
    }
    catch (...)
    {
        frameBuffer_.clear(); // no memory, or the host's allocator threw: that frame is lost
    }
}

void CBaseRTPAudioParser::ProcessData(const std::uint8_t* data, std::uint32_t size)
{
    if (data != nullptr && size >= 2)
        frameBuffer_.insert(frameBuffer_.end(), data, data + size);
}

// The AU buffer as a device fills it, where an access unit may go on in the next packet (RFC 3640, section
// 3.2.1, with sizelength 13, indexlength 3 and one AU header in each section):
//
//   AU-headers-length (16 bits, always 16) | AU-size (13) AU-Index (3) | AU-size bytes | ...
//
// Anything else stays until the buffer is full, and then what follows it is dropped.
void CBaseRTPAudioParser::ParseAACData(std::span<const std::uint8_t> input, bool marker)
{
    isMarkerTelling_ |= !marker;
    if (isTorn_)
        LookForUnit(input);
    if (isTorn_ && auBuffer_.empty() && (input.size() < kAuHeaderBytes || !MayBeginUnit(input)))
        return;
    // A further fragment has the header of the first one again (section 3.2.3); it belongs to no sound.
    if (auBuffer_.size() > kAuHeaderBytes && input.size() > kAuHeaderBytes &&
        Utils::LoadBigEndian16(auBuffer_.data()) == kAuHeaderBits &&
        std::equal(input.begin(), input.begin() + kAuHeaderBytes, auBuffer_.begin()))
        input = input.subspan(kAuHeaderBytes);
    for (;;)
    {
        while (TakeAccessUnit())
        {
        }
        if (input.empty() || !HasRoom())
            break;
        const std::size_t taken = std::min(input.size(), mostAuBytes_ - auBuffer_.size());
        auBuffer_.insert(auBuffer_.end(), input.begin(), input.begin() + static_cast<std::ptrdiff_t>(taken));
        input = input.subspan(taken);
    }
    // The marker ends a unit (section 3.1): what is not whole by then began before the gap.
    if (isTorn_ && (!MayBeginUnit(auBuffer_) || (marker && isMarkerTelling_)))
        auBuffer_.clear();
}

// Behind a gap a packet that begins with another unit's header than the one in hand shows that this one will
// never be whole.
void CBaseRTPAudioParser::LookForUnit(std::span<const std::uint8_t> input)
{
    const std::size_t compared = std::min(auBuffer_.size(), kAuHeaderBytes);
    if (input.size() >= kAuHeaderBytes && MayBeginUnit(input) &&
        !std::equal(auBuffer_.begin(), auBuffer_.begin() + static_cast<std::ptrdiff_t>(compared),
                    input.begin()))
        auBuffer_.clear();
}

// False if the buffer doesn't begin with a whole access unit.
bool CBaseRTPAudioParser::TakeAccessUnit()
{
    if (auBuffer_.size() < kAuHeaderBytes || Utils::LoadBigEndian16(auBuffer_.data()) != kAuHeaderBits)
        return false;
    const std::uint32_t size = Utils::LoadBigEndian16(auBuffer_.data() + 2) >> 3;
    const std::size_t whole = kAuHeaderBytes + size;
    if (auBuffer_.size() < whole)
        return false;
    if (isTorn_ && !MayBeginUnit(std::span(auBuffer_).subspan(whole)))
    {
        auBuffer_.clear(); // its pieces are of two units
        return false;
    }
    isTorn_ = false;
    auBuffer_.erase(auBuffer_.begin(), auBuffer_.begin() + kAuHeaderBytes);
    if (size != 0) // an exception costs that frame alone: the next one begins after it
        Guarded([&] { ProcessAudioFrame(auBuffer_, size); });
    auBuffer_.erase(auBuffer_.begin(), auBuffer_.begin() + static_cast<std::ptrdiff_t>(size));
    return true;
}

// False, with a message now and then, if the AU buffer is full.
bool CBaseRTPAudioParser::HasRoom()
{
    if (auBuffer_.size() < mostAuBytes_)
        return true;
    const std::uint64_t quietMs = std::uint64_t{10} * driver_->GetDeviceInfo().networkTimeoutMs;
    if (overflowStamp_.GetElapsedMs() > quietMs)
    {
        overflowStamp_.Update();
        driver_->DebugMessage(
            kLevelError,
            "korvane::CBaseRTPAudioParser::ParseACCData: Audio buffer overflow max=%u mAudioBuffer=%u",
            mostAuBytes_, static_cast<unsigned>(auBuffer_.size()));
    }
    return false;
}

void CBaseRTPAudioParser::ProcessAudioFrame(const std::vector<std::uint8_t>& buffer, std::uint32_t size)
{
    if (driver_->GetFrameAllocator() == nullptr || buffer.empty() || !client_->WantsFrames())
        return;
    const std::size_t count = size == 0 ? buffer.size() : std::min<std::size_t>(buffer.size(), size);
    const CHostFrame frame(CHostFrame::Kind::kAudio, *driver_, driver_->GetDriverName(), format_.codecCode,
                           static_cast<std::uint32_t>(count));
    if (frame.Get() == nullptr)
    {
        driver_->DebugMessage(kLevelError, "%s: Unable to allocate  memory for audio frame!", kFrameFunction);
        return;
    }
    Deliver(frame, {buffer.data(), count});
}

void CBaseRTPAudioParser::Deliver(const CHostFrame& frame, std::span<const std::uint8_t> data)
{
    const std::vector<std::uint8_t> config =
        format_.codecCode == ipcapture::kFormatAac ? Config() : std::vector<std::uint8_t>();
    if (!frame.SetAudio(data, config) ||
        !frame.DescribeAudio(format_.sampleRate, format_.reserved, format_.channels == 2, format_.bitRate,
                             audioChannel_))
        return; // the host threw: that frame is lost
    if (Guarded(false, [&] { return client_->AudioFrame(frame.Get()); }))
        return;
    const DEVICE_INFO device = driver_->GetDeviceInfo();
    driver_->DebugMessage(kLevelError, "%s: Audio-frame processing error, camera %s:%u", kFrameFunction,
                          device.address.c_str(), static_cast<unsigned>(device.port));
    Reset();
}

std::vector<std::uint8_t> CBaseRTPAudioParser::Config() const
{
    const std::vector<std::uint8_t>& config = parameters_.config;
    if (!config.empty() && config.size() <= kMostConfigBytes)
        return config;
    const auto* const rate = std::find(std::begin(kSampleRates), std::end(kSampleRates), format_.sampleRate);
    if (rate == std::end(kSampleRates))
        return {};
    // ISO/IEC 14496-3, section 1.6.2.1: audioObjectType 2 (AAC LC, 5 bits), samplingFrequencyIndex (4),
    // channelConfiguration (4), and three bits of GASpecificConfig that are 0
    const auto index = static_cast<unsigned>(rate - std::begin(kSampleRates));
    std::vector<std::uint8_t> made(2);
    Utils::StoreBigEndian16(
        made.data(), static_cast<std::uint16_t>(2u << 11 | index << 7 | (format_.channels & 15u) << 3));
    return made;
}

} // namespace korvane
