#include "audio/base_rtp_data_channel.h"

namespace korvane
{

namespace
{

constexpr std::uint32_t kPortQuietMs = 500; // how long a port must be silent before it is taken
constexpr std::uint32_t kLookMs = 2000;     // between looks at the stream

} // namespace

CBaseRTPDataChannel::CBaseRTPDataChannel(IDriver* driver, std::uint32_t videoChannel)
    : CBaseThread(driver),
      driver_(driver),
      videoChannel_(videoChannel),
      setUp_(driver),
      stream_(driver, setUp_, stopEvent_)
{
}

void CBaseRTPDataChannel::OnRTPReceived(const platform::SocketAddress& sender, CRTPPacket& packet)
{
    if (stream_.Takes(sender, packet))
        ProcessPacket(packet);
}

bool CBaseRTPDataChannel::OpenMulticastReceiver(const std::string& address, std::uint16_t port)
{
    return stream_.OpenGroup(this, this, address, port);
}

bool CBaseRTPDataChannel::StartStream()
{
    if (!stream_.OpenPorts(this, kPortQuietMs))
        return false;
    OnStreamStarted();
    return true;
}

void CBaseRTPDataChannel::StopStream()
{
    stream_.Close();
    OnStopping();
}

void CBaseRTPDataChannel::Run()
{
    if (stream_.IsMulticast())
        RunMulticast();
    else
        KeepSession([this] { return OpenSession(); },
                    [this] { return lastFrame_.GetElapsedMs() < NetworkTimeoutMs(); });
}

void CBaseRTPDataChannel::KeepSession(const std::function<std::uint32_t()>& open,
                                      const std::function<bool()>& isAlive)
{
    std::uint32_t waitMs = open();
    while (!stopEvent_.Wait(waitMs))
    {
        if (!setUp_.IsShort() && isAlive())
        {
            OnIdle();
            continue;
        }
        if (!setUp_.IsDue())
            continue;
        OnSignalLost();
        waitMs = open();
    }
    StopStream();
    OnStopped();
}

// Leaves time for the first frame of a session before it is judged.
std::uint32_t CBaseRTPDataChannel::OpenSession()
{
    CEvent* const events[] = {&stopEvent_, &stream_.frameEvent};
    if (TrySession([this] { return StartStream(); }))
        CEvent::WaitForAny(events, 2, NetworkTimeoutMs());
    return kLookMs;
}

bool CBaseRTPDataChannel::TrySession(const std::function<bool()>& start)
{
    const bool isOpen = stream_.SetUp(
        false, [this](bool) { StopStream(); }, [this] { return Connect(); }, start);
    if (setUp_.IsShort())
        LeaveDevice();
    return isOpen;
}

} // namespace korvane
