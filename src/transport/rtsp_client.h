#pragma once

#include <atomic>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "platform/socket.h"
#include "runtime/base_thread.h"
#include "transport/rtcp_handler.h"
#include "transport/rtp_packet.h"
#include "transport/rtsp_request.h"
#include "transport/rtsp_response_parser.h"
#include "transport/rtsp_stream_parser.h"

namespace korvane
{

/// What the user of an RTSP client hears, on the client's thread. It must not stop the client from here.
/// Exceptions are dropped.
class IRTSPClientUser : public IRTCPHandlerUser
{
public:
    /// The device has described its streams. False ends the session; an exception counts as false.
    virtual bool SdpInfoReceived(const RTSPResponse& response) = 0;

    /// A packet of an interleaved stream, valid during the call only.
    virtual void OnRTPPacket(CRTPPacket& packet) = 0;

    /// The session is over, whatever the reason; nothing else comes after it.
    virtual void OnSessionEnded() = 0;
};

/// Runs one RTSP 1.0 session (RFC 2326) over one TCP connection, on the thread "RTSP Client Thread":
/// DESCRIBE, SETUP of one media section, PLAY, OPTIONS to keep it alive, TEARDOWN. Answers Basic and Digest
/// challenges, one retry each. In the interleaved mode it also receives the RTP; PLAY then lasts as long as
/// the stream, and no OPTIONS go out. Never reconnects: that is for the user, by a new start. Logs nothing.
///
/// Callers serialise start and stop, and call neither from a callback. `GetLastResult` may come from any
/// thread. No lock is taken.
class CBaseRTSPClient : public CBaseThread, public IRTSPStreamParserUser
{
public:
    /// The most that is read of a response's body, in bytes; descriptions have a few thousand.
    static constexpr std::uint32_t kMaxBodyBytes = 256 * 1024;

    explicit CBaseRTSPClient(IDebugMessage* debug);
    ~CBaseRTSPClient() override; ///< stops

    /// Connects and starts a session; ends one that runs. `user` is not owned and outlives it. `mode` is
    /// `kTransportUDP` or `kTransportInterleaved`. Waits for the connection, for at most the connect
    /// time-out. On false no call is made on the user.
    bool Start(const RTSPClientParams& params, IRTSPClientUser* user, std::uint32_t mode);
    bool StartMulticast(const RTSPClientParams& params, IRTSPClientUser* user); ///< same, from a group

    /// Ends the session by a TEARDOWN: mostly at once, within 1,600 ms whatever the device owes, and if the
    /// user does not come back from a callback within twice the larger of the send and receive time-outs and
    /// 1,000 ms, or within `limitMs` if that is less. From its return on there is no callback.
    void Stop(std::uint32_t limitMs = kWaitForever);

    /// An event that ends a connection in the making, when it is set; null is none. Not owned; before a
    /// start.
    void SetCancelEvent(CManualEvent* event) { cancelEvent_ = event; }

    /// Whether the last request was sent and its response understood.
    bool GetLastResult() const { return lastResult_; }

    /// How long the session waits between looks at its keep-alive; 2,000 unless set, before a start.
    void SetTickInterval(std::uint32_t ms) { tickMs_ = ms; }

    void Run() override;

    /// The whole text of the next request; raises the sequence number.
    virtual std::string BuildRequest(std::string_view method);

    /// Receives the interleaved stream until the connection fails or is silent for the receive time-out:
    /// true; or until the stop event is set: false.
    virtual bool ReceiveStream();

    void OnStreamPacket(CRTPPacket& packet) override;
    void OnStreamBye() override;

private:
    bool Begin(const RTSPClientParams& params, IRTSPClientUser* user, std::uint32_t mode, bool multicast);
    bool Connect();
    bool WaitConnected();
    void RunSession();
    void KeepAlive();
    bool Request(std::string_view method);
    bool Exchange(std::string_view method);
    std::string ReadResponse();
    std::uint32_t ReadStepMs() const;
    platform::ReceiveResult Receive(std::span<std::uint8_t> buffer);
    bool MustLeave();
    std::string HeadersOf(std::string_view method) const;

    CRTSPResponseParser parser_;
    platform::Socket socket_;
    std::uint64_t lastKeepAlive_ = 0; // monotonic ticks; 0 before the first one
    IRTSPClientUser* user_ = nullptr;
    std::atomic<bool> lastResult_{false};
    RTSPClientParams params_;
    std::uint32_t mode_ = kTransportUDP;
    bool multicast_ = false;
    bool isTearingDown_ = false;
    std::uint32_t teardownMs_ = 0; // tick when that began
    CManualEvent* cancelEvent_ = nullptr;
    std::uint32_t tickMs_ = 2000;
};

} // namespace korvane
