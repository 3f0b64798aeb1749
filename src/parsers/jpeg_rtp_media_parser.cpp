#include "parsers/jpeg_rtp_media_parser.h"

#include "parsers/jpeg_rtp_header.h"
#include "parsers/jpeg_tables.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace korvane
{

namespace
{

constexpr std::size_t kHeaderRoom = 1024; // for all of a file before its scan
constexpr std::size_t kLeastPayload = 4;  // up to the fragment offset

} // namespace

bool CJpegRTPMediaParser::AddPayload(Bytes payload)
{
    if (payload.size() < kLeastPayload)
        return false;
    const bool isFirst = payload[1] == 0 && payload[2] == 0 && payload[3] == 0;
    if (isFirst)
    {
        constexpr std::size_t kWithRestart = JpegRtpHeader::kMainBytes + JpegRtpHeader::kRestartBytes;
        if (payload.size() >= kWithRestart)
        {
            const std::uint8_t type = payload[4];
            headerBytes_ = type >= JpegRtpHeader::kFirstRestartType && type <= 127
                               ? kWithRestart
                               : JpegRtpHeader::kMainBytes;
        }
        Append(payload);
        waitingForKey_ = false;
    }
    else if (!waitingForKey_ && payload.size() > headerBytes_)
        Append(payload.subspan(headerBytes_));
    if (waitingForKey_)
        ResetParser();
    return !waitingForKey_;
}

void CJpegRTPMediaParser::CompleteFrame(std::uint32_t timestamp)
{
    if (client_ == nullptr)
        return;
    EndScan();
    const CHostFrame frame(CHostFrame::Kind::kVideo, *driver_, driverName_, ipcapture::kFormatJpeg,
                           static_cast<std::uint32_t>(frameBuffer_.size() + kHeaderRoom));
    if (frame.Get() == nullptr)
    {
        driver_->DebugMessage(kLevelError, "%s: Frame allocation error, device %s",
                              "korvane::CJpegRTPMediaParser::ProcessFrame",
                              driver_->GetDeviceInfo().address.c_str());
        return;
    }
    const std::uint32_t size = Rebuild(frame.Room());
    if (size == 0)
        return ResetParser();
    converter_.Convert(timestamp);
    SYSTEMTIME time{};
    converter_.GetTime(time);
    if (!frame.DescribeVideo(width_, height_, size, &time) || !client_->OnMediaFrame(frame.Get()))
        ResetParser();
}

/// Many cameras leave the end of the file out, since every picture has it.
void CJpegRTPMediaParser::EndScan()
{
    const auto last = std::find(frameBuffer_.rbegin(), frameBuffer_.rend(), kMarker);
    const bool ends =
        last != frameBuffer_.rend() && last != frameBuffer_.rbegin() && *std::prev(last) == kEndOfImage;
    if (!ends)
        frameBuffer_.insert(frameBuffer_.end(), {kMarker, kEndOfImage});
}

/// Writes the file that the frame buffer makes, and gives its size in bytes; 0 for one that makes none.
std::uint32_t CJpegRTPMediaParser::Rebuild(std::uint8_t* file)
{
    std::pair<std::uint32_t, std::uint32_t> channel;
    client_->GetResolution(channel);
    const auto header = ReadJpegRtpHeader(frameBuffer_, channel.first, channel.second);
    if (!header || file == nullptr)
        return 0;
    const std::size_t headBytes = WriteJpegHeader(*header, {file, kHeaderRoom});
    if (headBytes == 0)
        return 0;
    width_ = header->width;
    height_ = header->height;
    const std::size_t scanBytes = frameBuffer_.size() - header->size;
    std::memcpy(file + headBytes, frameBuffer_.data() + header->size, scanBytes);
    return static_cast<std::uint32_t>(headBytes + scanBytes);
}

} // namespace korvane
