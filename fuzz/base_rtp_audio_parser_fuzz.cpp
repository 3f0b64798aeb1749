// One byte that chooses codec and rates, one that makes the decoder parameters, then a sequence of packets
// with loss (packet_script.h). Of G.711 and G.726 each frame is what came last and never short of a second;
// of AAC each frame is a unit that stood behind a header of its size, with sound of one side of a loss only.

#include <algorithm>

#include "audio/base_rtp_audio_parser.h"
#include "packet_script.h"
#include "require.h"
#include "support/frame_sink.h"

namespace
{

using korvane::CBaseRTPAudioParser;

constexpr std::uint32_t kCodes[] = {korvane::ipcapture::kFormatG711MuLaw, korvane::ipcapture::kFormatG711ALaw,
                                    korvane::ipcapture::kFormatG726, korvane::ipcapture::kFormatAac};
constexpr std::uint32_t kSampleRates[] = {0, 100, 8000, 44100};
constexpr std::uint32_t kBitRates[] = {0, 100, 32000, 0xFFFFFFFF};

/// Checks each frame against what was sent.
class Watch final : public korvane::IAudioParserClient
{
public:
    Watch(std::uint8_t choice, std::uint8_t config)
        : format_{kCodes[choice & 3], kSampleRates[choice >> 2 & 3], kBitRates[choice >> 4 & 3], 16,
                  static_cast<std::uint8_t>(choice >> 6)}
    {
        korvane::SDPAudioParameters parameters;
        parameters.config.assign(config * 2u, config);
        parser_.SetParameters(parameters);
        parser_.SetFormat(format_);
    }

    void Take(korvane::CRTPPacket& packet)
    {
        const auto payload = packet.Payload();
        if (IsAac() || payload.size() >= 2)
            sent_.insert(sent_.end(), payload.begin(), payload.end());
        parser_.ParseData(payload.data(), static_cast<std::uint32_t>(payload.size()), packet.SequenceNumber(),
                          packet.Marker());
        Require(!sink_.held);
    }

    bool AudioFrame(korvane::ipcapture::IHostFrame*) override
    {
        Require(sink_.size != 0 && sink_.size <= sent_.size() && sink_.format == format_.codecCode);
        delivered_ += sink_.size;
        Require(!IsAac() || (sink_.size <= 8191 && delivered_ <= sent_.size()));
        Require(IsAac() || sink_.size >= std::min(format_.sampleRate, CBaseRTPAudioParser::kMostBytes));
        Require(IsAac() ||
                std::equal(sink_.room.begin(), sink_.room.begin() + sink_.size, sent_.end() - sink_.size));
        return sink_.size % 7 != 0;
    }

private:
    bool IsAac() const { return format_.codecCode == korvane::ipcapture::kFormatAac; }

    const korvane::SDPAudioFormat format_;
    korvane::test::FrameSink sink_;
    CBaseRTPAudioParser parser_{this, &sink_, 0};
    std::vector<std::uint8_t> sent_;
    std::size_t delivered_ = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 2)
        return 0;
    Watch watch(data[0], data[1]);
    PacketScript{data + 2, size - 2}.Play([&watch](korvane::CRTPPacket& packet, const PacketScript::Choices&)
                                          { watch.Take(packet); });
    return 0;
}
