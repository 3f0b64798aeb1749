#include "support/fake_host.h"

#include <gtest/gtest.h>

#include <algorithm>
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

bool MessageList::WaitForPart(const std::string& part) const
{
    const auto holds = [&](const MessageRecord& message) { return message.text.find(part) != part.npos; };
    return WaitFor([&](const auto& all) { return std::ranges::any_of(all, holds); });
}

FakeFrame::FakeFrame(std::uint32_t format, std::uint32_t sizeBytes, const char* driverName)
    : buffer_(sizeBytes)
{
    record_.format = format;
    record_.allocatedBytes = sizeBytes;
    record_.driverName = driverName;
}

void FakeFrame::Released()
{
    EndCalls();
    buffer_ = Bytes(); // so that a sanitizer sees a later use of it
    dataSize_ = 0;
}

void FakeFrame::SetData(const std::uint8_t* data, std::uint32_t sizeBytes)
{
    Called();
    ASSERT_LE(sizeBytes, buffer_.size()) << "more bytes than were allocated";
    if (sizeBytes != 0)
        std::memcpy(buffer_.data(), data, sizeBytes);
    dataSize_ = sizeBytes;
}

void FakeFrame::SetDataSize(std::uint32_t sizeBytes)
{
    Called();
    ASSERT_LE(sizeBytes, buffer_.size()) << "more bytes than were allocated";
    dataSize_ = sizeBytes;
}

void FakeFrame::SetAudioFormat(std::uint32_t sampleRate, std::uint8_t reserved, bool stereo)
{
    Called();
    record_.sampleRate = sampleRate;
    record_.audioReserved = reserved;
    record_.stereo = stereo;
}

FakeAllocator::~FakeAllocator()
{
    EXPECT_EQ(outstanding_.size(), 0u) << "frames that the driver never released";
}

ipcapture::IHostFrame* FakeAllocator::Allocate(std::uint32_t formatCode, std::uint32_t sizeBytes,
                                               const char* driverName, bool audio)
{
    Called();
    const std::lock_guard lock(mutex_);
    if (throw_)
        throw std::runtime_error("the host's allocator throws");
    if (refuse_)
        return nullptr;
    FakeFrame* const frame =
        frames_.emplace_back(std::make_unique<FakeFrame>(formatCode, sizeBytes, driverName)).get();
    outstanding_[frame] = audio;
    ++allocated_;
    return frame;
}

void FakeAllocator::Release(ipcapture::IHostFrame* frame, bool audio)
{
    Called();
    const std::lock_guard lock(mutex_);
    const auto found = outstanding_.find(frame);
    ASSERT_NE(found, outstanding_.end()) << "released twice, or never allocated";
    EXPECT_EQ(found->second, audio) << "released by the other kind's operation";
    outstanding_.erase(found);
    static_cast<FakeFrame*>(frame)->Released();
}

} // namespace korvane::test
