#pragma once

#include "channels/common_rtsp_channel.h"

#include <cstdint>
#include <string>

namespace korvane
{

/// The video channel of a device whose codec is Motion JPEG, over RTSP: the request texts of that codec,
/// which has a quality but no rate control, and its parser.
class CMJPEGChannelRTSP : public CCommonRTSPChannel
{
public:
    CMJPEGChannelRTSP(std::uint32_t channel, IDriver* driver, ipcapture::IHostChannelClient* client);
    ~CMJPEGChannelRTSP() override;

protected:
    std::string FillRequestParameters(std::uint32_t stream) override;
    std::string FillRequestChangeParametersInAlarm(std::uint32_t stream, bool resolution,
                                                   bool frameRate) override;

private:
    std::string FrameRatePiece(std::uint32_t stream) const;
};

} // namespace korvane
