#include "audio/audio_capture_channel.h"

#include "audio/ip_audio_capture.h"
#include "platform/socket.h"
#include "support/fake_driver.h"
#include "support/http_test_server.h"
#include "support/multicast_network.h"
#include "support/scripted_rtsp_server.h"
#include "support/settings_folder.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace korvane
{
namespace
{

using test::Bytes;
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
        std::unique_lock guard(mutex_);
        changed_.wait_for(guard, test::kPatience, [&] { return states_.starts_with(states); });
        return states_;
    }
    std::vector<test::FrameRecord> WaitForFrames(std::size_t count)
    {
        std::unique_lock guard(mutex_);
        EXPECT_TRUE(changed_.wait_for(guard, test::kPatience, [&] { return frames_.size() >= count; }));
        frames_.resize(std::max(frames_.size(), count));
        return frames_;
    }

    bool AudioFrame(ipcapture::IHostFrame* frame) override
    {
        Called();
        const std::lock_guard guard(mutex_);
        frames_.push_back(static_cast<test::FakeFrame*>(frame)->Record());
        changed_.notify_all();
        return true;
    }
    void StateChanged(std::uint32_t audioChannel, std::uint32_t state) override
    {
        EXPECT_EQ(Answer(audioChannel), 7u);
        {
            const std::lock_guard guard(mutex_);
            states_ += std::to_string(state);
            changed_.notify_all();
        }
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
    std::mutex mutex_;
    std::condition_variable changed_;
    std::string states_;
    std::vector<test::FrameRecord> frames_;
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
                reply.bytes += Interleaved();
            return reply;
        }};

    std::string Interleaved() const
    {
        const std::size_t size = payload.size() + 12;
        std::string bytes = {
            '$', 0, static_cast<char>(size >> 8), static_cast<char>(size), '\x80', 97, 0, 1, 0, 0, 0, 0, 0, 0,
            0,   1};
        return bytes.append(payload.begin(), payload.end());
    }
};

struct Fixture
{
    explicit Fixture(const std::string& settings = "")
    {
        folder.Write("<Configuration><Default><RTPMode>RTPOVERRTSP</RTPMode>" + settings +
                     "</Default></Configuration>");
        driver.hostDirectory = folder.Path();
        driver.allocator = &allocator;
        driver.device.port = device.http.Port();
        driver.properties[14] = "1;video;live.sdp";
    }
    std::unique_ptr<HostedChannel> Channel() { return std::make_unique<HostedChannel>(&driver, &host); }
    std::string Requests() const ///< the targets, without what all have in front
    {
        std::string text;
        for (const auto& request : device.http.Requests())
            text += (text.empty() ? "" : " ") + request.target.substr(std::string("/cgi-bin/admin/").size());
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
const std::string kAac = "a=rtpmap:97 mpeg4-generic/44100/2\r\n"
                         "a=fmtp:97 streamtype=5;profile-level-id=15;mode=AAC-hbr;config=1210;"
                         "sizelength=13;indexlength=3;indexdeltalength=3\r\n";

/// What is known of the codec, and what comes of it.
struct CodecChoice
{
    const char* name;
    const char* selected = "g711";       ///< by the device, as the host tells it
    Texts formats = {"711M"};            ///< of the host
    const char* wanted = "";             ///< by the settings file
    const char* parameters = "";         ///< of the device
    std::string audio = kPcmu;           ///< in the description
    std::string request = kSet + "g711"; ///< behind the first one; "" none
    const char* format = "711M";
    std::uint32_t sampleRate = 8000;
    std::uint32_t bitRate = 64000;
};

TEST(AudioCaptureChannel, AgreesOnACodecWithHostFileAndDevice)
{
    const CodecChoice cases[] = {
        {.name = "the first of two",
         .selected = "g711,g726",
         .formats = {"711M", "7261"},
         .parameters = "audioin_c0_s0_codectype='aac4'"},
        {.name = "as the device has it", .parameters = "audioin_c0_s0_codectype='g711'", .request = ""},
        {.name = "what the host can't play is none",
         .selected = "aac4,g726",
         .formats = {"-AAC1", "7261"},
         .parameters = "audioin_c0_s0_g726_bitrate='40000'",
         .audio = kG726,
         .request = kSet + "g726",
         .format = "7261",
         .bitRate = 40000},
        {.name = "the description's rate without the device's",
         .selected = "g726",
         .formats = {"7261"},
         .audio = kG726,
         .request = kSet + "g726",
         .format = "7261",
         .bitRate = 24000},
        {.name = "by the file",
         .selected = "aac4,g711,g726",
         .formats = {"AAC1", "711M", "7261"},
         .wanted = "G726",
         .audio = kG726,
         .request = kSet + "g726",
         .format = "7261",
         .bitRate = 24000},
        {.name = "by the file, in other words",
         .selected = "g711,aac4",
         .formats = {"AAC1", "711M"},
         .wanted = "AAC",
         .parameters = "audioin_c0_s0_aac4_bitrate='96000'",
         .audio = kAac,
         .request = kSet + "aac4",
         .format = "AAC1",
         .sampleRate = 44100,
         .bitRate = 96000},
        {.name = "a wish that nobody has", .wanted = "aac4"},
        {.name = "nothing in common", .selected = "aac4", .formats = {"7261"}},
        {.name = "nothing told", .selected = "", .formats = {"AAC1"}},
        {.name = "muted", .parameters = "audioin_c0_mute='1'", .request = kSet + "g711&audioin_c0_mute=0"},
        {.name = "muted, and nothing else",
         .parameters = "audioin_c0_s0_codectype='g711'\r\naudioin_c0_mute='1'",
         .request = "setparam.cgi?audioin_c0_mute=0"},
        {.name = "A-law of the device's choice",
         .parameters = "audioin_c0_s0_g711_mode='pcma'",
         .audio = kPcma,
         .format = "711A",
         .sampleRate = 16000},
        {.name = "another law than was told",
         .parameters = "audioin_c0_s0_g711_mode='pcmu'",
         .audio = kPcma,
         .format = "711A",
         .sampleRate = 16000},
        {.name = "another codec than was asked for",
         .selected = "aac4",
         .formats = {"AAC1"},
         .audio = kG726,
         .request = kSet + "aac4",
         .format = "7261",
         .bitRate = 24000},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        const std::string wanted = c.wanted;
        Fixture f(wanted.empty() ? ""
                                 : "<AudioInputChannel><Codec>" + wanted + "</Codec></AudioInputChannel>");
        f.driver.properties[17] = c.selected;
        f.host.formats = c.formats;
        f.device.parameters = c.parameters;
        f.device.audio = c.audio;
        f.device.payload = c.audio == kAac ? Bytes{0, 16, 0, 16, 1, 2} : Bytes(c.sampleRate, 1);
        const auto channel = f.Channel();
        ASSERT_TRUE(channel->Start());
        const test::FrameRecord frame = f.host.WaitForFrames(1).front();
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(&frame.format), 4), c.format);
        EXPECT_EQ(frame.sampleRate, c.sampleRate);
        EXPECT_EQ(frame.audioBitRate, c.bitRate);
        EXPECT_EQ(frame.stereo, c.audio == kAac);
        EXPECT_EQ(frame.audioInput, 7);
        EXPECT_EQ(f.Requests(), "getparam.cgi?audioin&network" + (c.request.empty() ? "" : " " + c.request));
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
    const std::string device = "127.0.0.1:";
    const std::string sdp = "korvane::CBaseAudioRTSPChannel::SdpInfoReceived: ";
    const std::string odd = "a=fmtp:97 mode=AAC-hbr;sizelength=12;indexlength=3;indexdeltalength=3";
    const struct
    {
        const char* name;
        int setStatus;
        std::string audio;
        const char* states;
        std::string message;
    } cases[] = {
        {"setparam refused", 500, "", "15",
         " device returns status code 500 for \"/cgi-bin/admin/setparam.cgi?audioin_c0_s0_codectype=g711\" "
         "URI"},
        {"unknown encoding", 200, "a=rtpmap:97 L16/8000\r\n", "12",
         sdp + "Audio encoding for device " + device},
        {"no encoding", 200, "", "12", " doesn't recognized: "},
        {"odd lengths", 200, "a=rtpmap:97 mpeg4-generic/8000/3\r\n" + odd + "\r\n", "12",
         " doesn't compatible with parser: " + odd},
        {"many channels", 200, "a=rtpmap:97 mpeg4-generic/8000/3\r\n" + odd + "\r\n", "12",
         sdp + "AAC Audio with 3 channels doesn't supported by system for device " + device},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        Fixture f;
        f.device.setStatus = c.setStatus;
        f.device.audio = c.audio;
        const auto channel = f.Channel();
        ASSERT_TRUE(channel->Start());
        EXPECT_TRUE(f.driver.WaitForMessage(c.message));
        EXPECT_EQ(f.host.WaitForStates(c.states), c.states);
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

TEST(AudioCaptureChannel, TakesTheGroupThatTheDescriptionNames)
{
    const bool ran = test::RunInMulticastNetwork(
        []
        {
            Fixture f;
            f.folder.Write("<Configuration><StreamingMode>multicast</StreamingMode></Configuration>");
            f.driver.device.networkTimeoutMs = 300;
            f.device.audio = kPcmu + "c=IN IP4 239.1.2.5/1\r\n";
            f.device.groupPort = 5552;
            const auto channel = f.Channel();
            ASSERT_TRUE(channel->Start());
            platform::Socket sender;
            ASSERT_TRUE(sender.OpenDatagram());
            Bytes packet = {0x80, 97, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
            packet.resize(packet.size() + 1000, 1);
            const auto group = platform::MakeSocketAddress(*platform::ParseIPv4("239.1.2.5"), 5552);
            // Each PLAY brings a second of sound, behind which the device is silent and the session renewed.
            for (std::size_t session = 1; session <= 2; ++session)
            {
                while (f.device.plays < session)
                    ASSERT_TRUE(f.device.rtsp.WaitForRequests(f.device.rtsp.Requests().size() + 1));
                for (packet[3] = 0; packet[3] < 8; ++packet[3])
                    sender.SendTo(group, packet);
                EXPECT_EQ(f.host.WaitForFrames(session).back().data.size(), 8000u);
            }
            EXPECT_TRUE(channel->Stop());
            EXPECT_TRUE(f.host.WaitForStates("12").ends_with("30"));
            EXPECT_EQ(f.driver.Texts(1).front(), kLost + "camera 127.0.0.1");
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
        for (bool open = peer.Send("HTTP/1.1 200 OK\r\nContent-Length: 1000000\r\n\r\n"); open;)
            open = peer.Send("y") && peer.Pause(50);
        return false;
    };
    const struct
    {
        const char* name;
        const char* transport;
        HttpTestServer::Script web; ///< in place of the device's web server
        const char* unanswered;     ///< by its RTSP server
        bool isBlackHole;           ///< nobody takes the connection to that
    } cases[] = {
        {"no answer to CGI", "UDP", saysNothing, "", false},
        {"CGI drips", "UDP", drips, "", false},
        {"connecting", "UDP", {}, "", true},
        {"connecting, interleaved", "RTPOVERRTSP", {}, "", true},
        {"DESCRIBE", "UDP", {}, "DESCRIBE", false},
        {"SETUP, interleaved", "RTPOVERRTSP", {}, "SETUP", false},
        {"PLAY", "UDP", {}, "PLAY", false},
        {"PLAY, interleaved", "RTPOVERRTSP", {}, "PLAY", false},
        {"TEARDOWN", "UDP", {}, "TEARDOWN", false},
        {"TEARDOWN, interleaved", "RTPOVERRTSP", {}, "TEARDOWN", false},
    };
    std::vector<std::thread> threads;
    for (const auto& c : cases)
    {
        threads.emplace_back(
            [&c]
            {
                SCOPED_TRACE(c.name);
                Fixture f;
                f.folder.Write(std::string("<Configuration><Default><RTPMode>") + c.transport +
                               "</RTPMode></Default></Configuration>");
                f.device.audio = kPcmu;
                f.device.unanswered = c.unanswered;
                test::BlackHole hole;
                if (c.isBlackHole)
                    f.device.rtspPort = hole.Port();
                std::unique_ptr<HttpTestServer> web;
                if (c.web)
                {
                    web = std::make_unique<HttpTestServer>(c.web);
                    f.driver.device.port = web->Port();
                }
                const auto channel = f.Channel();
                ASSERT_TRUE(channel->Start());
                if (c.web)
                    web->WaitForRequests(1);
                else if (c.isBlackHole)
                    EXPECT_TRUE(hole.WaitForConnection());
                else // before a TEARDOWN there is nothing to wait for but the stream
                    EXPECT_TRUE(f.device.rtsp.WaitForMethod(
                        std::string_view(c.unanswered) == "TEARDOWN" ? "PLAY" : c.unanswered));
                const auto begin = std::chrono::steady_clock::now();
                EXPECT_TRUE(channel->Stop());
                EXPECT_LT(std::chrono::steady_clock::now() - begin, test::kStopBound);
                EXPECT_EQ(f.host.WaitForStates("1").back(), '0');
            });
    }
    for (std::thread& thread : threads)
        thread.join();
}

class Creator final : public IAudioChannelCreator
{
public:
    struct Channel final : IAudioInputChannel
    {
        void RequestStop() override {}
        explicit Channel(Creator& creator) : owner(creator) {}
        ~Channel() override { owner.calls += " deleted"; }
        bool Start() override
        {
            owner.calls += " start";
            return owner.starts;
        }
        bool Stop() override
        {
            owner.calls += " stop";
            return true;
        }
        std::uint32_t GetState() const override { return 5; }
        Creator& owner;
    };
    IAudioInputChannel* CreateAudioInputChannel(std::uint32_t, std::uint32_t, ipcapture::IHostAudioClient*,
                                                ipcapture::IHostCodecList*) override
    {
        return makes ? new Channel(*this) : nullptr;
    }
    IAudioOutputChannel* CreateAudioOutputChannel(std::uint32_t, std::uint32_t, std::uint32_t,
                                                  std::uint32_t) override
    {
        return nullptr;
    }
    std::string calls;
    bool starts = true;
    bool makes = true;
};

TEST(AudioObjects, KeepAsManyChannelsAsTheDeviceHas)
{
    Creator creator;
    {
        CIPAudioCapture capture(&creator, 1);
        EXPECT_EQ(capture.GetChannelState(0), 0u);
        EXPECT_FALSE(capture.StopChannel(0));
        creator.makes = false;
        EXPECT_FALSE(capture.StartChannel(0, 0, nullptr, nullptr));
        creator.makes = true;
        creator.starts = false;
        EXPECT_FALSE(capture.StartChannel(0, 0, nullptr, nullptr));
        EXPECT_EQ(std::exchange(creator.calls, ""), " start stop deleted");
        creator.starts = true;
        EXPECT_TRUE(capture.StartChannel(4, 0, nullptr, nullptr));
        EXPECT_TRUE(capture.StartChannel(4, 0, nullptr, nullptr)) << "runs already";
        EXPECT_FALSE(capture.StartChannel(5, 0, nullptr, nullptr)) << "more than the device has";
        EXPECT_EQ(capture.GetChannelCount(), 1u);
        EXPECT_EQ(capture.GetChannelState(4), 5u);
        EXPECT_TRUE(capture.StopChannel(4));
        EXPECT_EQ(std::exchange(creator.calls, ""), " start stop deleted");
        EXPECT_TRUE(capture.StartChannel(5, 0, nullptr, nullptr));
    }
    EXPECT_EQ(creator.calls, " start stop deleted");

    struct : ipcapture::IHostOutgoingAudio
    {
        std::uint32_t GetChannel() override { return 0x100; }
    } frame;
    CIPAudioSender sender(&creator, 1);
    EXPECT_FALSE(sender.StartChannel(0, 0, 0, 0));
    EXPECT_EQ(sender.GetChannelCount(), 0u);
    EXPECT_FALSE(sender.SendFrame(&frame) || sender.SendFrame(nullptr) || sender.SetChannelValue(0, 1) ||
                 sender.StopChannel(0) || sender.ReservedCall1(0, 0, 0));
    EXPECT_EQ(sender.GetChannelValue(0), 0u);
}

} // namespace
} // namespace korvane
