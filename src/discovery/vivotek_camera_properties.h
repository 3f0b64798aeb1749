#pragma once

#include "discovery/camera_properties_ex.h"
#include "discovery/frame_rates.h"
#include "discovery/parameter_source.h"
#include "discovery/resolution_list.h"
#include "discovery/stream_access_names.h"
#include "runtime/bastrel_supported_features.h"
#include "runtime/settings_file.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace korvane
{

/// Finds out what a Vivotek device is by asking it for its parameters.
///
/// Two generations of firmware are told apart by one answer: current devices list their capabilities, older
/// ones answer the same request with nothing. There is no table of current models. Used on one thread, but
/// for `CancelFetch`.
class CVivotekCameraProperties : public CCameraPropertiesEx
{
public:
    /// `hostVideoStandard`: 0 PAL, anything else NTSC. Asks the device over HTTP.
    CVivotekCameraProperties(const DEVICE_INFO& deviceInfo, std::uint32_t hostVideoStandard);

    /// The same with answers and settings of another origin.
    CVivotekCameraProperties(const DEVICE_INFO& deviceInfo, std::uint32_t hostVideoStandard,
                             std::unique_ptr<IParameterSource> source, CSettingsFile settings);

    bool FetchProperties(std::uint32_t* errorCode) override;
    bool SaveProperties(ipcapture::ICapabilityStore* store) override;

private:
    // The steps of a fetch; false ends it.
    bool DetectModel();
    bool ReadFirmware();
    bool ReadPTZ();
    bool ReadVideoIn();
    bool ReadNetwork();

    bool ReadParameters(const std::string& query, std::string& text);
    bool ReadCurrent(std::string_view text);
    bool ReadLegacy(std::string_view text);
    void ReadAudio(std::string_view text);
    std::string ReadAudioCodecs(std::string_view text, const std::string& direction);
    void ReadPTZRange(std::string_view text);
    std::uint32_t ReadPresetCount(std::string_view text);
    StreamAccessNames::Table ReadAccessNames(std::string_view text, const std::string& protocol) const;
    void SaveParameters(ipcapture::ICapabilityStore& store) const;
    bool IsNtsc() const { return cameraVideoStandard_ != 0; }

    const std::unique_ptr<IParameterSource> source_;
    const CSettingsFile settings_;
    FrameRateSet frameRates_;
    std::uint32_t defaultFrameRate_ = 25;
    std::string rtspPort_;
    StreamAccessNames streams_;
    std::array<bool, 8> ptzFlags_{};
    std::uint32_t presetCount_ = 0;
    std::uint32_t cameraVideoStandard_; // 1 NTSC, 0 PAL
    ResolutionNotation notation_ = ResolutionNotation::None;
    bool isJpegOverHttp_ = false;
    bool hasFrameModeOption_ = false;
    bool isDiscontinued_ = false;
    std::uint32_t ptzMinSpeed_ = 0;
    std::uint32_t ptzMaxSpeed_ = 0;
    std::uint32_t zoomMinSpeed_ = 0;
    std::uint32_t zoomMaxSpeed_ = 0;
    std::uint32_t ptzType_ = 0;
    std::string ptzSubtype_;
    std::string audioOutputCodecs_;
    std::string audioInputCodecs_;
    CBastrelSupportedFeatures features_{platform::ReadProductVersion(kHostCoreLibrary)};
};

} // namespace korvane
