#pragma once

#include "channels/common_rtsp_channel.h"

#include <cstdint>
#include <string>

namespace korvane
{

/// The video channel of a device whose codec is MPEG-4: the request texts of that codec, and its parser. A
/// device of the legacy interface (driver property 9 is "1") has one stream, of which it is told only what it
/// has otherwise.
class CMPEGChannelRTSP : public CCommonRTSPChannel
{
public:
    CMPEGChannelRTSP(std::uint32_t channel, IDriver* driver, ipcapture::IHostChannelClient* client);
    ~CMPEGChannelRTSP() override;

protected:
    bool ConfigureDevice() override;
    std::string FillRequestParameters(std::uint32_t stream) override;
    std::string FillRequestChangeParametersInAlarm(std::uint32_t stream, bool resolution,
                                                   bool frameRate) override;

private:
    bool ConfigureLegacy();
    std::string LegacyChanges(const std::string& parameters) const;
    std::string FrameRatePiece(std::uint32_t stream) const;
};

} // namespace korvane
