#include "transport/sdp_response_parser.h"

#include <utility>

#include <larkmoor/host_frame.h>

#include "runtime/encoding.h"
#include "runtime/param_text.h"
#include "runtime/text.h"

namespace korvane
{

namespace
{

constexpr std::string_view kLineEnds = "\r\n";
constexpr std::string_view kVideoSeparators = " ;\r\n";
constexpr std::string_view kAudioSeparators = " ;";
constexpr std::string_view kGenericAudio = "mpeg4-generic";
constexpr std::uint32_t kMaxParameterSetBytes = 256;

using Bytes = std::vector<std::uint8_t>;

std::string_view TextBehind(std::string_view line, std::string_view mark)
{
    const std::size_t at = line.find(mark);
    return at == std::string_view::npos ? std::string_view() : line.substr(at + mark.size());
}

std::string Piece(const std::vector<std::string>& pieces, std::size_t index)
{
    return index < pieces.size() ? pieces[index] : std::string();
}

bool Holds(std::string_view text, std::string_view part)
{
    return text.find(part) != std::string_view::npos;
}

Bytes DecodeBase64(std::string_view text)
{
    Bytes bytes(kMaxParameterSetBytes);
    std::uint32_t size = kMaxParameterSetBytes;
    if (!Utils::Base64Decode(text.data(), static_cast<std::uint32_t>(text.size()), bytes.data(), size))
        size = 0;
    bytes.resize(size);
    return bytes;
}

} // namespace

const SDPMediaSection& SDPDescription::Section(std::uint32_t selector) const
{
    if (selector == 2)
        return audio;
    return selector == 3 ? data : video;
}

bool CSDPResponseParser::Parse(std::string_view text)
{
    result_ = SDPDescription();
    working_ = Working();
    type_ = MediaType::None;
    if (text.empty())
        return false;

    std::size_t at = text.find_first_not_of(kLineEnds);
    while (at != std::string_view::npos)
    {
        const std::size_t end = text.find_first_of(kLineEnds, at);
        if (!ReadLine(text.substr(at, end - at)))
            return false;
        at = text.find_first_not_of(kLineEnds, end);
    }
    StoreSection();
    return true;
}

bool CSDPResponseParser::ReadLine(std::string_view line)
{
    constexpr std::size_t kLongestKind = sizeof("a=recvonly") - 1;
    const std::string kind = Utils::ToLower(line.substr(0, kLongestKind));
    if (kind.starts_with("m="))
        return ReadMedia(line);
    if (kind.starts_with("a=control"))
        return ReadControl(line);
    if (kind.starts_with("a=fmtp"))
        return ReadFormat(line);
    if (kind.starts_with("c=in"))
        return ReadConnection(line);
    if (kind.starts_with("a=rtpmap"))
        return ReadEncoding(line);
    if (kind.starts_with("a=sendonly"))
        type_ = MediaType::None; // the device only listens here, so there is nothing to record
    return true;
}

void CSDPResponseParser::StoreSection()
{
    const bool isAudio = type_ == MediaType::Audio;
    SDPMediaSection& target = isAudio                     ? result_.audio
                              : type_ == MediaType::Video ? result_.video
                                                          : result_.data;
    if (type_ == MediaType::None || !target.control.empty())
        return;
    target = std::move(working_.section);
    if (isAudio)
    {
        result_.audioFormat = working_.audioFormat;
        result_.audioParameters = std::move(working_.audioParameters);
    }
}

bool CSDPResponseParser::ReadMedia(std::string_view line)
{
    StoreSection();
    working_ = Working();
    const std::vector<std::string> words = Utils::SplitString(TextBehind(line, "m="), ' ');
    if (words.empty())
        return false;

    const std::string type = Utils::ToLower(words[0]);
    if (type == "video")
        type_ = MediaType::Video;
    else if (type == "audio")
        type_ = MediaType::Audio;
    else if (type == "metadata" || type == "data" || type == "application")
        type_ = MediaType::Data;
    else
        type_ = MediaType::None;

    if (words.size() >= 3)
    {
        working_.section.port = Utils::ToUInt16(words[1]);
        working_.section.protocol = words[2];
    }
    return true;
}

bool CSDPResponseParser::ReadControl(std::string_view line)
{
    const std::string_view control = TextBehind(line, "a=control:");
    if (control.empty())
        return false;
    working_.section.control = control;
    return true;
}

bool CSDPResponseParser::ReadConnection(std::string_view line)
{
    const std::vector<std::string> words = Utils::SplitString(TextBehind(line, "c="), ' ');
    if (words.size() < 3 || words[0] != "IN")
        return false;
    if (words[1] == "IP6")
        return true; // reception is over IPv4
    if (words[1] != "IP4")
        return false;
    const std::string address = words[2].substr(0, words[2].find('/'));
    if (address.empty())
        return false;
    working_.section.address = address;
    return true;
}

bool CSDPResponseParser::ReadEncoding(std::string_view line)
{
    const std::vector<std::string> words =
        Utils::SplitString(Utils::GetParamValue(line, "a=rtpmap", ":", "&\r\n"), ' ');
    if (words.size() < 2)
        return false;
    working_.section.payloadType = Utils::ToUInt8(words[0]);
    working_.section.encoding = words[1];
    if (type_ == MediaType::Audio)
        ReadAudioEncoding();
    return true;
}

void CSDPResponseParser::ReadAudioEncoding()
{
    const std::vector<std::string> pieces =
        Utils::SplitString(Utils::ToLower(working_.section.encoding), '/');
    const std::string name = Piece(pieces, 0);
    const std::uint32_t sampleRate = Utils::ToUInt32(Piece(pieces, 1));
    SDPAudioFormat& format = working_.audioFormat;

    if (Holds(name, kGenericAudio))
    {
        format.channels = Utils::ToUInt8(Piece(pieces, 2));
        if (format.channels == 0)
            format.channels = 1;
    }
    else if (Holds(name, "pcmu"))
        format.codecCode = ipcapture::kFormatG711MuLaw;
    else if (Holds(name, "pcma"))
        format.codecCode = ipcapture::kFormatG711ALaw;
    else if (Holds(name, "g726"))
    {
        format.codecCode = ipcapture::kFormatG726;
        const std::uint32_t kilobits = Utils::ToUInt32(Piece(Utils::SplitString(name, '-'), 1));
        if (kilobits != 0)
            format.bitRate = kilobits * 1000;
    }
    else
        return;
    format.sampleRate = sampleRate;
}

bool CSDPResponseParser::ReadFormat(std::string_view line)
{
    if (type_ == MediaType::Video)
        return ReadVideoFormat(line);
    if (type_ == MediaType::Audio)
        return ReadAudioFormat(line);
    return type_ == MediaType::Data;
}

bool CSDPResponseParser::ReadVideoFormat(std::string_view line)
{
    const std::string sets = Utils::GetParamValue(line, "sprop-parameter-sets", "=", kVideoSeparators);
    if (!sets.empty())
        return ReadParameterSets(sets);

    const std::string config = Utils::GetParamValue(line, "config", "=", kVideoSeparators);
    if (config.empty())
        return false;
    if (!result_.config.empty())
        return true;
    if (Holds(config, "="))
        result_.config = DecodeBase64(config);
    else
        Utils::HexToBytes(config, result_.config);
    return !result_.config.empty();
}

bool CSDPResponseParser::ReadParameterSets(std::string_view value)
{
    const std::vector<std::string> items = Utils::SplitString(value, ',');
    if (items.size() < 2)
        return false;
    if (!result_.SPS.empty() || !result_.PPS.empty())
        return true;
    result_.SPS = DecodeBase64(items[0]);
    result_.PPS = DecodeBase64(items[1]);
    return !result_.SPS.empty() && !result_.PPS.empty();
}

bool CSDPResponseParser::ReadAudioFormat(std::string_view line)
{
    const std::string encoding = Utils::ToLower(working_.section.encoding);
    if (!Holds(Piece(Utils::SplitString(encoding, '/'), 0), kGenericAudio))
        return true;

    const auto valueOf = [line](std::string_view key)
    { return Utils::GetParamValue(line, key, "=", kAudioSeparators); };
    working_.section.formatParameters = line;
    SDPAudioParameters& parameters = working_.audioParameters;
    parameters.mode = valueOf("mode");
    const bool isAac = Holds(Utils::ToLower(parameters.mode), "aac");
    if (isAac)
        working_.audioFormat.codecCode = ipcapture::kFormatAac;
    parameters.streamtype = valueOf("streamtype");
    parameters.profileLevelId = valueOf("profile-level-id");
    Utils::HexToBytes(valueOf("config"), parameters.config);

    const auto lengthOf = [text = Utils::ToLower(Utils::RemoveChars(line, " "))](std::string_view key)
    { return Utils::GetParamUInt(text, key, "=", ";"); };
    parameters.sizelength = lengthOf("sizelength");
    parameters.indexlength = lengthOf("indexlength");
    parameters.indexdeltalength = lengthOf("indexdeltalength");
    parameters.ctsdeltalength = lengthOf("ctsdeltalength");
    parameters.dtsdeltalength = lengthOf("dtsdeltalength");
    return isAac;
}

} // namespace korvane
