#include "support/fake_host.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <stdexcept>
#include <utility>

namespace korvane::test
{

void FailReserved()
{
    ADD_FAILURE() << "the driver called a reserved slot";
}

FakeFrame::FakeFrame(std::uint32_t format, std::uint32_t sizeBytes, const char* driverName)
    : buffer_(sizeBytes)
{
    record_.format = format;
    record_.allocatedBytes = sizeBytes;
    record_.driverName = driverName;
}

FrameRecord FakeFrame::Record() const
{
    FrameRecord record = record_;
    record.data.assign(buffer_.begin(), buffer_.begin() + dataSize_);
    return record;
}

void FakeFrame::SetData(const std::uint8_t* data, std::uint32_t sizeBytes)
{
    ASSERT_LE(sizeBytes, buffer_.size()) << "more bytes than were allocated";
    if (sizeBytes != 0)
        std::memcpy(buffer_.data(), data, sizeBytes);
    dataSize_ = sizeBytes;
}

void FakeFrame::SetDataSize(std::uint32_t sizeBytes)
{
    ASSERT_LE(sizeBytes, buffer_.size()) << "more bytes than were allocated";
    dataSize_ = sizeBytes;
}

void FakeFrame::SetCodecConfig(std::uint32_t sizeBytes, const std::uint8_t* config)
{
    record_.codecConfig.assign(config, config + sizeBytes);
}

void FakeFrame::SetAudioFormat(std::uint32_t sampleRate, std::uint8_t reserved, bool stereo)
{
    record_.sampleRate = sampleRate;
    record_.audioReserved = reserved;
    record_.stereo = stereo;
}

FakeAllocator::~FakeAllocator()
{
    EXPECT_EQ(outstanding_.size(), 0u) << "frames that the driver never released";
    for (const auto& [frame, audio] : outstanding_)
        delete frame;
}

int FakeAllocator::Outstanding() const
{
    const std::lock_guard lock(mutex_);
    return static_cast<int>(outstanding_.size());
}

int FakeAllocator::Allocated() const
{
    const std::lock_guard lock(mutex_);
    return allocated_;
}

void FakeAllocator::Refuse(bool refuse)
{
    const std::lock_guard lock(mutex_);
    refuse_ = refuse;
}

void FakeAllocator::Throw(bool throws)
{
    const std::lock_guard lock(mutex_);
    throw_ = throws;
}

ipcapture::IHostFrame* FakeAllocator::Allocate(std::uint32_t formatCode, std::uint32_t sizeBytes,
                                               const char* driverName, bool audio)
{
    const std::lock_guard lock(mutex_);
    if (throw_)
        throw std::runtime_error("the host's allocator throws");
    if (refuse_)
        return nullptr;
    auto frame = std::make_unique<FakeFrame>(formatCode, sizeBytes, driverName);
    outstanding_[frame.get()] = audio;
    ++allocated_;
    return frame.release();
}

void FakeAllocator::Release(ipcapture::IHostFrame* frame, bool audio)
{
    const std::lock_guard lock(mutex_);
    const auto found = outstanding_.find(frame);
    ASSERT_NE(found, outstanding_.end()) << "released twice, or never allocated";
    EXPECT_EQ(found->second, audio) << "released by the other kind's operation";
    outstanding_.erase(found);
    delete frame;
}

ipcapture::IHostFrame* FakeAllocator::AllocateVideoFrame(std::uint32_t formatCode, std::uint32_t sizeBytes,
                                                         const char* driverName)
{
    return Allocate(formatCode, sizeBytes, driverName, false);
}

ipcapture::IHostFrame* FakeAllocator::AllocateAudioFrame(std::uint32_t formatCode, std::uint32_t sizeBytes,
                                                         const char* driverName)
{
    return Allocate(formatCode, sizeBytes, driverName, true);
}

std::vector<FrameRecord> FakeChannelClient::Frames() const
{
    const std::lock_guard lock(mutex_);
    return frames_;
}

int FakeChannelClient::SignalsLost() const
{
    const std::lock_guard lock(mutex_);
    return signalsLost_;
}

bool FakeChannelClient::WaitForFrames(std::size_t count)
{
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, kPatience, [&] { return frames_.size() >= count; });
}

bool FakeChannelClient::WaitForSignalLost(int count)
{
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, kPatience, [&] { return signalsLost_ >= count; });
}

void FakeChannelClient::OnDeliver(std::function<bool()> action)
{
    const std::lock_guard lock(mutex_);
    action_ = std::move(action);
}

bool FakeChannelClient::DeliverFrame(ipcapture::IHostFrame* frame)
{
    std::function<bool()> action;
    {
        const std::lock_guard lock(mutex_);
        frames_.push_back(static_cast<FakeFrame*>(frame)->Record());
        action = action_;
        changed_.notify_all();
    }
    return action ? action() : true;
}

void FakeChannelClient::SignalLost()
{
    const std::lock_guard lock(mutex_);
    ++signalsLost_;
    changed_.notify_all();
}

std::vector<MessageRecord> FakeSink::Messages() const
{
    const std::lock_guard lock(mutex_);
    return messages_;
}

void FakeSink::WriteMessage(ipcapture::CDebugInfoIf* message)
{
    const char* const text = message->GetMessage();
    const std::lock_guard lock(mutex_);
    messages_.push_back({message->GetLevel(), text == nullptr ? std::string() : std::string(text)});
}

const char* FakeDeviceSettings::GetParameter(std::uint32_t number)
{
    const auto found = parameters.find(number);
    return found == parameters.end() ? nullptr : found->second.c_str();
}

} // namespace korvane::test
