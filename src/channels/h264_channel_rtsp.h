#pragma once

#include "channels/common_rtsp_channel.h"

#include <cstdint>
#include <string>

namespace korvane
{

/// The video channel of a device whose codec is H.264: the request texts of that codec, and its parser.
class CH264ChannelRTSP : public CCommonRTSPChannel
{
public:
    CH264ChannelRTSP(std::uint32_t channel, IDriver* driver, ipcapture::IHostChannelClient* client);
    ~CH264ChannelRTSP() override;

protected:
    std::string FillRequestParameters(std::uint32_t stream) override;
    std::string FillRequestChangeParametersInAlarm(std::uint32_t stream, bool resolution,
                                                   bool frameRate) override;
};

} // namespace korvane
