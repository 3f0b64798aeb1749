#include "parsers/http_media_parser.h"

namespace korvane
{

CHttpMediaParser::CHttpMediaParser(IDriver* driver) : driver_(driver) {}

bool CHttpMediaParser::CheckBufferSize() const
{
    if (frame_.size() + skippedBytes_ <= kMaximumFrameBytes)
        return true;
    const DEVICE_INFO device = driver_->GetDeviceInfo();
    driver_->DebugMessage(kLevelError, "%s: Frame buffer overflow detected, device %s:%u",
                          "korvane::CHttpMediaParser::CheckBufferSize", device.address.c_str(),
                          static_cast<unsigned>(device.port));
    return false;
}

} // namespace korvane
