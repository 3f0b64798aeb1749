#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "device/driver.h"
#include "parsers/rtp_media_parser.h"

namespace korvane::test
{

/// Everything that a media parser wants around it, with as little of its own as can be: driver, allocator,
/// the one frame that it gives out again and again, and client. For fuzz targets and benchmarks.
class FrameSink final : public IDriver,
                        public ipcapture::IHostFrameAllocator,
                        public ipcapture::IHostFrame,
                        public IMediaParserClient
{
public:
    std::function<bool()> onFrame; ///< looks at the fields below and gives the client's answer
    std::vector<std::uint8_t> room;
    std::uint32_t size = 0;
    std::uint32_t format = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::size_t frames = 0;   ///< delivered
    std::size_t messages = 0; ///< written
    bool held = false;        ///< the frame is out

    bool OnMediaFrame(ipcapture::IHostFrame*) override
    {
        ++frames;
        return !onFrame || onFrame();
    }
    void GetResolution(std::pair<std::uint32_t, std::uint32_t>& resolution) override
    {
        resolution = {640, 480};
    }

    ipcapture::IHostFrame* AllocateVideoFrame(std::uint32_t code, std::uint32_t bytes, const char*) override
    {
        format = code;
        held = true;
        if (room.size() < bytes)
            room.resize(bytes);
        return this;
    }
    ipcapture::IHostFrame* AllocateAudioFrame(std::uint32_t code, std::uint32_t bytes,
                                              const char* name) override
    {
        return AllocateVideoFrame(code, bytes, name);
    }
    void ReleaseAudioFrame(ipcapture::IHostFrame*) override { held = false; }
    void ReleaseFrame(ipcapture::IHostFrame*) override { held = false; }

    void SetData(const std::uint8_t* data, std::uint32_t bytes) override
    {
        std::copy_n(data, bytes, room.begin());
        size = bytes;
    }
    std::uint8_t* GetData() override { return room.data(); }
    void SetDataSize(std::uint32_t bytes) override { size = bytes; }
    void SetTimeNow() override {}
    void SetTime(const SYSTEMTIME*) override {}
    void SetFormat(std::uint32_t code) override { format = code; }
    void SetCodecConfig(std::uint32_t, const std::uint8_t*) override {}
    void SetHeight(std::uint32_t pixels) override { height = pixels; }
    void SetAudioBitRate(std::uint32_t) override {}
    void SetWidth(std::uint32_t pixels) override { width = pixels; }
    void SetAudioInput(std::uint8_t) override {}
    void SetSizeClass(std::uint32_t) override {}
    void SetAudioFormat(std::uint32_t, std::uint8_t, bool) override {}
    void ReservedSlot1() override {}
    void ReservedSlot2() override {}
    void ReservedSlot3() override {}
    void ReservedSlot4() override {}
    void ReservedSlot5() override {}
    void ReservedSlot6() override {}
    void ReservedSlot7() override {}
    void ReservedSlot8() override {}

    std::string GetDeviceName() const override { return "device"; }
    [[gnu::format(printf, 3, 4)]] void DebugMessage(std::int32_t, const char*, ...) override { ++messages; }
    std::string GetDriverName() const override { return "Larkmoor"; }
    std::string GetHostDirectory() const override { return "./"; }
    const DEVICE_INFO& GetDeviceInfo() const override { return device_; }
    std::pair<std::uint32_t, std::uint32_t> GetIOCounts() const override { return {}; }
    ipcapture::IHostFrameAllocator* GetFrameAllocator() const override
    {
        return const_cast<FrameSink*>(this);
    }
    std::uint32_t GetVideoStandard() const override { return 1; }
    std::uint32_t GetCodec() const override { return 3; }
    std::uint32_t GetChannelCount() const override { return 1; }
    std::string GetPropertyText(std::uint32_t) const override { return {}; }
    std::int32_t GetPropertyInt(std::uint32_t) const override { return kNoProperty; }
    ChannelSettings GetChannelSettings(std::uint32_t) const override { return {}; }

private:
    const DEVICE_INFO device_;
};

} // namespace korvane::test
