#include "audio/audio_capture_channel.h"

#include "audio/ip_audio_capture.h"
#include "platform/socket.h"
#include "runtime/text.h"
#include "support/fake_driver.h"
#include "support/http_test_server.h"
#include "support/multicast_network.h"
#include "support/scripted_rtsp_server.h"
#include "support/settings_folder.h"
#include "support/table.h"
#include "transport/wire.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace korvane
{
namespace
{

using test::Bytes;
using test::operator+;
using test::HttpTestServer;
using test::ScriptedRTSPServer;
using Texts = std::vector<std::string>;

/// The host's side of an audio channel: takes some formats, and remembers.
class AudioHost final : public test::HostObject,
                        public ipcapture::IHostAudioClient,
                        public ipcapture::IHostCodecList,
                        public ipcapture::IHostCodecItem
{
public:
    Texts formats; ///< four characters each; one with "-" in front is known but not usable

    /// Waits until the states heard so far begin so; gives all of them.
    std::string WaitForStates(const std::string& states)
    {
        states_.WaitFor([&](const std::string& heard) { return heard.starts_with(states); });
        return states_.Get();
    }
    std::vector<test::FrameRecord> WaitForFrames(std::size_t count)
    {
        std::vector<test::FrameRecord> frames = frames_.GetOnce(count);
        EXPECT_GE(frames.size(), count);
        frames.resize(std::max(frames.size(), count));
        return frames;
    }

    bool AudioFrame(ipcapture::IHostFrame* frame) override
    {
        Called();
        frames_.Add(static_cast<test::FakeFrame*>(frame)->Record());
        return true;
    }
    void StateChanged(std::uint32_t audioChannel, std::uint32_t state) override
    {
        EXPECT_EQ(Answer(audioChannel), 7u);
        states_.Change([&](std::string& heard) { heard += std::to_string(state); });
        if (onState)
            onState(state);
    }
    std::function<void(std::uint32_t)> onState; ///< called for each state; before a start
    std::uint32_t GetCount() override { return Answer(static_cast<std::uint32_t>(formats.size()) + 1); }
    ipcapture::IHostCodecItem* GetItem(std::uint32_t index) override
    {
        at_ = Answer(index);
        return index < formats.size() ? this : nullptr;
    }
    std::uint32_t GetCode() override
    {
        const char* const text = formats[at_].c_str() + (IsUsable() ? 0 : 1);
        return ipcapture::FourCharacterCode(text[0], text[1], text[2], text[3]);
    }
    void ReservedSlot1() override { ADD_FAILURE() << "not for the driver"; }
    bool IsUsable() override { return Answer(formats[at_][0] != '-'); }

private:
    std::uint32_t at_ = 0;
    test::Watched<std::string> states_;
    test::WatchedList<test::FrameRecord> frames_;
};

const std::string kLost = "korvane::CBaseAudioRTSPChannel::SetDeviceState: Audio signal was lost for ";

class HostedChannel final : public CAudioCaptureChannel
{
public:
    HostedChannel(IDriver* driver, AudioHost* host)
        : CAudioCaptureChannel(driver, 7, 0, host, host), host_(host)
    {
    }
    ~HostedChannel() override { HostedChannel::Stop(); } // before its own part goes
    bool Start() override
    {
        host_->ExpectCalls();
        return CAudioCaptureChannel::Start();
    }
    bool Stop() override
    {
        const bool isStopped = CAudioCaptureChannel::Stop();
        host_->EndCalls();
        return isStopped;
    }

private:
    AudioHost* const host_;
};

/// A device on loopback: its CGI parameters, its description, and what it sends behind the answer to PLAY.
struct Device
{
    std::string parameters;
    std::string audio; ///< the lines of the audio section behind the m= line
    Bytes payload;
    int setStatus = 200;
    int groupPort = 0;      ///< in the m= line
    int rtspPort = 0;       ///< that the device tells; 0 the one of its server
    std::string unanswered; ///< RTSP method
    std::atomic<std::size_t> plays{0};

    HttpTestServer http{[this](test::TestHttpPeer& peer, const test::TestHttpRequest& request)
                        {
                            const bool isSet = request.target.find("setparam") != std::string::npos;
                            const int number = rtspPort != 0 ? rtspPort : rtsp.Port();
                            const std::string port = "network_rtsp_port='" + std::to_string(number) + "'\r\n";
                            return peer.Send(isSet ? HttpTestServer::Response(setStatus, "OK")
                                                   : HttpTestServer::Response(200, port + parameters));
                        }};
    ScriptedRTSPServer rtsp{
        [this](const std::string& method, const std::string& request)
        {
            if (method == unanswered)
                return ScriptedRTSPServer::Reply{};
            if (method == "DESCRIBE")
                return ScriptedRTSPServer::Reply{ScriptedRTSPServer::Response(
                    request, "Content-Type: application/sdp\r\n",
                    ScriptedRTSPServer::kDescription + "m=audio " + std::to_string(groupPort) +
                        " RTP/AVP 97\r\n" + audio + "a=control:trackID=2\r\n")};
            ScriptedRTSPServer::Reply reply = ScriptedRTSPServer::Ordinary(method, request);
            if (method == "PLAY" && ++plays != 0 && groupPort == 0 && !payload.empty())
            {
                const Bytes packet = test::Framed(0, test::RTPBytes(1, payload));
                reply.bytes.append(packet.begin(), packet.end());
            }
            return reply;
        }};
};

const std::string kInterleaved = "<RTPMode>RTPOVERRTSP</RTPMode>";

struct Fixture
{
    explicit Fixture(const std::string& settings = kInterleaved)
    {
        folder.Write("<Configuration><Default>" + settings + "</Default></Configuration>");
        driver.hostDirectory = folder.Path();
        driver.allocator = &allocator;
        driver.device.port = device.http.Port();
        driver.properties[14] = "1;video;live.sdp";
    }
    std::unique_ptr<HostedChannel> Channel() { return std::make_unique<HostedChannel>(&driver, &host); }
    std::string Requests() const ///< the targets, without what all have in front
    {
        std::string text;
        for (const std::string& target : device.http.Targets())
            text += (text.empty() ? "" : " ") + target.substr(std::string("/cgi-bin/admin/").size());
        return text;
    }

    test::SettingsFolder folder;
    test::FakeAllocator allocator;
    test::FakeDriver driver;
    AudioHost host;
    Device device;
};

const std::string kSet = "setparam.cgi?audioin_c0_s0_codectype=";
const std::string kPcmu = "a=rtpmap:97 PCMU/8000\r\n";
const std::string kPcma = "a=rtpmap:97 PCMA/16000\r\n";
const std::string kG726 = "a=rtpmap:97 G726-24/8000\r\n";
const std::string kLengths = "sizelength=13;indexlength=3;indexdeltalength=3";
const std::string kAac = "a=rtpmap:97 mpeg4-generic/44100/2\r\na=fmtp:97 streamtype=5;profile-level-id=15;"
                         "mode=AAC-hbr;config=1210;" +
                         kLengths + "\r\n";

TEST(AudioCaptureChannel, AgreesOnACodecWithHostFileAndDevice)
{
    // What the host tells of the device's codecs, its own formats, the codec of the settings file, the
    // device's parameters and the description; then the request behind the first one, the format and its two
    // rates.
    using Text = std::string;
    const Text aac4 = kSet + "aac4", g711 = kSet + "g711", g726 = kSet + "g726";
    for (const auto& [name, selected, formats, wanted, parameters, audio, request, format, sampleRate,
                      bitRate] :
         test::Table<Text, Text, Text, Text, Text, Text, Text, Text, std::uint32_t, std::uint32_t>{
             {"the first of two", "g711,g726", "711M,7261", "", "audioin_c0_s0_codectype='aac4'", kPcmu, g711,
              "711M", 8000, 64000},
             {"as the device has it", "g711", "711M", "", "audioin_c0_s0_codectype='g711'", kPcmu, "", "711M",
              8000, 64000},
             {"what the host can't play is none", "aac4,g726", "-AAC1,7261", "",
              "audioin_c0_s0_g726_bitrate='40000'", kG726, g726, "7261", 8000, 40000},
             {"the description's rate without the device's", "g726", "7261", "", "", kG726, g726, "7261",
              8000, 24000},
             {"by the file", "aac4,g711,g726", "AAC1,711M,7261", "G726", "", kG726, g726, "7261", 8000,
              24000},
             {"by the file, in other words", "g711,aac4", "AAC1,711M", "AAC",
              "audioin_c0_s0_aac4_bitrate='96000'", kAac, aac4, "AAC1", 44100, 96000},
             {"a wish that nobody has", "g711", "711M", "aac4", "", kPcmu, g711, "711M", 8000, 64000},
             {"nothing in common", "aac4", "7261", "", "", kPcmu, g711, "711M", 8000, 64000},
             {"nothing told", "", "AAC1", "", "", kPcmu, g711, "711M", 8000, 64000},
             {"muted", "g711", "711M", "", "audioin_c0_mute='1'", kPcmu, g711 + "&audioin_c0_mute=0", "711M",
              8000, 64000},
             {"muted, and nothing else", "g711", "711M", "",
              "audioin_c0_s0_codectype='g711'\r\naudioin_c0_mute='1'", kPcmu,
              "setparam.cgi?audioin_c0_mute=0", "711M", 8000, 64000},
             {"A-law of the device's choice", "g711", "711M", "", "audioin_c0_s0_g711_mode='pcma'", kPcma,
              g711, "711A", 16000, 64000},
             {"another law than was told", "g711", "711M", "", "audioin_c0_s0_g711_mode='pcmu'", kPcma, g711,
              "711A", 16000, 64000},
             {"another codec than was asked for", "aac4", "AAC1", "", "", kG726, aac4, "7261", 8000, 24000},
         })
    {
        SCOPED_TRACE(name);
        Fixture f(kInterleaved + "<AudioInputChannel><Codec>" + wanted + "</Codec></AudioInputChannel>");
        f.driver.properties[17] = selected;
        f.host.formats = Utils::SplitString(formats, ',');
        f.device.parameters = parameters;
        f.device.audio = audio;
        f.device.payload = audio == kAac ? Bytes{0, 16, 0, 16, 1, 2} : Bytes(sampleRate, 1);
        const auto channel = f.Channel();
        ASSERT_TRUE(channel->Start());
        const test::FrameRecord frame = f.host.WaitForFrames(1).front();
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(&frame.format), 4), format);
        EXPECT_EQ(frame.sampleRate, sampleRate);
        EXPECT_EQ(frame.audioBitRate, bitRate);
        EXPECT_EQ(frame.stereo, audio == kAac);
        EXPECT_EQ(frame.audioInput, 7);
        EXPECT_EQ(f.Requests(), "getparam.cgi?audioin&network" + (request.empty() ? "" : " " + request));
        EXPECT_NE(f.device.rtsp.Requests()[1].find("/trackID=2 "), std::string::npos);
        EXPECT_EQ(channel->GetState(), 2u);
        EXPECT_TRUE(channel->Stop());
        // The frame may have come before the channel's thread was back from starting the session.
        const std::string states = f.host.WaitForStates("12");
        EXPECT_TRUE(states == "1230" || states == "12530") << states;
        EXPECT_EQ(f.driver.Texts(1), Texts());
        const std::string function = "korvane::CBaseAudioRTSPChannel::SetDeviceState: Audio ";
        EXPECT_EQ(f.driver.Texts(3), (Texts{function + "signal from camera 127.0.0.1 is OK",
                                            function + "channel was stopped for camera 127.0.0.1"}));
    }
}

TEST(AudioCaptureChannel, TellsWhyADeviceGivesNoSound)
{
    const std::string sdp = "korvane::CBaseAudioRTSPChannel::SdpInfoReceived: ";
    const std::string aac = "a=rtpmap:97 mpeg4-generic/8000/3\r\na=fmtp:97 mode=AAC-hbr;";
    const std::string odd = " doesn't compatible with parser: a=fmtp:97 mode=AAC-hbr;";
    for (const auto& [name, status, audio, states, message] :
         test::Table<const char*, int, std::string, const char*, std::string>{
             {"setparam refused", 500, "", "15",
              " device returns status code 500 for "
              "\"/cgi-bin/admin/setparam.cgi?audioin_c0_s0_codectype=g711\" URI"},
             {"unknown encoding", 200, "a=rtpmap:97 L16/8000\r\n", "12",
              sdp + "Audio encoding for device 127.0.0.1:"},
             {"no encoding", 200, "", "12", " doesn't recognized: "},
             {"size", 200, aac + "sizelength=12;indexlength=3;indexdeltalength=3\r\n", "12", odd},
             {"index", 200, aac + "sizelength=13;indexlength=2;indexdeltalength=3\r\n", "12", odd},
             {"index delta", 200, aac + "sizelength=13;indexlength=3;indexdeltalength=2\r\n", "12", odd},
             {"composition", 200, aac + kLengths + ";ctsdeltalength=1\r\n", "12", odd},
             {"decoding", 200, aac + kLengths + ";dtsdeltalength=1\r\n", "12", odd},
             {"many channels", 200, aac + kLengths + "\r\n", "12",
              sdp + "AAC Audio with 3 channels doesn't supported by system for device 127.0.0.1:"},
         })
    {
        SCOPED_TRACE(name);
        Fixture f;
        f.device.setStatus = status;
        f.device.audio = audio;
        const auto channel = f.Channel();
        ASSERT_TRUE(channel->Start());
        EXPECT_TRUE(f.driver.WaitForMessage(message));
        EXPECT_EQ(f.host.WaitForStates(states), states);
    }
}

TEST(AudioCaptureChannel, LooksForALostSignalForEver)
{
    Fixture f;
    f.driver.channelCount = 4;
    f.driver.device.networkTimeoutMs = 300;
    f.device.audio = "a=rtpmap:97 PCMU/8000\r\n";
    f.device.payload = Bytes(8000, 1);
    const auto channel = f.Channel();
    ASSERT_TRUE(channel->Start());
    EXPECT_EQ(f.host.WaitForStates("12512").substr(0, 5), "12512");
    channel->Stop();
    EXPECT_TRUE(f.host.WaitForStates("12512").ends_with("30"));
    const std::string lost = kLost + "video-server 127.0.0.1 (channel 0)";
    const Texts errors = f.driver.Texts(1);
    EXPECT_FALSE(errors.empty());
    EXPECT_TRUE(std::ranges::all_of(errors, [&](const auto& text) { return text == lost; }));
    EXPECT_TRUE(f.Requests().starts_with("getparam.cgi?audioin&network setparam.cgi?audioin_c0_s0_codectype="
                                         "g711 getparam.cgi?audioin&network"))
        << "parameters are set anew for each session";

    EXPECT_EQ(platform::SocketLibraryUse::Count(), 0);
    ASSERT_TRUE(channel->Start()); // a stopped channel may go on
    EXPECT_EQ(platform::SocketLibraryUse::Count(), 1);
    EXPECT_TRUE(f.driver.WaitForMessage("is OK"));
}

/// A second of telephone sound in datagrams to that place.
void SendSecond(platform::Socket& sender, const platform::SocketAddress& to)
{
    for (std::uint16_t sequence = 0; sequence < 8; ++sequence)
        sender.SendTo(to, test::RTPBytes(sequence, Bytes(1000, 1)));
}

TEST(AudioCaptureChannel, TakesDatagramsOfItsDevice)
{
    Fixture f("");
    f.device.audio = kPcmu;
    const auto channel = f.Channel();
    ASSERT_TRUE(channel->Start());
    ASSERT_TRUE(f.device.rtsp.WaitForMethod("PLAY"));
    const std::string setup = f.device.rtsp.Requests()[1];
    const std::string key = "client_port=";
    const auto port = static_cast<std::uint16_t>(std::stoi(setup.substr(setup.find(key) + key.size())));
    platform::Socket sender;
    ASSERT_TRUE(sender.OpenDatagram());
    SendSecond(sender, platform::MakeSocketAddress(test::kLoopback, port));
    EXPECT_EQ(f.host.WaitForFrames(1).back().data.size(), 8000u);
    EXPECT_TRUE(channel->Stop());
}

const Bytes kReportAndBye =
    Bytes{0x80, 200, 0, 6, 0, 0, 0, 1} + Bytes(20) + Bytes{0x81, 203, 0, 1, 0, 0, 0, 1};

TEST(AudioCaptureChannel, TakesTheGroupThatTheDescriptionNames)
{
    const bool ran = test::RunInMulticastNetwork(
        []
        {
            const std::uint32_t group = *platform::ParseIPv4("239.1.2.5");
            platform::Socket sender;
            ASSERT_TRUE(sender.OpenDatagram());
            for (const bool saysFarewell : {false, true})
            {
                Fixture f;
                f.folder.Write("<Configuration><StreamingMode>multicast</StreamingMode></Configuration>");
                f.driver.device.networkTimeoutMs = saysFarewell ? test::kPatienceMs : 300;
                f.device.audio = kPcmu + "c=IN IP4 239.1.2.5/1\r\n";
                f.device.groupPort = 5552;
                const auto channel = f.Channel();
                ASSERT_TRUE(channel->Start());
                // Each PLAY brings a second of sound, behind which the session is renewed.
                for (std::size_t session = 1; session <= 2; ++session)
                {
                    while (f.device.plays < session)
                        ASSERT_TRUE(f.device.rtsp.WaitForRequests(f.device.rtsp.Requests().size() + 1));
                    SendSecond(sender, platform::MakeSocketAddress(group, 5552));
                    EXPECT_EQ(f.host.WaitForFrames(session).back().data.size(), 8000u);
                    if (saysFarewell)
                        sender.SendTo(platform::MakeSocketAddress(group, 5553), kReportAndBye);
                }
                EXPECT_TRUE(channel->Stop());
                EXPECT_TRUE(f.host.WaitForStates("12").ends_with("30"));
                EXPECT_EQ(f.driver.Texts(1).front(), kLost + "camera 127.0.0.1");
            }
        });
    if (!ran)
        GTEST_SKIP() << "this user can't make a network of its own";
}

TEST(AudioCaptureChannel, MayBeStoppedFromInsideACallOnItsClient)
{
    Fixture f;
    f.device.audio = kPcmu;
    struct Maker final : IAudioChannelCreator
    {
        explicit Maker(Fixture& fixture) : f(fixture) {}
        IAudioInputChannel* CreateAudioInputChannel(std::uint32_t, std::uint32_t,
                                                    ipcapture::IHostAudioClient*,
                                                    ipcapture::IHostCodecList*) override
        {
            return f.Channel().release();
        }
        IAudioOutputChannel* CreateAudioOutputChannel(std::uint32_t, std::uint32_t, std::uint32_t,
                                                      std::uint32_t) override
        {
            return nullptr;
        }
        Fixture& f;
    } maker(f);
    {
        CIPAudioCapture capture(&maker, 1);
        f.host.onState = [&](std::uint32_t state)
        {
            if (state == 2)
                static_cast<void>(capture.StopChannel(7));
        };
        ASSERT_TRUE(capture.StartChannel(7, 0, &f.host, &f.host));
        EXPECT_EQ(f.host.WaitForStates("12"), "12");
        while (capture.GetChannelCount() != 0)
            std::this_thread::yield();
    } // waits for the channel's thread
    EXPECT_EQ(platform::SocketLibraryUse::Count(), 0);
    EXPECT_EQ(f.host.WaitForStates("12"), "12") << "the client hears nothing once it has stopped the channel";
}

TEST(AudioCaptureChannel, EndsInTimeWhateverTheDeviceOwes)
{
    const HttpTestServer::Script saysNothing = [](test::TestHttpPeer& peer, const test::TestHttpRequest&)
    { return !peer.WaitClosed(); };
    const HttpTestServer::Script drips = [](test::TestHttpPeer& peer, const test::TestHttpRequest&)
    {
        return peer.Send("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n") &&
               peer.SendSlowly(std::string(1000, 'y'), 50);
    };
    const auto stop = [](bool isInterleaved, const HttpTestServer::Script& web, const std::string& unanswered)
    {
        SCOPED_TRACE(unanswered);
        Fixture f(isInterleaved ? kInterleaved : "");
        f.device.audio = kPcmu;
        f.device.unanswered = unanswered;
        const test::BlackHole hole; // nobody takes the connection to it
        if (unanswered == "connection")
            f.device.rtspPort = hole.Port();
        HttpTestServer server(web);
        if (web)
            f.driver.device.port = server.Port();
        const auto channel = f.Channel();
        ASSERT_TRUE(channel->Start());
        if (web)
            server.WaitForRequests(1);
        else if (unanswered == "connection")
            EXPECT_TRUE(hole.WaitForConnection());
        else // before a TEARDOWN there is nothing to wait for but the stream
            EXPECT_TRUE(f.device.rtsp.WaitForMethod(unanswered == "TEARDOWN" ? "PLAY" : unanswered));
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_TRUE(channel->Stop());
        EXPECT_LT(std::chrono::steady_clock::now() - begin, test::kStopBound);
        EXPECT_EQ(f.host.WaitForStates("1").back(), '0');
    };
    std::vector<std::jthread> threads;
    for (const HttpTestServer::Script& web : {saysNothing, drips})
        threads.emplace_back(stop, false, web, "CGI");
    for (const char* unanswered : {"connection", "DESCRIBE", "SETUP", "PLAY", "TEARDOWN"})
        for (const bool isInterleaved : {false, true})
            threads.emplace_back(stop, isInterleaved, HttpTestServer::Script(), unanswered);
}

} // namespace
} // namespace korvane
