#pragma once

#include "channels/common_rtsp_channel.h"

#include <cstdint>

/// The video channels over RTSP by codec: each gives `CCommonRTSPChannel` its codec's wording and parser.
namespace korvane
{

class CH264ChannelRTSP : public CCommonRTSPChannel
{
public:
    CH264ChannelRTSP(std::uint32_t channel, IDriver* driver, ipcapture::IHostChannelClient* client);
    ~CH264ChannelRTSP() override { Stop(); }
};

/// A device of the legacy interface has one stream, of which it is told only what it has otherwise.
class CMPEGChannelRTSP : public CCommonRTSPChannel
{
public:
    CMPEGChannelRTSP(std::uint32_t channel, IDriver* driver, ipcapture::IHostChannelClient* client);
    ~CMPEGChannelRTSP() override { Stop(); }

protected:
    bool ConfigureDevice() override;
};

class CMJPEGChannelRTSP : public CCommonRTSPChannel
{
public:
    CMJPEGChannelRTSP(std::uint32_t channel, IDriver* driver, ipcapture::IHostChannelClient* client);
    ~CMJPEGChannelRTSP() override { Stop(); }
};

} // namespace korvane
