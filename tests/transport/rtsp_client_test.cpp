#include "transport/rtsp_client.h"

#include <algorithm>
#include <stdexcept>

#include <gtest/gtest.h>

#include "platform/clock.h"
#include "platform/socket.h"
#include "support/fake_driver.h"
#include "support/scripted_rtsp_server.h"
#include "support/table.h"
#include "transport/wire.h"

namespace
{

using namespace korvane;
using test::ScriptedRTSPServer, test::Table;
using Reply = ScriptedRTSPServer::Reply;

/// Hears what the client tells, as words: "sdp", "packet 7", "bye", "ended".
class User : public IRTSPClientUser
{
public:
    bool SdpInfoReceived(const RTSPResponse& response) override
    {
        control = response.description.video.control;
        Note("sdp");
        return accepts;
    }
    void OnRTPPacket(CRTPPacket& packet) override
    {
        heard.Add("packet " + std::to_string(packet.SequenceNumber()));
    }
    void OnRTCPBye() override { heard.Add("bye"); }
    void OnSessionEnded() override { Note("ended"); }

    test::WatchedWords heard;
    bool accepts = true, throws = false;
    std::string control;

private:
    void Note(const std::string& word)
    {
        heard.Add(word);
        if (throws)
            throw std::runtime_error("no");
    }
};

/// A client with short time-outs, and a count of the requests that it makes.
class Client : public CBaseRTSPClient
{
public:
    explicit Client(IDebugMessage* debug) : CBaseRTSPClient(debug) { SetTickInterval(10); }
    ~Client() override { Stop(); }

    std::string BuildRequest(std::string_view method) override
    {
        options_.Change([&](int& count) { count += method == "OPTIONS" ? 1 : 0; });
        return CBaseRTSPClient::BuildRequest(method);
    }
    bool WaitForOptions(int count)
    {
        return options_.WaitFor([&](int made) { return made >= count; });
    }

private:
    test::Watched<int> options_;
};

/// A client and the device that it speaks to.
struct Rig
{
    explicit Rig(ScriptedRTSPServer::Script script = ScriptedRTSPServer::Ordinary,
                 std::uint32_t timeoutMs = 20'000)
        : server(std::move(script))
    {
        params.host = "127.0.0.1";
        params.serverPort = server.Port();
        params.url = "/live.sdp";
        params.userName = "root";
        params.password = "secret";
        params.clientRTPPort = 3556;
        params.clientRTCPPort = 3557;
        params.receiveTimeoutMs = timeoutMs;
    }
    bool Start(std::uint32_t mode = kTransportUDP) { return client.Start(params, &user, mode); }

    ScriptedRTSPServer server;
    test::FakeDriver driver;
    User user;
    RTSPClientParams params;
    Client client{&driver};
};

/// What a well-behaved device does, but for its answer to one method.
ScriptedRTSPServer::Script But(const std::string& at, const Reply& reply)
{
    return [at, reply](const std::string& method, const std::string& request)
    { return method == at ? reply : ScriptedRTSPServer::Ordinary(method, request); };
}

std::string PacketOne()
{
    const test::Bytes bytes = test::Framed(0, test::RTPBytes(1, {'x'}));
    return {bytes.begin(), bytes.end()};
}

TEST(RTSPClient, RunsASessionWithExactTexts)
{
    Rig rig;
    rig.params.require = "com.example";
    rig.params.blocksize = 101;
    ASSERT_TRUE(rig.Start());
    ASSERT_TRUE(rig.server.WaitForMethod("OPTIONS"));
    EXPECT_TRUE(rig.client.GetLastResult());
    EXPECT_EQ("trackID=1", rig.user.control);
    rig.client.Stop();
    EXPECT_EQ("sdp, ended", rig.user.heard.Get());

    const std::string url = "rtsp://127.0.0.1:" + std::to_string(rig.server.Port()) + "/live.sdp";
    const std::string agent = "User-Agent: Korvane\r\n";
    const std::string end = "Require: com.example\r\n\r\n";
    const std::string session = "Session: 4711\r\n";
    const std::vector<std::string> expected = {
        "DESCRIBE " + url + " RTSP/1.0\r\nCSeq: 1\r\n" + agent + "Accept: application/sdp\r\n" + end,
        "SETUP " + url + "/trackID=1 RTSP/1.0\r\nCSeq: 2\r\n" + agent +
            "Transport: RTP/AVP/UDP;unicast;client_port=3556-3557\r\nBlocksize: 101\r\n" + end,
        "PLAY " + url + " RTSP/1.0\r\nCSeq: 3\r\n" + agent + session + "Range: npt=0.000-\r\n" + end,
        "OPTIONS " + url + " RTSP/1.0\r\nCSeq: 4\r\n" + agent + session + end,
        "TEARDOWN " + url + " RTSP/1.0\r\nCSeq: 5\r\n" + agent + session + end,
    };
    EXPECT_EQ(expected, rig.server.Requests());
}

TEST(RTSPClient, LeavesOutWhatASessionDoesNotHave)
{
    Rig rig(But("SETUP", {"RTSP/1.0 200 OK\r\nCSeq: 10\r\n\r\n"})); // counts on from 10, and gives no session
    rig.params.range = "npt=5-";
    rig.params.blocksize = 100;
    ASSERT_TRUE(rig.client.StartMulticast(rig.params, &rig.user));
    ASSERT_TRUE(rig.server.WaitForMethod("PLAY"));
    rig.client.Stop();
    const std::string requests = rig.server.Requests().at(1) + rig.server.Requests().at(2);
    for (const char* part : {"Transport: RTP/AVP/UDP;multicast;client_port=5560-5561\r\n\r\n",
                             "CSeq: 11\r\nUser-Agent: Korvane\r\nRange: npt=5-\r\n\r\n"})
        EXPECT_NE(std::string::npos, requests.find(part)) << requests;
}

TEST(RTSPClient, EndsWhateverTheDeviceAndItsUserDo)
{
    const Reply silent{}, closed{"", true};
    const Reply notFound{"RTSP/1.0 404 Not Found\r\nCSeq: 1\r\n\r\n"};
    const Reply cut{"RTSP/1.0 200 OK\r\nCSe", true};
    const Reply none{"HTTP/1.0\r\n\r\n", true};
    const Reply busy{"RTSP/1.0 503 Service Unavailable\r\n\r\n"};
    const Reply endless{"RTSP/1.0 200 OK\r\nContent-Length: 9\r\n\r\n"};
    const auto ordinary = ScriptedRTSPServer::Ordinary;
    const std::string played = "DESCRIBE SETUP PLAY ";
    enum class Does
    {
        Accepts,
        Refuses,
        Throws,
        Stops, // as soon as the device has the last request but a TEARDOWN
    };
    using enum Does;
    for (const auto& [name, script, does, methods, heard] :
         Table<const char*, ScriptedRTSPServer::Script, Does, std::string, std::string>{
             {"silent on DESCRIBE", But("DESCRIBE", silent), Accepts, "DESCRIBE", "ended"},
             {"hangs up on DESCRIBE", But("DESCRIBE", closed), Accepts, "DESCRIBE", "ended"},
             {"no such stream", But("DESCRIBE", notFound), Accepts, "DESCRIBE", "ended"},
             {"half an answer", But("DESCRIBE", cut), Accepts, "DESCRIBE", "sdp, ended"},
             {"an answer that is none", But("DESCRIBE", none), Accepts, "DESCRIBE", "ended"},
             {"an exception in the user", ordinary, Throws, "DESCRIBE TEARDOWN", "sdp, ended"},
             {"a description that is refused", ordinary, Refuses, "DESCRIBE TEARDOWN", "sdp, ended"},
             {"silent on SETUP", But("SETUP", silent), Accepts, "DESCRIBE SETUP TEARDOWN", "sdp, ended"},
             {"busy on SETUP", But("SETUP", busy), Accepts, "DESCRIBE SETUP TEARDOWN", "sdp, ended"},
             {"hangs up on SETUP", But("SETUP", closed), Accepts, "DESCRIBE SETUP", "sdp, ended"},
             {"a stop in DESCRIBE", But("DESCRIBE", silent), Stops, "DESCRIBE", "ended"},
             {"in a description without end", But("DESCRIBE", endless), Stops, "DESCRIBE", "ended"},
             {"in SETUP", But("SETUP", silent), Stops, "DESCRIBE SETUP TEARDOWN", "sdp, ended"},
             {"in PLAY", But("PLAY", silent), Stops, played + "TEARDOWN", "sdp, ended"},
             {"in OPTIONS", But("OPTIONS", silent), Stops, played + "OPTIONS TEARDOWN", "sdp, ended"},
             {"in a stream", But("PLAY", {PacketOne()}), Stops, played + "TEARDOWN", "sdp, packet 1, ended"},
             {"no answer to TEARDOWN", But("TEARDOWN", silent), Stops, played + "TEARDOWN", "sdp, ended"},
         })
    {
        SCOPED_TRACE(name);
        Rig rig(script, 2000);
        rig.user.accepts = does != Refuses;
        rig.user.throws = does == Throws;
        const bool isStream = heard.find("packet") != std::string::npos;
        if (methods.find("OPTIONS") == std::string::npos)
            rig.client.SetTickInterval(20'000);
        ASSERT_TRUE(rig.Start(isStream ? kTransportInterleaved : kTransportUDP));
        if (does == Stops)
        {
            const std::string before = methods.substr(0, methods.find(" TEARDOWN"));
            ASSERT_TRUE(rig.server.WaitForMethod(before.substr(before.rfind(' ') + 1)));
            ASSERT_TRUE(!isStream || rig.user.heard.WaitForWord("packet"));
        }
        else
        {
            EXPECT_TRUE(rig.user.heard.WaitForWord("ended"));
            EXPECT_EQ(methods, rig.server.Methods());
        }
        rig.client.Stop();
        EXPECT_EQ(methods, rig.server.Methods());
        EXPECT_EQ(heard, rig.user.heard.Get());
        EXPECT_TRUE(does != Stops || rig.driver.Messages().empty()); // the thread ended by itself
    }
}

TEST(RTSPClient, StaysInItsSessionWhenPlayOrOptionsFail)
{
    Rig rig(
        [](const std::string& method, const std::string& request)
        {
            if (method == "PLAY")
                return Reply{"RTSP/1.0 454 Session Not Found\r\n\r\n"};
            if (method == "OPTIONS")
                return Reply{"RTSP/1.0 400 Bad Request\r\nCSeq: 77\r\n\r\n"};
            return ScriptedRTSPServer::Ordinary(method, request);
        });
    platform::ManualClock clock(133'000'000'000'000'000);
    ASSERT_TRUE(rig.Start());
    for (int i = 1; i <= 3; ++i) // the first one at the first tick, then each after half of 30 s
    {
        clock.AdvanceMs(i == 1 ? 0 : 15'001);
        clock.SetUtcTicks(133'000'000'000'000'000 - 36'000'000'000u * static_cast<unsigned>(i)); // set back
        ASSERT_TRUE(rig.client.WaitForOptions(i));
        ASSERT_TRUE(rig.server.WaitForRequests(3 + static_cast<std::size_t>(i)));
    }
    EXPECT_FALSE(rig.client.GetLastResult());
    EXPECT_EQ("sdp", rig.user.heard.Get());
    rig.client.Stop();
    EXPECT_EQ("sdp, ended", rig.user.heard.Get());
    ASSERT_TRUE(rig.Start());
    EXPECT_TRUE(
        rig.client.WaitForOptions(4)); // a new session begins with one, whenever the last one went out
}

TEST(RTSPClient, AnswersEachChallengeOnce)
{
    const std::string digest = "WWW-Authenticate: Digest realm=\"Cam 1\", nonce=\"8b84a3b7\"\r\n";
    const std::string basic = "WWW-Authenticate: Basic realm=\"Cam 1\"\r\n";
    const std::string basicAnswer = "CSeq: 2\r\nAuthorization: Basic cm9vdDpzZWNyZXQ=";
    const std::string digestAnswer = "CSeq: 2\r\nAuthorization: Digest username=\"root\", realm=\"Cam 1\", ";
    // Refused are requests with that method, and all without the header; the answer stands in the second
    // request, and the methods are those up to where the session ends or plays.
    for (const auto& [name, challenge, refused, answer, methods] :
         Table<const char*, std::string, const char*, std::string, std::string>{
             {"Digest", digest, "", digestAnswer, "DESCRIBE DESCRIBE SETUP PLAY"},
             {"Basic", basic, "", basicAnswer, "DESCRIBE DESCRIBE SETUP PLAY"},
             {"Basic and Digest", basic + digest, "", digestAnswer, "DESCRIBE DESCRIBE SETUP PLAY"},
             {"Digest and Basic", digest + basic, "", basicAnswer, "DESCRIBE DESCRIBE SETUP PLAY"},
             {"credentials that are never right", digest, "DESCRIBE", digestAnswer, "DESCRIBE DESCRIBE"},
             {"a new nonce for SETUP", digest, "SETUP", digestAnswer, "DESCRIBE DESCRIBE SETUP TEARDOWN"},
             {"a scheme that is not known", "WWW-Authenticate: Negotiate abc\r\n", "DESCRIBE", "",
              "DESCRIBE"},
         })
    {
        SCOPED_TRACE(name);
        Rig rig(
            [&challenge, &refused](const std::string& method, const std::string& request)
            {
                if (method != refused && request.find("Authorization: ") != std::string::npos)
                    return ScriptedRTSPServer::Ordinary(method, request);
                return Reply{ScriptedRTSPServer::Response(request, challenge, "", "401 Unauthorized")};
            });
        rig.client.SetTickInterval(20'000); // no OPTIONS in between
        ASSERT_TRUE(rig.Start());
        EXPECT_TRUE(methods.ends_with("PLAY") ? rig.server.WaitForMethod("PLAY")
                                              : rig.user.heard.WaitForWord("ended"));
        EXPECT_EQ(methods, rig.server.Methods());
        const std::vector<std::string> requests = rig.server.Requests();
        EXPECT_NE(std::string::npos, requests.at(answer.empty() ? 0 : 1).find(answer)) << requests.back();
    }
}

TEST(RTSPClient, ReadsResponsesHoweverTheyCome)
{
    const std::string base = "Content-Base: rtsp://127.0.0.1/base/\r\n";
    const std::string body = ScriptedRTSPServer::kDescription;
    const std::string setup = "SETUP rtsp://127.0.0.1/base/trackID=1 RTSP/1.0\r\n";
    // No length tells of `more`; `setup` is how its request begins.
    for (const auto& [name, headers, text, more, pieceBytes, begin] :
         Table<const char*, std::string, std::string, std::string, std::size_t, std::string>{
             {"byte by byte", base, body, "", 1, setup},
             {"a body of many reads", base, body + std::string(3000, '\n'), "", 700, setup},
             {"a body shorter than announced", base + "Content-Length: 4000\r\n", "", body, 0, setup},
             {"headers of more than 512 bytes", "X: " + std::string(512, 'x') + "\r\n" + base, body, "", 0,
              "SETUP rtsp://127.0.0.1:"}, // without the base and the description that stand behind them
         })
    {
        SCOPED_TRACE(name);
        const Reply described{ScriptedRTSPServer::Response("CSeq: 1\r\n", headers, text) + more, false,
                              pieceBytes};
        Rig rig(
            [&described](const std::string& method, const std::string&) {
                return method == "DESCRIBE" ? described : Reply{"", true};
            },
            2000);
        ASSERT_TRUE(rig.Start());
        EXPECT_TRUE(rig.user.heard.WaitForWord("ended"));
        ASSERT_EQ("DESCRIBE SETUP", rig.server.Methods());
        EXPECT_TRUE(rig.server.Requests()[1].starts_with(begin)) << rig.server.Requests()[1];
    }
}

TEST(RTSPClient, LivesOnWithoutItsInterleavedConnection)
{
    Rig rig(But("PLAY", {PacketOne(), true}));
    platform::ManualClock clock(133'000'000'000'000'000);
    ASSERT_TRUE(rig.Start(kTransportInterleaved));
    ASSERT_TRUE(rig.client.WaitForOptions(1));
    clock.AdvanceMs(15'001);
    ASSERT_TRUE(rig.client.WaitForOptions(2));
    EXPECT_FALSE(rig.client.GetLastResult());
    EXPECT_EQ("sdp, packet 1", rig.user.heard.Get());
    rig.client.Stop();
    EXPECT_EQ("sdp, packet 1, ended", rig.user.heard.Get());
}

TEST(RTSPClient, StopsThoughAnAnswerComesByteByByte)
{
    Rig rig([](const std::string&, const std::string&)
            { return Reply{"RTSP/1.0 200 OK\r\nContent-Length: 200000\r\n\r\n"}; },
            300);
    ASSERT_TRUE(rig.Start());
    ASSERT_TRUE(rig.server.WaitForMethod("DESCRIBE"));
    std::atomic<bool> ends{false};
    std::thread dripping(
        [&]
        {
            CEvent pause(false);
            while (!ends && !pause.Wait(20))
                rig.server.Send("x");
        });
    rig.client.Stop();
    ends = true;
    dripping.join();
    EXPECT_TRUE(rig.user.heard.Get().ends_with("ended"));
    EXPECT_TRUE(rig.driver.Messages().empty());
}

TEST(RTSPClient, FailsToStartWithoutACallToItsUser)
{
    platform::Socket unheard; // bound, but nobody listens
    ASSERT_TRUE(unheard.OpenStream() && unheard.Bind(0));
    Rig rig;
    const RTSPClientParams good = rig.params;
    rig.params.serverPort = unheard.LocalPort();
    EXPECT_FALSE(rig.Start());
    rig.params = good;
    rig.params.host = "";
    EXPECT_FALSE(rig.Start());
    EXPECT_EQ("", rig.user.heard.Get());

    rig.params = good;
    ASSERT_TRUE(rig.Start()); // and starts when all is well again
    ASSERT_TRUE(rig.server.WaitForMethod("PLAY"));
    rig.client.Stop();
    EXPECT_EQ("sdp, ended", rig.user.heard.Get());
    ASSERT_TRUE(rig.Start()); // a new session counts from 1
    ASSERT_TRUE(rig.user.heard.WaitForWord("sdp, ended, sdp"));
    rig.client.Stop();
    const std::vector<std::string> requests = rig.server.Requests();
    EXPECT_TRUE(requests.back().starts_with("TEARDOWN"));
    EXPECT_EQ(2, std::ranges::count_if(requests, [](const std::string& request)
                                       { return request.find("CSeq: 1\r\n") != std::string::npos; }));
}

} // namespace
