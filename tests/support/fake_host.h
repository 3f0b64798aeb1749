#pragma once

#include <larkmoor/host_channel_client.h>
#include <larkmoor/host_channel_settings.h>
#include <larkmoor/host_device_settings.h>
#include <larkmoor/host_frame.h>
#include <larkmoor/host_sink.h>

#include "support/bytes.h"
#include "support/host_object.h"
#include "support/watched.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

/// The host's side of the contract, made for tests: each object records what the driver does to it, and fails
/// the test when the driver breaks a rule (support/host_object.h) or calls a slot that it must never call.
/// All are safe to call from several threads.
namespace korvane::test
{

void FailReserved(); ///< fails the test

/// What a frame held when it was handed over.
struct FrameRecord
{
    Bytes data;               ///< as long as `SetDataSize` said
    std::uint32_t format = 0; ///< asked for at allocation
    std::uint32_t formatSet = 0, allocatedBytes = 0;
    std::uint32_t width = 0, height = 0, sizeClass = 0;
    bool timeNow = false; ///< stamped with the present time
    SYSTEMTIME time{};    ///< or with this one
    std::string driverName;
    std::uint32_t audioBitRate = 0, sampleRate = 0;
    std::uint8_t audioInput = 0, audioReserved = 0;
    bool stereo = false;
    Bytes codecConfig;
};

/// A frame that has been released stays, empty, for as long as its allocator: a later call on it is one too
/// many.
class FakeFrame final : public ipcapture::IHostFrame, public HostObject
{
public:
    FakeFrame(std::uint32_t format, std::uint32_t sizeBytes, const char* driverName);

    FrameRecord Record() const
    {
        FrameRecord record = record_;
        record.data.assign(buffer_.begin(), buffer_.begin() + dataSize_);
        return record;
    }

    void Released(); ///< by the driver

    void SetData(const std::uint8_t* data, std::uint32_t sizeBytes) override;
    std::uint8_t* GetData() override { return Change().buffer_.data(); }
    void ReservedSlot1() override { FailReserved(); }
    void SetDataSize(std::uint32_t sizeBytes) override;
    void SetTimeNow() override { Change().record_.timeNow = true; }
    void SetTime(const SYSTEMTIME* captureTime) override { Change().record_.time = *captureTime; }
    void ReservedSlot2() override { FailReserved(); }
    void ReservedSlot3() override { FailReserved(); }
    void ReservedSlot4() override { FailReserved(); }
    void SetFormat(std::uint32_t formatCode) override { Change().record_.formatSet = formatCode; }
    void SetCodecConfig(std::uint32_t sizeBytes, const std::uint8_t* config) override
    {
        Change().record_.codecConfig.assign(config, config + sizeBytes);
    }
    void SetHeight(std::uint32_t pixels) override { Change().record_.height = pixels; }
    void SetAudioBitRate(std::uint32_t bitsPerSecond) override
    {
        Change().record_.audioBitRate = bitsPerSecond;
    }
    void SetWidth(std::uint32_t pixels) override { Change().record_.width = pixels; }
    void SetAudioInput(std::uint8_t audioInput) override { Change().record_.audioInput = audioInput; }
    void SetSizeClass(std::uint32_t sizeClass) override { Change().record_.sizeClass = sizeClass; }
    void ReservedSlot5() override { FailReserved(); }
    void ReservedSlot6() override { FailReserved(); }
    void ReservedSlot7() override { FailReserved(); }
    void ReservedSlot8() override { FailReserved(); }
    void SetAudioFormat(std::uint32_t sampleRate, std::uint8_t reserved, bool stereo) override;

private:
    FakeFrame& Change() // by a call of the driver
    {
        Called();
        return *this;
    }

    FrameRecord record_;
    Bytes buffer_;
    std::uint32_t dataSize_ = 0;
};

class FakeAllocator final : public ipcapture::IHostFrameAllocator, public HostObject
{
public:
    ~FakeAllocator() override; ///< fails the test if the driver still holds a frame

    int Outstanding() const ///< frames that the driver has not released
    {
        const std::lock_guard lock(mutex_);
        return static_cast<int>(outstanding_.size());
    }
    int Allocated() const { return allocated_; }   ///< frames given since the start
    void Refuse(bool refuse) { refuse_ = refuse; } ///< from now on, give null
    void Throw(bool throws) { throw_ = throws; }   ///< from now on, throw

    void ReservedSlot1() override { FailReserved(); }
    ipcapture::IHostFrame* AllocateVideoFrame(std::uint32_t formatCode, std::uint32_t sizeBytes,
                                              const char* driverName) override
    {
        return Allocate(formatCode, sizeBytes, driverName, false);
    }
    ipcapture::IHostFrame* AllocateAudioFrame(std::uint32_t formatCode, std::uint32_t sizeBytes,
                                              const char* driverName) override
    {
        return Allocate(formatCode, sizeBytes, driverName, true);
    }
    void ReleaseAudioFrame(ipcapture::IHostFrame* frame) override { Release(frame, true); }
    void ReservedSlot2() override { FailReserved(); }
    void ReleaseFrame(ipcapture::IHostFrame* frame) override { Release(frame, false); }

private:
    ipcapture::IHostFrame* Allocate(std::uint32_t formatCode, std::uint32_t sizeBytes, const char* driverName,
                                    bool audio);
    void Release(ipcapture::IHostFrame* frame, bool audio);

    mutable std::mutex mutex_;
    std::map<ipcapture::IHostFrame*, bool> outstanding_; // true: audio
    std::vector<std::unique_ptr<FakeFrame>> frames_;     // all that were ever given
    std::atomic<int> allocated_{0};
    std::atomic<bool> refuse_{false}, throw_{false};
};

class FakeChannelClient final : public ipcapture::IHostChannelClient, public HostObject
{
public:
    std::vector<FrameRecord> Frames() const { return frames_.Get(); }
    bool WaitForFrames(std::size_t count)
    {
        return frames_.WaitForCount(count);
    } ///< false if they don't come
    /// Runs in each `DeliverFrame` and gives its result.
    void OnDeliver(std::function<bool()> action) { action_.Set(std::move(action)); }

    bool DeliverFrame(ipcapture::IHostFrame* frame) override
    {
        Called();
        const std::function<bool()> action = action_.Get();
        frames_.Add(static_cast<FakeFrame*>(frame)->Record());
        return !action || action();
    }
    void ReservedSlot1() override { FailReserved(); }
    void SignalLost() override { Called(); }

private:
    WatchedList<FrameRecord> frames_;
    Watched<std::function<bool()>> action_;
};

struct MessageRecord
{
    std::uint32_t level;
    std::string text;
    bool operator==(const MessageRecord&) const = default;
};

/// What the driver logs.
class MessageList : public WatchedList<MessageRecord>
{
public:
    bool WaitForPart(const std::string& part) const; ///< in one of them; false if it doesn't come
};

class FakeSink final : public ipcapture::IHostSink, public HostObject
{
public:
    std::vector<MessageRecord> Messages() const { return messages_.Get(); }
    bool WaitForMessage(const std::string& part) const { return messages_.WaitForPart(part); }
    void WriteMessage(ipcapture::CDebugInfoIf* message) override
    {
        Called();
        const char* const text = message->GetMessage();
        messages_.Add({message->GetLevel(), text == nullptr ? "" : text});
    }

private:
    MessageList messages_;
};

/// Device settings, description and connection in one.
class FakeDeviceSettings final : public HostObject,
                                 public ipcapture::IHostDeviceSettings,
                                 public ipcapture::IHostDeviceDescription,
                                 public ipcapture::IHostConnection
{
public:
    std::string model = "IP7135";
    std::uint32_t channelCount = 1;
    std::uint32_t inputCount = 0;
    std::uint32_t outputCount = 0;
    std::string address = "127.0.0.1";
    std::uint16_t port = 80;
    std::uint32_t codec = 1;
    std::string user = "root";
    std::string password = "secret";
    std::map<std::uint32_t, std::string> parameters = {{1, "1"}};

    ipcapture::IHostDeviceDescription* GetDescription() override { return Answer(this); }
    ipcapture::IHostConnection* GetConnection() override { return Answer(this); }
    const char* GetParameter(std::uint32_t number) override
    {
        return Answer(parameters.contains(number) ? parameters[number].c_str() : nullptr);
    }
    const char* GetModel() override { return Answer(model.c_str()); }
    std::uint32_t GetChannelCount() override { return Answer(channelCount); }
    std::uint32_t GetInputCount() override { return Answer(inputCount); }
    std::uint32_t GetOutputCount() override { return Answer(outputCount); }
    const char* GetAddress() override { return Answer(address.c_str()); }
    std::uint16_t GetPort() override { return Answer(port); }
    std::uint32_t GetCodec() override { return Answer(codec); }
    const char* GetUser() override { return Answer(user.c_str()); }
    const char* GetPassword() override { return Answer(password.c_str()); }
    void ReservedSlot1() override { FailReserved(); }
    void ReservedSlot2() override { FailReserved(); }
};

/// Channel settings with all that hangs on them in one.
class FakeChannelSettings final : public HostObject,
                                  public ipcapture::IHostChannelSettings,
                                  public ipcapture::IHostVideoFormat,
                                  public ipcapture::IHostStreamSettings,
                                  public ipcapture::IHostResolution
{
public:
    std::uint16_t width = 640;
    std::uint16_t height = 480;
    std::uint16_t frameInterval = 40;
    std::uint16_t quality = 80;

    ipcapture::IHostVideoFormat* GetVideoFormat() override { return Answer(this); }
    ipcapture::IHostStreamSettings* GetStreamSettings() override { return Answer(this); }
    ipcapture::IHostResolution* GetPictureSize() override { return Answer(this); }
    std::uint16_t GetFrameInterval() override { return Answer(frameInterval); }
    std::uint16_t GetQuality() override { return Answer(quality); }
    std::uint16_t GetWidth() override { return Answer(width); }
    std::uint16_t GetHeight() override { return Answer(height); }
    void ReservedSlot1() override { FailReserved(); }
    void ReservedSlot2() override { FailReserved(); }
};

} // namespace korvane::test
