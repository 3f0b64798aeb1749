#include "parsers/jpeg_media_parser.h"

#include "device/host_frame.h"
#include "parsers/jpeg_tables.h"
#include "runtime/byte_order.h"
#include "runtime/guarded.h"

#include <cstring>
#include <string>

namespace korvane
{

namespace
{

// SOF0:  FF C0 | length (2) | precision (1) | Y: height (2) | X: width (2) | components (1) ...
constexpr std::size_t kHeightAt = 5;
constexpr std::size_t kWidthAt = 7;
constexpr std::size_t kFrameHeaderBytes = 10;

} // namespace

bool CHttpMediaParser::CheckBufferSize() const
{
    if (frame_.size() + skippedBytes_ <= kMaximumFrameBytes)
        return true;
    const DEVICE_INFO& device = driver_->GetDeviceInfo();
    driver_->DebugMessage(kLevelError, "%s: Frame buffer overflow detected, device %s:%u",
                          "korvane::CHttpMediaParser::CheckBufferSize", device.address.c_str(),
                          static_cast<unsigned>(device.port));
    return false;
}

void CJpegMediaParser::ParseData(std::span<const std::uint8_t> block)
{
    std::size_t start = 0; // of the open frame within this block
    for (std::size_t at = 0; at + 1 < block.size(); ++at)
    {
        const void* hit = std::memchr(block.data() + at, kMarker, block.size() - 1 - at);
        if (hit == nullptr)
            break;
        at = static_cast<std::size_t>(static_cast<const std::uint8_t*>(hit) - block.data());
        OnMarker(block, at, start);
    }

    if (frameOpen_)
        frame_.insert(frame_.end(), block.begin() + static_cast<std::ptrdiff_t>(start), block.end());
    else
        skippedBytes_ += block.size();
    if (!CheckBufferSize())
        Forget();
}

void CJpegMediaParser::OnMarker(std::span<const std::uint8_t> block, std::size_t at, std::size_t& start)
{
    switch (block[at + 1])
    {
    case kStartOfFrame:
        if (block.size() - at >= kFrameHeaderBytes)
        {
            height_ = Utils::LoadBigEndian16(block.data() + at + kHeightAt);
            width_ = Utils::LoadBigEndian16(block.data() + at + kWidthAt);
        }
        break;
    case kStartOfImage:
        Forget();
        frameOpen_ = true;
        start = at;
        break;
    case kEndOfImage:
        if (frameOpen_)
        {
            frame_.insert(frame_.end(), block.begin() + static_cast<std::ptrdiff_t>(start),
                          block.begin() + static_cast<std::ptrdiff_t>(at) + 2);
            Guarded([this] { Deliver(); }); // if the host throws, that costs this picture and no more
        }
        Forget();
        start = 0;
        break;
    default: // a stuffed byte, a restart marker or another segment
        break;
    }
}

void CJpegMediaParser::Forget()
{
    frame_.clear(); // keeps its capacity
    skippedBytes_ = 0;
    frameOpen_ = false;
}

void CJpegMediaParser::Deliver()
{
    if (receiver_ == nullptr || !receiver_->WantsFrames() || width_ == 0 || height_ == 0)
        return;
    const CHostFrame frame(CHostFrame::Kind::kVideo, *driver_, driver_->GetDriverName(),
                           ipcapture::kFormatJpeg, static_cast<std::uint32_t>(frame_.size()));
    if (frame.SetVideo(frame_, width_, height_, nullptr))
        receiver_->OnMediaFrame(frame.Get());
}

} // namespace korvane
