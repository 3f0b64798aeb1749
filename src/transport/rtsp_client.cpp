#include "transport/rtsp_client.h"

#include <algorithm>
#include <span>
#include <vector>

#include "platform/clock.h"
#include "runtime/guarded.h"
#include "runtime/param_text.h"
#include "runtime/text.h"

namespace korvane
{

namespace
{

constexpr std::string_view kDescribe = "DESCRIBE";
constexpr std::string_view kSetup = "SETUP";
constexpr std::string_view kPlay = "PLAY";
constexpr std::string_view kOptions = "OPTIONS";
constexpr std::string_view kTeardown = "TEARDOWN";

constexpr std::uint32_t kConnectStepMs = 100;
constexpr std::uint32_t kReadStepMs = 100;  // a stop is noticed after so long in a read
constexpr std::uint32_t kTeardownMs = 1500; // for a TEARDOWN and its answer at a stop
constexpr std::uint32_t kStopMarginMs = 1000;
constexpr std::uint32_t kLeastBlocksize = 101;

constexpr std::size_t kFirstReadBytes = 256;
constexpr std::size_t kLargestReadBytes = 512;
constexpr std::size_t kUnknownResponseBytes = 512; // until the headers have ended

constexpr std::size_t kStreamReadBytes = 8192;
constexpr std::size_t kSmallStreamReadBytes = 4096; // below this the next read has its full size again

constexpr std::string_view kHeadersEnd = "\r\n\r\n";

/// Bytes of the response of which the headers end at `bodyAt`.
std::size_t ResponseBytes(const std::string& text, std::size_t bodyAt)
{
    const std::uint32_t length =
        Utils::GetParamUInt(Utils::ToLower(text), "content-length", ": ", Utils::kParamSeparators);
    return bodyAt + std::min(length, CBaseRTSPClient::kMaxBodyBytes);
}

} // namespace

CBaseRTSPClient::CBaseRTSPClient(IDebugMessage* debug) : CBaseThread(debug) {}

CBaseRTSPClient::~CBaseRTSPClient()
{
    Stop();
}

bool CBaseRTSPClient::Start(const RTSPClientParams& params, IRTSPClientUser* user, std::uint32_t mode)
{
    return Begin(params, user, mode, false);
}

bool CBaseRTSPClient::StartMulticast(const RTSPClientParams& params, IRTSPClientUser* user)
{
    return Begin(params, user, kTransportUDP, true);
}

bool CBaseRTSPClient::Begin(const RTSPClientParams& params, IRTSPClientUser* user, std::uint32_t mode,
                            bool multicast)
{
    Stop();
    parser_.Reset();
    params_ = params;
    user_ = user;
    mode_ = mode;
    multicast_ = multicast;
    if (user != nullptr && Connect() && StartThread("RTSP Client Thread"))
        return true;
    Stop();
    return false;
}

bool CBaseRTSPClient::Connect()
{
    if (!socket_.OpenStream() || (mode_ == kTransportInterleaved && !socket_.EnableWake()) ||
        !socket_.SetReceiveBuffer(params_.receiveBufferBytes))
        return false;
    socket_.SetReceiveTimeout(ReadStepMs());
    socket_.SetSendTimeout(params_.sendTimeoutMs);
    const std::uint32_t address = Utils::ResolveHostAddress(params_.host);
    return address != 0 && socket_.BeginConnect(platform::MakeSocketAddress(address, params_.serverPort)) &&
           WaitConnected();
}

bool CBaseRTSPClient::WaitConnected()
{
    for (std::uint32_t round = params_.connectTimeoutMs / kConnectStepMs; round > 0; --round)
    {
        if (cancelEvent_ != nullptr && cancelEvent_->Wait(0))
            return false;
        const platform::WaitResult result = socket_.WaitConnected(kConnectStepMs);
        if (result != platform::WaitResult::kTimeout)
            return result == platform::WaitResult::kSignalled;
    }
    return false;
}

void CBaseRTSPClient::Stop(std::uint32_t limitMs)
{
    stopEvent_.Set();
    socket_.Wake();
    const std::uint32_t ownLimitMs =
        std::max(params_.receiveTimeoutMs, params_.sendTimeoutMs) * 2 + kStopMarginMs;
    StopThread(std::min(limitMs, ownLimitMs));
    socket_.Close();
    lastKeepAlive_ = 0;
    user_ = nullptr;
}

void CBaseRTSPClient::Run()
{
    Guarded([this] { RunSession(); }); // out of memory it is over, which the user has to hear
    Guarded([this] { user_->OnSessionEnded(); });
}

void CBaseRTSPClient::RunSession()
{
    isTearingDown_ = false;
    if (!Request(kDescribe))
        return;
    if (Guarded(false, [this] { return user_->SdpInfoReceived(parser_.Response()); }) && Request(kSetup))
    {
        Request(kPlay);
        while (!stopEvent_.Wait(tickMs_))
            KeepAlive();
    }
    isTearingDown_ = true;
    teardownMs_ = platform::Clock::Milliseconds();
    Request(kTeardown);
}

void CBaseRTSPClient::KeepAlive()
{
    const std::uint32_t timeoutS = parser_.Response().sessionTimeout;
    const std::uint64_t periodS = timeoutS != 0 ? timeoutS : params_.keepAliveDefaultS;
    const std::uint64_t now = platform::Clock::MonotonicTicks();
    const std::uint64_t sinceMs = (now - lastKeepAlive_) / platform::kTicksPerMs;
    if (lastKeepAlive_ != 0 && sinceMs <= periodS * 1000 / 2)
        return;
    lastKeepAlive_ = now;
    Request(kOptions);
}

bool CBaseRTSPClient::Request(std::string_view method)
{
    if (IsStopping() && method != kTeardown)
        return false;
    lastResult_ = Exchange(method);
    const RTSPResponse& response = parser_.Response();
    if (lastResult_ && response.status == 401 && response.challengeScheme != params_.authenticationMode)
    {
        params_.authenticationMode = response.challengeScheme;
        lastResult_ = Exchange(method);
    }
    return lastResult_ && response.status >= 200 && response.status <= 299;
}

bool CBaseRTSPClient::Exchange(std::string_view method)
{
    if (!socket_.IsOpen())
        return false;
    const std::string request = BuildRequest(method);
    const std::span<const std::uint8_t> bytes(reinterpret_cast<const std::uint8_t*>(request.data()),
                                              request.size());
    if (socket_.Send(bytes) != bytes.size())
        return false;
    if (method == kPlay && mode_ == kTransportInterleaved)
        return ReceiveStream();
    const std::string response = ReadResponse();
    return !response.empty() && parser_.Parse(method, response);
}

std::uint32_t CBaseRTSPClient::ReadStepMs() const
{
    return params_.receiveTimeoutMs == 0 ? kReadStepMs : std::min(params_.receiveTimeoutMs, kReadStepMs);
}

/// One read that waits for the receive time-out, in steps, so that it ends soon after a stop.
platform::ReceiveResult CBaseRTSPClient::Receive(std::span<std::uint8_t> buffer)
{
    for (std::uint64_t waitedMs = ReadStepMs();; waitedMs += ReadStepMs())
    {
        const platform::ReceiveResult read = socket_.Receive(buffer);
        const bool timedOut = read.status == platform::ReceiveResult::Status::kTimeout;
        const bool isLast = params_.receiveTimeoutMs != 0 && waitedMs >= params_.receiveTimeoutMs;
        if (!timedOut || isLast || MustLeave())
            return read;
        socket_.ClearWake(); // it has told of a stop, and this is the TEARDOWN that follows
    }
}

/// Reads until the response is whole or nothing more comes. Headers longer than the first 512 bytes are cut
/// off there.
std::string CBaseRTSPClient::ReadResponse()
{
    std::string text;
    std::size_t expected = kUnknownResponseBytes;
    std::size_t next = kFirstReadBytes;
    bool headersEnded = false;
    std::uint8_t buffer[kLargestReadBytes];
    while (text.size() < expected)
    {
        const auto read = Receive({buffer, next});
        if (read.status != platform::ReceiveResult::Status::kReceived || read.length == 0)
            break;
        text.append(buffer, buffer + read.length);
        if (!headersEnded)
        {
            const std::size_t end = text.find(kHeadersEnd);
            headersEnded = end != std::string::npos;
            if (headersEnded)
                expected = ResponseBytes(text, end + kHeadersEnd.size());
        }
        if (MustLeave())
            break;
        next = std::min(expected - std::min(expected, text.size()), kLargestReadBytes);
    }
    return text;
}

/// Whether a read is to end although it has not what it wants: a stop ends all but a TEARDOWN at once, and
/// that too when its time is over, for a device that sends a byte now and then must not hold up a stop.
bool CBaseRTSPClient::MustLeave()
{
    return IsStopping() && (!isTearingDown_ || platform::Clock::Milliseconds() - teardownMs_ >= kTeardownMs);
}

std::string CBaseRTSPClient::BuildRequest(std::string_view method)
{
    RTSPResponse& response = parser_.Response();
    const std::string baseUrl = RTSPBaseUrl(params_, response);
    const std::string url =
        method == kSetup ? RTSPSetupUrl(baseUrl, response.description.Section(params_.mediaSelector).control)
                         : baseUrl;
    ++response.cseq;

    std::string request = std::string(method) + " " + url + " RTSP/1.0\r\n";
    request += "CSeq: " + std::to_string(response.cseq) + "\r\n";
    request += RTSPAuthorizationHeader(method, baseUrl, params_, response);
    request += "User-Agent: Korvane\r\n";
    request += HeadersOf(method);
    if (!params_.require.empty())
        request += "Require: " + params_.require + "\r\n";
    return request + "\r\n";
}

std::string CBaseRTSPClient::HeadersOf(std::string_view method) const
{
    const RTSPResponse& response = parser_.Response();
    if (method == kDescribe)
        return "Accept: application/sdp\r\n";
    if (method == kSetup)
    {
        const SDPMediaSection& section = response.description.Section(params_.mediaSelector);
        std::string headers = RTSPTransportHeader(section, params_, mode_, multicast_);
        if (params_.blocksize >= kLeastBlocksize)
            headers += "Blocksize: " + std::to_string(params_.blocksize) + "\r\n";
        return headers;
    }
    std::string headers;
    if (!response.session.empty())
        headers = "Session: " + response.session + "\r\n";
    if (method == kPlay)
        headers += "Range: " + (params_.range.empty() ? "npt=0.000-" : params_.range) + "\r\n";
    return headers;
}

bool CBaseRTSPClient::ReceiveStream()
{
    CRTSPStreamParser parser(this, parser_.Response().interleavedChannel);
    std::vector<std::uint8_t> buffer(kStreamReadBytes);
    std::size_t size = buffer.size();
    for (;;)
    {
        const auto read = Receive({buffer.data(), size});
        if (read.status != platform::ReceiveResult::Status::kReceived || read.length == 0)
            return true;
        if (IsStopping())
            return false;
        parser.Feed({buffer.data(), read.length});
        if (IsStopping()) // by a BYE in it; nothing more may come to wake the next read
            return false;
        size = read.length < kSmallStreamReadBytes ? kStreamReadBytes : read.length;
    }
}

void CBaseRTSPClient::OnStreamPacket(CRTPPacket& packet)
{
    user_->OnRTPPacket(packet);
}

void CBaseRTSPClient::OnStreamBye()
{
    stopEvent_.Set();
    user_->OnRTCPBye();
}

} // namespace korvane
