#pragma once

#include "device/driver.h"
#include "support/fake_host.h"

#include <map>
#include <string>
#include <vector>

namespace korvane::test
{

/// A driver for tests of what stands below it: the fields are set before anything runs; messages are kept at
/// the level at which they were written. For what would go to the host's log it is the host.
class FakeDriver final : public IDriver, public HostObject
{
public:
    DEVICE_INFO device{"127.0.0.1", 80, "root", "secret", "IP7135"};
    std::map<std::uint32_t, std::string> properties;
    std::string hostDirectory = "./";
    std::uint32_t codec = 1;
    std::uint32_t channelCount = 1;
    std::uint32_t inputCount = 0;
    std::uint32_t outputCount = 0;
    ChannelSettings channelSettings;
    ipcapture::IHostFrameAllocator* allocator = nullptr;

    std::vector<MessageRecord> Messages() const { return messages_.Get(); }
    std::vector<std::string> Texts(std::uint32_t level) const; ///< of the messages of one level
    bool WaitForMessage(const std::string& part) const { return messages_.WaitForPart(part); }

    std::string GetDeviceName() const override { return device.address + ":" + std::to_string(device.port); }
    [[gnu::format(printf, 3, 4)]] void DebugMessage(std::int32_t level, const char* format, ...) override;
    std::string GetDriverName() const override { return "Larkmoor"; }
    std::string GetHostDirectory() const override { return hostDirectory; }
    const DEVICE_INFO& GetDeviceInfo() const override { return device; }
    std::pair<std::uint32_t, std::uint32_t> GetIOCounts() const override { return {inputCount, outputCount}; }
    ipcapture::IHostFrameAllocator* GetFrameAllocator() const override { return allocator; }
    std::uint32_t GetVideoStandard() const override { return 1; }
    std::uint32_t GetCodec() const override { return codec; }
    std::uint32_t GetChannelCount() const override { return channelCount; }
    std::string GetPropertyText(std::uint32_t number) const override;
    std::int32_t GetPropertyInt(std::uint32_t number) const override;
    ChannelSettings GetChannelSettings(std::uint32_t) const override { return channelSettings; }

private:
    MessageList messages_;
};

} // namespace korvane::test
