#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace korvane
{

/// What an m= line and the lines behind it say of one stream (RFC 8866, section 5.14).
struct SDPMediaSection
{
    std::uint16_t port = 0;
    std::string protocol; ///< such as "RTP/AVP"
    std::string address;  ///< IPv4 address of the c= line, without a TTL; empty for IPv6
    std::string control;  ///< relative or absolute URL of a=control, as it came
    std::uint8_t payloadType = 0;
    std::string encoding;         ///< "name/clock rate" of a=rtpmap, in the case of the line
    std::string formatParameters; ///< whole a=fmtp line; only of an mpeg4-generic audio section
};

struct SDPAudioFormat
{
    std::uint32_t codecCode = 1;  ///< four characters in reading order in memory; 1 when nothing was known
    std::uint32_t sampleRate = 0; ///< Hz
    std::uint32_t bitRate = 0;    ///< bit/s; only of G.726
    std::uint8_t reserved = 0;
    std::uint8_t channels = 1;
};

/// The a=fmtp line of an mpeg4-generic section (RFC 3640, section 4.1); lengths are in bits, 0 when absent.
struct SDPAudioParameters
{
    std::string streamtype;
    std::string profileLevelId;
    std::string mode;
    std::vector<std::uint8_t> config;
    std::uint32_t sizelength = 0;
    std::uint32_t indexlength = 0;
    std::uint32_t indexdeltalength = 0;
    std::uint32_t ctsdeltalength = 0;
    std::uint32_t dtsdeltalength = 0;
};

struct SDPDescription
{
    SDPMediaSection video;
    SDPMediaSection audio;
    SDPMediaSection data;
    SDPAudioFormat audioFormat;
    SDPAudioParameters audioParameters;
    std::vector<std::uint8_t> SPS;    ///< of H.264 video, without a start code; at most 256 bytes
    std::vector<std::uint8_t> PPS;    ///< as SPS
    std::vector<std::uint8_t> config; ///< of MPEG-4 video

    /// The section by number: 1 video, 2 audio, 3 data; any other number counts as 1.
    const SDPMediaSection& Section(std::uint32_t selector) const;
};

/// Reads the body of a DESCRIBE response: of each type of media the first section that can be set up, and
/// what a decoder needs to start. Not a general SDP reader. One thread at a time; no lock.
class CSDPResponseParser
{
public:
    virtual ~CSDPResponseParser() = default;

    /// Any bytes are acceptable input. False for an empty text, and as soon as a line that has to be
    /// understood is not; what was read until then stays.
    [[nodiscard]] bool Parse(std::string_view text);

    const SDPDescription& Description() const { return result_; }
    SDPDescription& Description() { return result_; }

private:
    enum class MediaType
    {
        None,
        Video,
        Audio,
        Data
    };

    /// A section under construction with what is stored together with it.
    struct Working
    {
        SDPMediaSection section;
        SDPAudioFormat audioFormat;
        SDPAudioParameters audioParameters;
    };

    bool ReadLine(std::string_view line);
    bool ReadMedia(std::string_view line);
    bool ReadControl(std::string_view line);
    bool ReadConnection(std::string_view line);
    bool ReadEncoding(std::string_view line);
    void ReadAudioEncoding();
    bool ReadFormat(std::string_view line);
    bool ReadVideoFormat(std::string_view line);
    bool ReadParameterSets(std::string_view value);
    bool ReadAudioFormat(std::string_view line);
    void StoreSection();

    SDPDescription result_;
    Working working_;
    MediaType type_ = MediaType::None;
};

} // namespace korvane
