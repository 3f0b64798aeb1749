#include "parsers/host_video_frame.h"

#include "parsers/size_class.h"
#include "platform/thread.h"

namespace korvane
{

CHostVideoFrame::CHostVideoFrame(ipcapture::IHostFrameAllocator* allocator, std::uint32_t formatCode,
                                 std::uint32_t sizeBytes, const char* driverName)
    : allocator_(allocator), formatCode_(formatCode)
{
    if (allocator == nullptr)
        return;
    try
    {
        const platform::AwayScope away;
        frame_ = allocator->AllocateVideoFrame(formatCode, sizeBytes, driverName);
    }
    catch (...)
    {
        frame_ = nullptr;
    }
}

CHostVideoFrame::~CHostVideoFrame()
{
    if (frame_ == nullptr)
        return;
    try
    {
        const platform::AwayScope away;
        allocator_->ReleaseFrame(frame_);
    }
    catch (...) // the frame is the host's; there is nothing left to do for it
    {
    }
}

void CHostVideoFrame::Describe(std::uint32_t width, std::uint32_t height, std::uint32_t sizeBytes)
{
    frame_->SetWidth(width);
    frame_->SetHeight(height);
    frame_->SetSizeClass(SizeClass(width, height));
    frame_->SetDataSize(sizeBytes);
    frame_->SetFormat(formatCode_);
}

} // namespace korvane
