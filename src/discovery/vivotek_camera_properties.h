#pragma once

#include "device/bastrel_supported_features.h"
#include "device/device_properties.h"
#include "device/settings_file.h"
#include "discovery/capability_query_module.h"
#include "discovery/device_description.h"

#include <cstdint>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>

namespace korvane
{

/// Where the discovery reads a device's parameters: its web server, or whatever stands in for one.
class IParameterSource
{
public:
    virtual ~IParameterSource() = default;

    /// One request. True when it was answered with a status of 2xx; `body` is then a text, and may be empty.
    virtual bool Get(const std::string& uri, std::string& body) = 0;

    /// Ends a request in progress, and fails each later one. Any thread.
    virtual void Cancel() {}

    /// The HTTP status of the last request; 0 when there was no answer.
    virtual std::uint32_t StatusCode() const = 0;
};

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
    void CancelFetch() override;

protected:
    void Save(CStoreWriter& writer) override;

private:
    // The steps of a fetch; false ends it.
    bool DetectModel();
    bool ReadFirmware();
    bool ReadPTZ();
    bool ReadVideoIn();
    bool ReadNetwork();

    bool ReadParameters(const std::string& query, std::string& text);
    bool Take(const std::optional<DeviceDescription>& device);
    void ReadAudio(std::string_view text);
    std::string ReadAudioCodecs(std::string_view text, const std::string& direction);
    void ReadPTZRange(std::string_view text);
    std::uint32_t ReadPresetCount(std::string_view text);
    CStreamPathTable::Paths ReadAccessNames(std::string_view text, const std::string& protocol) const;
    void SaveParameters(CStoreWriter& writer) const;

    const std::unique_ptr<IParameterSource> source_;
    const CSettingsFile settings_;
    DeviceDescription device_;
    CStreamPathTable streams_;
    std::string ptzFlags_ = "00000000"; // each 1 or 0, in the order of the property
    std::uint32_t presetCount_ = 0;
    bool isJpegOverHttp_ = false;
    bool hasFrameModeOption_ = false;
    bool isDiscontinued_ = false;
    PTZCapability head_{0, "", 0, 0, 0, 0, ""}; // all 0 without a head
    std::string audioOutputCodecs_;
    std::string audioInputCodecs_;
    CBastrelSupportedFeatures features_{platform::ReadProductVersion(kHostCoreLibrary)};
};

/// A query of a Vivotek device.
class CVivotekCapabilityQueryModule : public CCapabilityQueryModule
{
public:
    using CCapabilityQueryModule::CCapabilityQueryModule;
    ~CVivotekCapabilityQueryModule() override { StopQuery(); }

    CCameraPropertiesEx* CreateProperties() override
    {
        return new (std::nothrow) CVivotekCameraProperties(device_, videoStandardFlag_);
    }
};

} // namespace korvane
