#include "device/host_frame.h"

#include "device/host_call.h"

#include <cstring>
#include <vector>

namespace korvane
{

namespace
{

/// Size class of a picture as the host counts it (larkmoor/host_frame.h).
std::uint32_t SizeClass(std::uint32_t width, std::uint32_t height)
{
    if (width < 200)
        return 1;
    if (width < 400)
        return 2;
    if (width >= 1024)
        return 4;
    return width > 2 * height ? 3 : 4;
}

} // namespace

CHostFrame::CHostFrame(Kind kind, const IDriver& driver, const std::string& driverName,
                       std::uint32_t formatCode, std::uint32_t sizeBytes)
    : kind_(kind), formatCode_(formatCode), allocator_(driver.GetFrameAllocator())
{
    if (allocator_ == nullptr)
        return;
    const std::string name = driverName; // on this thread's stack
    frame_ = AskHost(
        [&]
        {
            return kind_ == Kind::kVideo
                       ? allocator_->AllocateVideoFrame(formatCode_, sizeBytes, name.c_str())
                       : allocator_->AllocateAudioFrame(formatCode_, sizeBytes, name.c_str());
        });
}

CHostFrame::~CHostFrame()
{
    if (frame_ == nullptr)
        return;
    CallHost(
        [this]
        {
            if (kind_ == Kind::kVideo)
                allocator_->ReleaseFrame(frame_);
            else
                allocator_->ReleaseAudioFrame(frame_);
        });
}

std::uint8_t* CHostFrame::Room() const
{
    return CallHost(static_cast<std::uint8_t*>(nullptr), [this] { return frame_->GetData(); });
}

bool CHostFrame::SetVideo(std::span<const std::uint8_t> data, std::uint32_t width, std::uint32_t height,
                          const SYSTEMTIME* time) const
{
    std::uint8_t* const room = frame_ == nullptr ? nullptr : Room();
    if (room == nullptr)
        return false;
    std::memcpy(room, data.data(), data.size());
    return DescribeVideo(width, height, static_cast<std::uint32_t>(data.size()), time);
}

bool CHostFrame::DescribeVideo(std::uint32_t width, std::uint32_t height, std::uint32_t sizeBytes,
                               const SYSTEMTIME* time) const
{
    const std::uint32_t sizeClass = SizeClass(width, height);
    return CallHost([&] { frame_->SetWidth(width); }) && CallHost([&] { frame_->SetHeight(height); }) &&
           CallHost([&] { frame_->SetSizeClass(sizeClass); }) &&
           CallHost([&] { frame_->SetDataSize(sizeBytes); }) &&
           CallHost([&] { frame_->SetFormat(formatCode_); }) &&
           CallHost([&] { time == nullptr ? frame_->SetTimeNow() : frame_->SetTime(time); });
}

bool CHostFrame::SetAudio(std::span<const std::uint8_t> data, std::span<const std::uint8_t> config) const
{
    const std::vector<std::uint8_t> ownData(data.begin(), data.end());
    const std::vector<std::uint8_t> ownConfig(config.begin(), config.end());
    const auto sizeOf = [](const auto& bytes) { return static_cast<std::uint32_t>(bytes.size()); };
    return (config.empty() ||
            CallHost([&] { frame_->SetCodecConfig(sizeOf(ownConfig), ownConfig.data()); })) &&
           CallHost([&] { frame_->SetData(ownData.data(), sizeOf(ownData)); });
}

bool CHostFrame::DescribeAudio(std::uint32_t sampleRate, std::uint8_t reserved, bool stereo,
                               std::uint32_t bitRate, std::uint8_t audioInput) const
{
    return CallHost([&] { frame_->SetAudioFormat(sampleRate, reserved, stereo); }) &&
           CallHost([&] { frame_->SetAudioBitRate(bitRate); }) &&
           CallHost([&] { frame_->SetAudioInput(audioInput); }) && CallHost([&] { frame_->SetTimeNow(); });
}

} // namespace korvane
