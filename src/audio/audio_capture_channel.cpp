#include "audio/audio_capture_channel.h"

#include "device/device_properties.h"
#include "device/host_call.h"
#include "http/send_request.h"
#include "runtime/param_text.h"
#include "runtime/text.h"

#include <algorithm>

namespace korvane
{

namespace
{

constexpr std::uint32_t kAudioSection = 2; // of the description
constexpr std::uint32_t kNoFormat = 0;
constexpr std::uint32_t kMostCodecs = 256; // that are asked of the host: there are four
constexpr const char* kConfigureFunction = "korvane::CAudioCaptureChannel::ConfigureAudioCodec";

std::uint32_t FormatOf(const std::string& codec)
{
    const std::string lower = Utils::ToLower(codec);
    if (lower == "aac4" || lower == "aac")
        return ipcapture::kFormatAac;
    if (lower == "g711")
        return ipcapture::kFormatG711MuLaw;
    return lower == "g726" ? ipcapture::kFormatG726 : kNoFormat;
}

std::vector<std::uint32_t> UsableFormats(ipcapture::IHostCodecList* list)
{
    std::vector<std::uint32_t> formats;
    const std::uint32_t count = list == nullptr ? 0 : CallHost(0u, [list] { return list->GetCount(); });
    for (std::uint32_t index = 0; index < std::min(count, kMostCodecs); ++index)
    {
        ipcapture::IHostCodecItem* const none = nullptr;
        auto* const item = CallHost(none, [=] { return list->GetItem(index); });
        if (item != nullptr && CallHost(false, [item] { return item->IsUsable(); }))
            formats.push_back(CallHost(kNoFormat, [item] { return item->GetCode(); }));
    }
    return formats;
}

std::string Value(std::string_view parameters, const std::string& key)
{
    return Utils::RemoveChars(Utils::GetParamValue(parameters, key, "=", "\r\n"), "'");
}

} // namespace

CAudioCaptureChannel::CAudioCaptureChannel(IDriver* driver, std::uint32_t audioChannel,
                                           std::uint32_t videoChannel, ipcapture::IHostAudioClient* client,
                                           ipcapture::IHostCodecList* codecList)
    : CBaseAudioRTSPChannel(driver, audioChannel, videoChannel, client, codecList),
      sender_(driver->GetDeviceInfo())
{
}

CAudioCaptureChannel::~CAudioCaptureChannel()
{
    Stop();
}

void CAudioCaptureChannel::FillSessionParameters(RTSPClientParams& params)
{
    params.mediaSelector = kAudioSection;
    params.serverPort = rtspPort_;
    params.url = CStreamPathTable::At(DeviceFacts(*driver_).streams.rtsp, videoChannel_, stream_);
}

std::string CAudioCaptureChannel::ParameterKey(const char* name) const
{
    return Utils::FormatString("audioin_c%u_s%u_%s", videoChannel_, stream_, name);
}

std::string CAudioCaptureChannel::CodecDefaults(const std::string& name)
{
    const std::uint32_t format = Utils::ToLower(name) == "aac" ? kNoFormat : FormatOf(name);
    if (format == kNoFormat)
        return "";
    format_ = DefaultFormat(format);
    return name;
}

std::vector<std::string> CAudioCaptureChannel::Candidates(std::string_view selectedText) const
{
    const std::vector<std::uint32_t> usable = UsableFormats(codecList_);
    std::vector<std::string> candidates = Utils::SplitString(selectedText, ',');
    std::erase_if(candidates,
                  [&](const std::string& codec)
                  {
                      const std::uint32_t format = FormatOf(codec);
                      return format == kNoFormat || std::ranges::find(usable, format) == usable.end();
                  });
    return candidates;
}

void CAudioCaptureChannel::ConfigureAudioCodec(std::string_view selectedText, std::string_view wantedCodec)
{
    const std::vector<std::string> candidates = Candidates(selectedText);
    const std::string wanted = Utils::ToLower(wantedCodec);
    const std::string device = driver_->GetDeviceName();
    codec_.clear();
    for (const std::string& candidate : candidates)
    {
        const std::string lower = Utils::ToLower(candidate);
        if (wanted.empty() || (lower != wanted && !(lower == "aac4" && wanted == "aac")))
            continue;
        codec_ = CodecDefaults(candidate);
        if (!codec_.empty())
            return;
        Message(kLevelWarning, "%s: %s Can't configure correct options for user defined codec %s",
                kConfigureFunction, device.c_str(), candidate.c_str());
    }
    const std::string first = candidates.empty() ? "g711" : candidates.front();
    codec_ = CodecDefaults(first);
    if (codec_.empty())
        Message(kLevelWarning, "%s: %s Can't configure correct options for codec %s", kConfigureFunction,
                device.c_str(), first.c_str());
}

bool CAudioCaptureChannel::Request(const std::string& uri, std::string& response)
{
    response.clear();
    if (IsStopping() || !sender_.Send({"GET", uri}) || sender_.StatusCode() / 100 != 2)
        return false;
    std::vector<std::uint8_t> body;
    sender_.ReadResponse(body);
    if (sender_.LastError() == platform::HttpError::kTimeout)
        return false; // what has come is not whole
    response.assign(body.begin(), body.end());
    return true;
}

// What setparam has to be told, with "&" between the items.
std::string CAudioCaptureChannel::Changes(std::string_view parameters) const
{
    std::string changes;
    const std::string codecKey = ParameterKey("codectype=");
    if (parameters.find(codecKey + "'" + codec_ + "'") == std::string_view::npos)
        changes = codecKey + codec_;
    const std::string muteKey = Utils::FormatString("audioin_c%u_mute=", videoChannel_);
    if (parameters.find(muteKey + "'1'") != std::string_view::npos)
        changes += (changes.empty() ? "" : "&") + muteKey + "0";
    return changes;
}

std::uint32_t CAudioCaptureChannel::DeviceBitRate() const
{
    if (format_.codecCode == ipcapture::kFormatG726)
        return g726BitRate_;
    return format_.codecCode == ipcapture::kFormatAac ? aacBitRate_ : 0;
}

void CAudioCaptureChannel::ReadDevice(std::string_view parameters)
{
    ReplaceUnlessZero(g726BitRate_, Utils::ToUInt32(Value(parameters, ParameterKey("g726_bitrate"))));
    ReplaceUnlessZero(aacBitRate_, Utils::ToUInt32(Value(parameters, ParameterKey("aac4_bitrate"))));
    ReplaceUnlessZero(rtspPort_, Utils::ToUInt16(Value(parameters, "network_rtsp_port")));
    ReplaceUnlessZero(format_.bitRate, DeviceBitRate());
    const std::string mode = Value(parameters, ParameterKey("g711_mode"));
    if (format_.codecCode == ipcapture::kFormatG711MuLaw && !mode.empty() && mode != "pcmu")
        format_.codecCode = ipcapture::kFormatG711ALaw;
}

bool CAudioCaptureChannel::SetAudioStreamParameters()
{
    const AudioCodecs wanted = CSettingsFile(*driver_).ReadAudioCodecs(driver_->GetDeviceInfo());
    ConfigureAudioCodec(driver_->GetPropertyText(ipcapture::kPropertyAudioInputCodecs), wanted.input);
    std::string parameters;
    std::string answer;
    bool isDone =
        Request(CameraCgi::kGetParam + std::string("audioin&network"), parameters) && !parameters.empty();
    if (isDone)
    {
        const std::string changes = Changes(parameters);
        ReadDevice(parameters);
        isDone = changes.empty() || Request(CameraCgi::kSetParam + changes, answer);
        if (!isDone && !IsStopping())
            driver_->DebugMessage(kLevelError, "%s: The %s device returns status code %u for \"%s%s\" URI",
                                  "korvane::CAudioCaptureChannel::SetAudioStreamParameters",
                                  driver_->GetDeviceName().c_str(), sender_.StatusCode(),
                                  CameraCgi::kSetParam, changes.c_str());
    }
    parser_.SetFormat(format_);
    return isDone;
}

bool CAudioCaptureChannel::SdpInfoReceived(const RTSPResponse& response)
{
    if (!CBaseAudioRTSPChannel::SdpInfoReceived(response))
        return false;
    ReplaceUnlessZero(format_.bitRate, DeviceBitRate());
    parser_.SetFormat(format_);
    isDescribed_ = true;
    return true;
}

} // namespace korvane
