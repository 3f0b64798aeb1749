#pragma once

#include "device/driver.h"
#include "runtime/base_thread.h"
#include "runtime/time.h"
#include "transport/rtsp_stream.h"

#include <cstdint>
#include <functional>
#include <string>

namespace korvane
{

/// A channel of data other than video that comes in RTP packets: it gets them from a transport to what
/// derives from it, and makes a new session whenever frames stay away, for as long as it runs.
///
/// Threads: `Run` and all that it calls on the channel's; packets on the receiver's ("RTP Packet Queue") or,
/// interleaved, on the RTSP client's. The two sides share only events and the last-frame stamp.
class CBaseRTPDataChannel : public CBaseThread, public IRTPReceiverUser, public IRTCPHandlerUser
{
public:
    /// `driver` is not owned and outlives the channel. `videoChannel`, from 0, is the video channel that the
    /// data belongs to. Looks the device's address up, which may block for as long as the resolver does.
    CBaseRTPDataChannel(IDriver* driver, std::uint32_t videoChannel);

    void Run() override;

    void OnRTPReceived(const platform::SocketAddress& sender, CRTPPacket& packet) override;
    void OnRTCPBye() override { stream_.byeEvent.Set(); }

protected:
    /// Opens RTP and RTCP on a group, as `RTSPStream::OpenGroup`.
    virtual bool OpenMulticastReceiver(const std::string& address, std::uint16_t port);

    /// Finds ports; what derives from it asks the device for the stream.
    virtual bool StartStream();
    virtual void StopStream();

    /// The thread's body when the settings file asks for multicast.
    virtual void RunMulticast() = 0;

    /// Sets the device up; before each session.
    virtual bool Connect() = 0;

    /// Lets go of what is kept for the next time.
    virtual void LeaveDevice() {}

    /// One packet of the stream. On a transport thread.
    virtual void ProcessPacket(CRTPPacket& packet) = 0;

    virtual void OnIdle() {} ///< after each look at a stream that is well
    virtual void OnStreamStarted() {}
    virtual void OnStopping() {}
    virtual void OnSignalLost() {}
    virtual void OnStopped() {}

    /// Makes a session by `open`, which gives the time to the next look at it, and another one whenever
    /// `isAlive` says no, until the stop event.
    void KeepSession(const std::function<std::uint32_t()>& open, const std::function<bool()>& isAlive);

    /// Ends the session in hand, sets the device up, and makes a session by `start`; true if that did. Else
    /// all is closed.
    bool TrySession(const std::function<bool()>& start);

    std::uint32_t NetworkTimeoutMs() const { return driver_->GetDeviceInfo().networkTimeoutMs; }

    IDriver* const driver_;
    const std::uint32_t videoChannel_;
    CSetUp setUp_;
    RTSPStream stream_;
    CTime lastFrame_;

private:
    std::uint32_t OpenSession();
};

} // namespace korvane
