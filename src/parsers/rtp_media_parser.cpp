#include "parsers/rtp_media_parser.h"

#include <utility>

namespace korvane
{

CRTPMediaParser::CRTPMediaParser(IDriver* driver, std::string driverName)
    : driver_(driver), driverName_(std::move(driverName))
{
}

void CRTPMediaParser::SetParameterSets(const ParameterSets& parameterSets)
{
    parameterSets_ = parameterSets;
}

void CRTPMediaParser::OnPacket(CRTPPacket& packet)
{
    try
    {
        if (!CheckSequence(packet))
            ResetParser();
        markerMayEnd_ = true;
        if (!AddPayload(packet.Payload()))
            return;
        if (!CheckBufferSize())
            return ResetParser();
        if (markerMayEnd_ && packet.Marker() && !frameBuffer_.empty())
        {
            CompleteFrame(packet.Timestamp());
            frameBuffer_.clear();
        }
    }
    catch (...)
    {
        ResetParser(); // half a frame must not open the next one
    }
}

bool CRTPMediaParser::CheckSequence(const CRTPPacket& packet)
{
    // A packet of the stream before may still be queued: the times start anew at the other source too.
    if (timesStartAnew_ && timesStartAnew_.exchange(false))
    {
        converter_.Reset();
        awaitsSource_ = true;
        lastSource_ = packet.SSRC();
    }
    else if (awaitsSource_ && packet.SSRC() != lastSource_)
    {
        converter_.Reset();
        awaitsSource_ = false;
    }
    const auto expected = static_cast<std::uint16_t>(lastSequence_ + 1);
    const bool follows = firstPacket_ || packet.SequenceNumber() == expected;
    firstPacket_ = false;
    lastSequence_ = packet.SequenceNumber();
    return follows;
}

bool CRTPMediaParser::CheckBufferSize()
{
    if (frameBuffer_.size() <= kMaxFrameBytes)
        return true;
    const DEVICE_INFO& device = driver_->GetDeviceInfo();
    driver_->DebugMessage(kLevelError, "%s: Frame buffer overflow detected, device %s:%u",
                          "korvane::CRTPMediaParser::CheckBufferSize", device.address.c_str(),
                          static_cast<unsigned>(device.port));
    return false;
}

void CRTPMediaParser::DeliverFrame(std::uint32_t format)
{
    const auto sizeBytes = static_cast<std::uint32_t>(frameBuffer_.size());
    const CHostFrame frame(CHostFrame::Kind::kVideo, *driver_, driverName_, format, sizeBytes);
    if (frame.Get() == nullptr)
        return;
    SYSTEMTIME time{};
    converter_.GetTime(time);
    if (!frame.SetVideo(frameBuffer_, width_, height_, &time) || !client_->OnMediaFrame(frame.Get()))
        ResetParser();
}

void CRTPMediaParser::ResetParser()
{
    waitingForKey_ = true;
    width_ = 0;
    height_ = 0;
    frameBuffer_.clear(); // keeps its capacity
}

} // namespace korvane
