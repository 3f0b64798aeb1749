#include "discovery/vivotek_camera_properties.h"

#include "http/send_request.h"
#include "runtime/param_text.h"
#include "runtime/text.h"

#include <algorithm>
#include <utility>

namespace korvane
{

namespace
{

constexpr const char* kDriverName = "Larkmoor";
constexpr std::uint32_t kUnauthorized = 401;
constexpr std::uint32_t kListedPresets = 256; // names that are looked for when a device tells no count

class CHttpParameterSource : public IParameterSource
{
public:
    explicit CHttpParameterSource(const DEVICE_INFO& deviceInfo) : client_(deviceInfo) {}

    bool Get(const std::string& uri, std::string& body) override
    {
        return CameraCgi::Ask(client_, uri, body);
    }
    void Cancel() override { client_.EndRequests(); }
    std::uint32_t StatusCode() const override { return client_.StatusCode(); }

private:
    Web::CHttpClient client_;
};

} // namespace

CVivotekCameraProperties::CVivotekCameraProperties(const DEVICE_INFO& deviceInfo,
                                                   std::uint32_t hostVideoStandard)
    : CVivotekCameraProperties(deviceInfo, hostVideoStandard,
                               std::make_unique<CHttpParameterSource>(deviceInfo), CSettingsFile(kDriverName))
{
}

CVivotekCameraProperties::CVivotekCameraProperties(const DEVICE_INFO& deviceInfo,
                                                   std::uint32_t hostVideoStandard,
                                                   std::unique_ptr<IParameterSource> source,
                                                   CSettingsFile settings)
    : CCameraPropertiesEx(deviceInfo, hostVideoStandard),
      source_(std::move(source)),
      settings_(std::move(settings))
{
    device_.isNtsc = hostVideoStandard != 0;
}

bool CVivotekCameraProperties::FetchProperties(std::uint32_t* errorCode)
{
    using Step = bool (CVivotekCameraProperties::*)();
    static constexpr Step kSteps[] = {
        &CVivotekCameraProperties::DetectModel, &CVivotekCameraProperties::ReadFirmware,
        &CVivotekCameraProperties::ReadPTZ, &CVivotekCameraProperties::ReadVideoIn,
        &CVivotekCameraProperties::ReadNetwork};
    for (const Step step : kSteps)
    {
        if (IsCancelled())
            return false;
        if ((this->*step)())
            continue;
        if (errorCode != nullptr)
            *errorCode = source_->StatusCode() == kUnauthorized ? kLoginRefused : kOtherFailure;
        return false;
    }
    if (IsCancelled())
        return false;
    modernStream1_ = modernStream2_ = !isDiscontinued_ && !isJpegOverHttp_;
    return true;
}

void CVivotekCameraProperties::CancelFetch()
{
    CCameraPropertiesEx::CancelFetch();
    source_->Cancel();
}

/// One request, with the quotes taken out of the answer. An answer without a body is an answer too.
bool CVivotekCameraProperties::ReadParameters(const std::string& query, std::string& text)
{
    text.clear();
    if (IsCancelled())
        return false;
    std::string body;
    if (!source_->Get(CameraCgi::kGetParam + query, body))
        return false;
    body.resize(std::min(body.size(), kMaxAnswerBytes));
    text = Utils::RemoveChars(body, "'");
    return true;
}

bool CVivotekCameraProperties::DetectModel()
{
    std::string text;
    bool isAnswered = ReadParameters("system_info_modelname", text);
    std::string name = Utils::GetParamValue(text, "system_info_modelname");
    if (isAnswered && name.empty())
    {
        isAnswered = ReadParameters("system.modelname", text);
        name = Utils::GetParamValue(text, "system.modelname");
    }
    if (!isAnswered || name.empty())
        return false;

    const bool isSony = Utils::ToUpper(name).starts_with("SNC-H");
    manufacturer_ = isSony ? "Sony" : "Vivotek";
    if (!isSony)
    {
        const std::size_t digit = name.find_first_of("0123456789");
        isJpegOverHttp_ = digit != std::string::npos && name[digit] == '7';
    }
    model_ = manufacturer_ + " " + name;
    return true;
}

bool CVivotekCameraProperties::ReadFirmware()
{
    std::string text;
    if (!ReadParameters("capability&status", text))
        return false;
    isDiscontinued_ = text.empty();
    if (!isDiscontinued_)
    {
        ReadAudio(text);
        return Take(DescribeCurrent(text, device_.isNtsc));
    }
    return ReadParameters("system&video&network", text) &&
           Take(DescribeLegacy(model_, Utils::RemoveChars(text, " "), device_.isNtsc));
}

bool CVivotekCameraProperties::Take(const std::optional<DeviceDescription>& device)
{
    if (!device)
        return false;
    device_ = *device;
    inputCount_ = device_.inputCount;
    outputCount_ = device_.outputCount;
    channelCount_ = device_.channelCount;
    for (const std::uint32_t code : device_.codecs)
        codecs_.Add(code);
    for (const CameraResolution& resolution : device_.resolutions.resolutions)
        AddResolution(resolution);
    isJpegOverHttp_ = isJpegOverHttp_ || device_.isJpegOverHttp;
    streams_.streamCount = device_.streamCount;
    if (!device_.rtspName.empty())
        streams_.rtsp = {{device_.rtspName}};
    return true;
}

void CVivotekCameraProperties::ReadAudio(std::string_view text)
{
    audioInputCodecs_ = ReadAudioCodecs(text, "in");
    audioOutputCodecs_ = ReadAudioCodecs(text, "out");
    audioInput_.count = audioInputCodecs_.empty() ? 0 : 1;
    audioOutput_.count = audioOutputCodecs_.empty() ? 0 : 1;
    hasAudio_ = !audioInputCodecs_.empty() || !audioOutputCodecs_.empty();
}

/// The audio codecs of the device's list that the driver can take, best first. Compared without case, told as
/// the device writes them, each once.
std::string CVivotekCameraProperties::ReadAudioCodecs(std::string_view text, const std::string& direction)
{
    if (Utils::GetParamValue(text, "capability_naudio" + direction) != "1")
        return {};
    if (!features_.IsVersionKnown())
        features_ = CBastrelSupportedFeatures(platform::ReadProductVersion(kHostCoreLibrary));
    const std::vector<std::string> offered =
        Utils::SplitString(Utils::GetParamValue(text, "capability_audio" + direction + "_codec"), ',');
    std::vector<std::string> selected;
    for (const std::string_view codec : {"aac4", "g711", "g726"})
    {
        const auto entry = std::ranges::find(offered, codec, Utils::ToLower);
        if (entry != offered.end() && (codec != "aac4" || features_.AllowsAac4()))
            selected.push_back(*entry);
    }
    return Utils::JoinWithComma(selected);
}

bool CVivotekCameraProperties::ReadPTZ()
{
    std::string text;
    if (!ReadParameters("capability", text))
        return false;
    if (text.empty())
        return true;
    presetCount_ = ReadPresetCount(text);
    constexpr std::uint32_t kSaysWhatIsMissing = 1 << 7; // this bit alone says what the device lacks
    const std::uint32_t bits =
        LeadingNumber(Utils::GetParamValue(text, "capability_ptzenabled")) ^ kSaysWhatIsMissing;
    for (std::size_t flag = 0; flag < ptzFlags_.size(); ++flag)
        ptzFlags_[flag] = (bits >> flag & 1) != 0 ? '1' : '0';
    hasPTZ_ = ptzFlags_.front() == '1';
    if (hasPTZ_)
        ReadPTZRange(text);
    return true;
}

std::uint32_t CVivotekCameraProperties::ReadPresetCount(std::string_view text)
{
    if (const std::uint32_t count = LeadingNumber(Utils::GetParamValue(text, "capability_npreset")))
        return std::min(count, kMaxPresets);
    std::string presets;
    ReadParameters("camctrl_c0_preset", presets);
    std::uint32_t count = 0;
    while (count < kListedPresets &&
           presets.find("camctrl_c0_preset_i" + std::to_string(count) + "_name") != std::string::npos)
        ++count;
    return count;
}

void CVivotekCameraProperties::ReadPTZRange(std::string_view text)
{
    const TransportSettings settings = settings_.ReadTransportSettings(deviceInfo_);
    const auto special =
        std::ranges::find_if(settings.specialPTZ, [&](const PTZCapability& capability)
                             { return model_.find(capability.device) != std::string::npos; });
    head_ = special != settings.specialPTZ.end() ? *special : settings.defaultPTZ;
    if (const std::uint32_t speed = Utils::GetParamUInt(text, "capability_ptz_panspeedlv"))
        head_.maxMove = speed;
    if (const std::uint32_t speed = Utils::GetParamUInt(text, "capability_ptz_zoomspeedlv"))
        head_.maxZoom = speed;
}

bool CVivotekCameraProperties::ReadVideoIn()
{
    if (isDiscontinued_)
        return true;
    std::string text;
    if (ReadParameters("videoin", text))
        hasFrameModeOption_ = !Utils::GetParamValue(text, "videoin_c0_s0_field2frame").empty();
    return true;
}

bool CVivotekCameraProperties::ReadNetwork()
{
    if (isDiscontinued_)
        return true;
    std::string text;
    if (!ReadParameters("network", text) || text.empty())
        return false;
    device_.rtspPort = Utils::GetParamValue(text, "network_rtsp_port");
    streams_.http = ReadAccessNames(text, "http");
    streams_.rtsp = ReadAccessNames(text, "rtsp");
    return true;
}

CStreamPathTable::Paths CVivotekCameraProperties::ReadAccessNames(std::string_view text,
                                                                  const std::string& protocol) const
{
    CStreamPathTable::Paths table(channelCount_);
    for (std::size_t channel = 0; channel < table.size() && !IsCancelled(); ++channel)
    {
        // A device with a single video input leaves the channel out of these keys.
        std::string head = "network_" + protocol;
        if (table.size() > 1)
            head += "_c" + std::to_string(channel);
        for (std::uint32_t stream = 0; stream < streams_.streamCount; ++stream)
            table[channel].push_back(
                Utils::GetParamValue(text, head + "_s" + std::to_string(stream) + "_accessname"));
    }
    return table;
}

void CVivotekCameraProperties::Save(CStoreWriter& writer)
{
    constexpr std::uint32_t kNeverListed = 60; // field rate of NTSC, no frame rate
    if (auto* const list = writer.FrameTimeList())
    {
        for (const std::uint32_t rate : device_.frameRates)
        {
            if (rate != 0 && rate != kNeverListed)
                writer.Tell([list, time = Utils::FrameTimeFromRate(rate)] { list->Add(time); });
        }
        if (device_.defaultFrameRate != 0)
            writer.Tell([list, time = Utils::FrameTimeFromRate(device_.defaultFrameRate)]
                        { list->SetDefault(time); });
    }
    CCameraPropertiesEx::Save(writer);
    if (device_.rtspPort.empty())
        device_.rtspPort = "554";
    SaveParameters(writer);
}

void CVivotekCameraProperties::SaveParameters(CStoreWriter& writer) const
{
    using namespace ipcapture; // the numbers of the properties
    writer.AddNumber(kPropertyVideoStandard, "Video standard", hostVideoStandard_ != 0);
    writer.AddNumber(kPropertyCameraVideoStandard, "Camera video standard", device_.isNtsc);
    writer.AddNumber(kPropertyCameraType, "Camera type",
                     static_cast<std::int32_t>(device_.resolutions.notation));
    writer.AddNumber(kPropertyRtspPort, "RTSP port", device_.rtspPort);
    writer.AddText(kPropertyStreams, "Vivotek streams", streams_.Text());
    writer.AddNumber(kPropertyPresetCount, "Preset count", presetCount_);
    writer.AddText(kPropertyPTZFlags, "PTZ capability flags", ptzFlags_);
    writer.AddNumber(kPropertyJpegOverHttp, "JPEG over HTTP", isJpegOverHttp_);
    writer.AddNumber(kPropertyFrameMode, "Frame-Mode Option", hasFrameModeOption_);
    writer.AddNumber(kPropertyDiscontinuedDevice, "Discontinued Device", isDiscontinued_);
    writer.AddNumber(kPropertyPTZMinSpeed, "PTZ min speed", head_.minMove);
    writer.AddNumber(kPropertyPTZMaxSpeed, "PTZ max speed", head_.maxMove);
    writer.AddNumber(kPropertyZoomMinSpeed, "Zoom min speed", head_.minZoom);
    writer.AddNumber(kPropertyZoomMaxSpeed, "Zoom max speed", head_.maxZoom);
    writer.AddNumber(kPropertyPTZType, "PTZ type", static_cast<std::int32_t>(head_.type));
    writer.AddText(kPropertyPTZSubtype, "PTZ subtype", head_.subtype);
    writer.AddText(kPropertyAudioInputCodecs, "Selected audio input codecs", audioInputCodecs_);
    writer.AddText(kPropertyAudioOutputCodecs, "Selected audio output codecs", audioOutputCodecs_);
}

} // namespace korvane
