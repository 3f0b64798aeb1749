#include "transport/rtsp_client.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/clock.h"
#include "platform/socket.h"
#include "support/fake_driver.h"
#include "support/scripted_rtsp_server.h"

namespace
{

using namespace korvane;
using test::ScriptedRTSPServer;
using Reply = ScriptedRTSPServer::Reply;

/// Hears what the client tells, as words: "sdp", "packet 7", "bye", "ended".
class User : public IRTSPClientUser
{
public:
    bool SdpInfoReceived(const RTSPResponse& response) override
    {
        control = response.description.video.control;
        Note("sdp");
        if (throws)
            throw std::runtime_error("no");
        return accepts;
    }
    void OnRTPPacket(CRTPPacket& packet) override
    {
        Note("packet " + std::to_string(packet.SequenceNumber()));
    }
    void OnRTCPBye() override { Note("bye"); }
    void OnSessionEnded() override
    {
        Note("ended");
        if (throws)
            throw std::runtime_error("no");
    }

    std::string Heard() const
    {
        const std::lock_guard guard(mutex_);
        return heard_;
    }
    bool WaitFor(const std::string& word)
    {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, test::kPatience,
                                 [&] { return heard_.find(word) != std::string::npos; });
    }

    bool accepts = true;
    bool throws = false;
    std::string control;

private:
    void Note(const std::string& word)
    {
        const std::lock_guard guard(mutex_);
        heard_ += (heard_.empty() ? "" : ", ") + word;
        changed_.notify_all();
    }

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::string heard_;
};

/// A client with short time-outs, and a count of the requests that it makes.
class Client : public CBaseRTSPClient
{
public:
    explicit Client(IDebugMessage* debug = nullptr) : CBaseRTSPClient(debug) { SetTickInterval(10); }
    ~Client() override { Stop(); }

    std::string BuildRequest(std::string_view method) override
    {
        {
            const std::lock_guard guard(mutex_);
            options_ += method == "OPTIONS" ? 1 : 0;
            changed_.notify_all();
        }
        return CBaseRTSPClient::BuildRequest(method);
    }
    bool WaitForOptions(int count)
    {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, test::kPatience, [&] { return options_ >= count; });
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    int options_ = 0;
};

RTSPClientParams Params(const ScriptedRTSPServer& server, std::uint32_t timeoutMs = 20'000)
{
    RTSPClientParams params;
    params.host = "127.0.0.1";
    params.serverPort = server.Port();
    params.url = "/live.sdp";
    params.userName = "root";
    params.password = "secret";
    params.clientRTPPort = 3556;
    params.clientRTCPPort = 3557;
    params.receiveTimeoutMs = timeoutMs;
    return params;
}

std::string Frame(std::uint8_t channel, const std::string& content)
{
    return std::string{'$', static_cast<char>(channel), '\0', static_cast<char>(content.size())} + content;
}

std::string Packet(char sequence)
{
    return std::string("\x80\x60\0", 3) + sequence + std::string(8, '\0') + "x";
}

TEST(RTSPClient, RunsASessionWithExactTexts)
{
    ScriptedRTSPServer server;
    User user;
    Client client;
    RTSPClientParams params = Params(server);
    params.require = "com.example";
    params.blocksize = 101;
    ASSERT_TRUE(client.Start(params, &user, kTransportUDP));
    ASSERT_TRUE(server.WaitForMethod("OPTIONS"));
    EXPECT_TRUE(client.GetLastResult());
    EXPECT_EQ("trackID=1", user.control);
    client.Stop();
    EXPECT_EQ("sdp, ended", user.Heard());

    const std::string url = "rtsp://127.0.0.1:" + std::to_string(server.Port()) + "/live.sdp";
    const std::string agent = "User-Agent: Korvane\r\n";
    const std::string end = "Require: com.example\r\n\r\n";
    const std::string session = "Session: 4711\r\n";
    const std::string expected[] = {
        "DESCRIBE " + url + " RTSP/1.0\r\nCSeq: 1\r\n" + agent + "Accept: application/sdp\r\n" + end,
        "SETUP " + url + "/trackID=1 RTSP/1.0\r\nCSeq: 2\r\n" + agent +
            "Transport: RTP/AVP/UDP;unicast;client_port=3556-3557\r\nBlocksize: 101\r\n" + end,
        "PLAY " + url + " RTSP/1.0\r\nCSeq: 3\r\n" + agent + session + "Range: npt=0.000-\r\n" + end,
        "OPTIONS " + url + " RTSP/1.0\r\nCSeq: 4\r\n" + agent + session + end,
        "TEARDOWN " + url + " RTSP/1.0\r\nCSeq: 5\r\n" + agent + session + end,
    };
    const std::vector<std::string> requests = server.Requests();
    ASSERT_EQ(std::size(expected), requests.size());
    for (std::size_t i = 0; i < requests.size(); ++i)
        EXPECT_EQ(expected[i], requests[i]);
}

TEST(RTSPClient, LeavesOutWhatASessionDoesNotHave)
{
    ScriptedRTSPServer server(
        [](const std::string& method, const std::string& request)
        {
            if (method == "SETUP") // counts on from 10, and gives no session
                return Reply{"RTSP/1.0 200 OK\r\nCSeq: 10\r\n\r\n"};
            return ScriptedRTSPServer::Ordinary(method, request);
        });
    User user;
    Client client;
    RTSPClientParams params = Params(server);
    params.range = "npt=5-";
    params.blocksize = 100;
    ASSERT_TRUE(client.StartMulticast(params, &user));
    ASSERT_TRUE(server.WaitForMethod("PLAY"));
    client.Stop();
    const std::string requests = server.Requests().at(1) + server.Requests().at(2);
    EXPECT_NE(std::string::npos,
              requests.find("Transport: RTP/AVP/UDP;multicast;client_port=5560-5561\r\n\r\n"));
    EXPECT_NE(std::string::npos, requests.find("CSeq: 11\r\nUser-Agent: Korvane\r\nRange: npt=5-\r\n\r\n"));
}

TEST(RTSPClient, ComesThroughEachFailure)
{
    const auto failing = [](const std::string& at, const Reply& reply)
    {
        return [at, reply](const std::string& method, const std::string& request)
        { return method == at ? reply : ScriptedRTSPServer::Ordinary(method, request); };
    };
    const Reply silent{};
    const Reply closed{"", true};
    const Reply notFound{"RTSP/1.0 404 Not Found\r\nCSeq: 1\r\n\r\n"};
    const Reply cut{"RTSP/1.0 200 OK\r\nCSe", true};
    const struct
    {
        const char* name;
        ScriptedRTSPServer::Script script;
        bool accepts;
        bool throws;
        std::string methods;
        std::string heard;
    } cases[] = {
        {"silent on DESCRIBE", failing("DESCRIBE", silent), true, false, "DESCRIBE", "ended"},
        {"hangs up on DESCRIBE", failing("DESCRIBE", closed), true, false, "DESCRIBE", "ended"},
        {"no such stream", failing("DESCRIBE", notFound), true, false, "DESCRIBE", "ended"},
        {"half an answer", failing("DESCRIBE", cut), true, false, "DESCRIBE", "sdp, ended"},
        {"an answer that is none", failing("DESCRIBE", {"HTTP/1.0\r\n\r\n", true}), true, false, "DESCRIBE",
         "ended"},
        {"an exception in the user", ScriptedRTSPServer::Ordinary, true, true, "DESCRIBE TEARDOWN",
         "sdp, ended"},
        {"a description that is refused", ScriptedRTSPServer::Ordinary, false, false, "DESCRIBE TEARDOWN",
         "sdp, ended"},
        {"silent on SETUP", failing("SETUP", silent), true, false, "DESCRIBE SETUP TEARDOWN", "sdp, ended"},
        {"busy on SETUP", failing("SETUP", {"RTSP/1.0 503 Service Unavailable\r\n\r\n"}), true, false,
         "DESCRIBE SETUP TEARDOWN", "sdp, ended"},
        {"hangs up on SETUP", failing("SETUP", closed), true, false, "DESCRIBE SETUP", "sdp, ended"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        ScriptedRTSPServer server(c.script);
        User user;
        user.accepts = c.accepts;
        user.throws = c.throws;
        Client client;
        ASSERT_TRUE(client.Start(Params(server, 2000), &user, kTransportUDP));
        EXPECT_TRUE(user.WaitFor("ended"));
        EXPECT_EQ(c.methods, server.Methods());
        EXPECT_EQ(c.heard, user.Heard());
        client.Stop();
        EXPECT_EQ(c.heard, user.Heard());
    }
}

TEST(RTSPClient, StaysInItsSessionWhenPlayOrOptionsFail)
{
    ScriptedRTSPServer server(
        [](const std::string& method, const std::string& request)
        {
            if (method == "PLAY")
                return Reply{"RTSP/1.0 454 Session Not Found\r\n\r\n"};
            if (method == "OPTIONS")
                return Reply{"RTSP/1.0 400 Bad Request\r\nCSeq: 77\r\n\r\n"};
            return ScriptedRTSPServer::Ordinary(method, request);
        });
    platform::ManualClock clock(133'000'000'000'000'000);
    User user;
    Client client;
    ASSERT_TRUE(client.Start(Params(server), &user, kTransportUDP));
    for (int i = 1; i <= 3; ++i) // the first one at the first tick, then each after half of 30 s
    {
        clock.AdvanceMs(i == 1 ? 0 : 15'001);
        ASSERT_TRUE(client.WaitForOptions(i));
        ASSERT_TRUE(server.WaitForRequests(3 + static_cast<std::size_t>(i)));
    }
    EXPECT_FALSE(client.GetLastResult());
    EXPECT_EQ("sdp", user.Heard());
    client.Stop();
    EXPECT_EQ("sdp, ended", user.Heard());
    ASSERT_TRUE(client.Start(Params(server), &user, kTransportUDP));
    EXPECT_TRUE(client.WaitForOptions(4)); // a new session begins with one, whenever the last one went out
}

TEST(RTSPClient, AnswersEachChallengeOnce)
{
    const std::string digest = "WWW-Authenticate: Digest realm=\"Cam 1\", nonce=\"8b84a3b7\"\r\n";
    const std::string basic = "WWW-Authenticate: Basic realm=\"Cam 1\"\r\n";
    const std::string basicAnswer = "CSeq: 2\r\nAuthorization: Basic cm9vdDpzZWNyZXQ=";
    const std::string digestAnswer = "CSeq: 2\r\nAuthorization: Digest username=\"root\", realm=\"Cam 1\", ";
    const struct
    {
        const char* name;
        std::string challenge;
        const char* refused; // requests with this method, or all of them without the header
        std::string answer;  // in the second request
        std::string methods; // up to where the session ends or plays
    } cases[] = {
        {"Digest", digest, "", digestAnswer, "DESCRIBE DESCRIBE SETUP PLAY"},
        {"Basic", basic, "", basicAnswer, "DESCRIBE DESCRIBE SETUP PLAY"},
        {"Basic and Digest", basic + digest, "", digestAnswer, "DESCRIBE DESCRIBE SETUP PLAY"},
        {"Digest and Basic", digest + basic, "", basicAnswer, "DESCRIBE DESCRIBE SETUP PLAY"},
        {"credentials that are never right", digest, "DESCRIBE", digestAnswer, "DESCRIBE DESCRIBE"},
        {"a new nonce for SETUP", digest, "SETUP", digestAnswer, "DESCRIBE DESCRIBE SETUP TEARDOWN"},
        {"a scheme that is not known", "WWW-Authenticate: Negotiate abc\r\n", "DESCRIBE", "", "DESCRIBE"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        ScriptedRTSPServer server(
            [&c](const std::string& method, const std::string& request)
            {
                if (method != c.refused && request.find("Authorization: ") != std::string::npos)
                    return ScriptedRTSPServer::Ordinary(method, request);
                return Reply{ScriptedRTSPServer::Response(request, c.challenge, "", "401 Unauthorized")};
            });
        User user;
        Client client;
        client.SetTickInterval(20'000); // no OPTIONS in between
        ASSERT_TRUE(client.Start(Params(server), &user, kTransportUDP));
        EXPECT_TRUE(c.methods.ends_with("PLAY") ? server.WaitForMethod("PLAY") : user.WaitFor("ended"));
        EXPECT_EQ(c.methods, server.Methods());
        if (!c.answer.empty())
        {
            EXPECT_NE(std::string::npos, server.Requests().at(1).find(c.answer)) << server.Requests()[1];
        }
    }
}

TEST(RTSPClient, ReadsResponsesHoweverTheyCome)
{
    const std::string base = "Content-Base: rtsp://127.0.0.1/base/\r\n";
    const std::string longDescription = ScriptedRTSPServer::kDescription + std::string(3000, '\n');
    const struct
    {
        const char* name;
        std::function<Reply(const std::string& request)> describe;
        std::string setup; // how its request begins, or empty for none
    } cases[] = {
        {"byte by byte",
         [&](const std::string& request) {
             return Reply{ScriptedRTSPServer::Response(request, base, ScriptedRTSPServer::kDescription),
                          false, 1};
         },
         "SETUP rtsp://127.0.0.1/base/trackID=1 RTSP/1.0\r\n"},
        {"a body of many reads",
         [&](const std::string& request) {
             return Reply{ScriptedRTSPServer::Response(request, base, longDescription), false, 700};
         },
         "SETUP rtsp://127.0.0.1/base/trackID=1 RTSP/1.0\r\n"},
        {"a body shorter than announced",
         [&](const std::string& request)
         {
             return Reply{ScriptedRTSPServer::Response(request, base + "Content-Length: 4000\r\n") +
                          ScriptedRTSPServer::kDescription};
         },
         "SETUP rtsp://127.0.0.1/base/trackID=1 RTSP/1.0\r\n"},
        {"headers of more than 512 bytes",
         [&](const std::string& request)
         {
             return Reply{ScriptedRTSPServer::Response(request, "X: " + std::string(512, 'x') + "\r\n" + base,
                                                       ScriptedRTSPServer::kDescription)};
         },
         "SETUP rtsp://127.0.0.1:"}, // without the base and the description that stand behind them
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        ScriptedRTSPServer server(
            [&c](const std::string& method, const std::string& request) {
                return method == "DESCRIBE" ? c.describe(request) : Reply{"", true};
            });
        User user;
        Client client;
        ASSERT_TRUE(client.Start(Params(server, 2000), &user, kTransportUDP));
        EXPECT_TRUE(user.WaitFor("ended"));
        ASSERT_EQ("DESCRIBE SETUP", server.Methods());
        EXPECT_EQ(0u, server.Requests()[1].find(c.setup)) << server.Requests()[1];
    }
}

TEST(RTSPClient, LivesOnWithoutItsInterleavedConnection)
{
    ScriptedRTSPServer server(
        [](const std::string& method, const std::string& request)
        {
            return method == "PLAY" ? Reply{Frame(0, Packet(1)), true}
                                    : ScriptedRTSPServer::Ordinary(method, request);
        });
    platform::ManualClock clock(133'000'000'000'000'000);
    User user;
    Client client;
    ASSERT_TRUE(client.Start(Params(server), &user, kTransportInterleaved));
    ASSERT_TRUE(client.WaitForOptions(1));
    clock.AdvanceMs(15'001);
    ASSERT_TRUE(client.WaitForOptions(2));
    EXPECT_FALSE(client.GetLastResult());
    EXPECT_EQ("sdp, packet 1", user.Heard());
    client.Stop();
    EXPECT_EQ("sdp, packet 1, ended", user.Heard());
}

TEST(RTSPClient, StopsInTheMiddleOfEachStep)
{
    const struct
    {
        const char* name;
        std::uint32_t mode;
        const char* at;   // the device has that request, and
        std::string says; // answers so and no more
        std::string methods;
        std::string heard;
    } cases[] = {
        {"DESCRIBE", kTransportUDP, "DESCRIBE", "", "DESCRIBE", "ended"},
        {"a description without end", kTransportUDP, "DESCRIBE",
         "RTSP/1.0 200 OK\r\nContent-Length: 9\r\n\r\n", "DESCRIBE", "ended"},
        {"SETUP", kTransportUDP, "SETUP", "", "DESCRIBE SETUP TEARDOWN", "sdp, ended"},
        {"PLAY", kTransportUDP, "PLAY", "", "DESCRIBE SETUP PLAY TEARDOWN", "sdp, ended"},
        {"OPTIONS", kTransportUDP, "OPTIONS", "", "DESCRIBE SETUP PLAY OPTIONS TEARDOWN", "sdp, ended"},
        {"a stream", kTransportInterleaved, "PLAY", Frame(0, Packet(1)), "DESCRIBE SETUP PLAY TEARDOWN",
         "sdp, packet 1, ended"},
        {"TEARDOWN that is not answered", kTransportUDP, "TEARDOWN", "", "DESCRIBE SETUP PLAY TEARDOWN",
         "sdp, ended"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        ScriptedRTSPServer server(
            [&c](const std::string& method, const std::string& request)
            { return method == c.at ? Reply{c.says} : ScriptedRTSPServer::Ordinary(method, request); });
        test::FakeDriver driver;
        User user;
        Client client(&driver);
        if (std::string(c.at) == "TEARDOWN")
            client.SetTickInterval(20'000); // no OPTIONS in between
        ASSERT_TRUE(client.Start(Params(server, 2000), &user, c.mode));
        ASSERT_TRUE(server.WaitForMethod(std::string(c.at) == "TEARDOWN" ? "PLAY" : c.at));
        if (c.heard.find("packet") != std::string::npos)
        {
            ASSERT_TRUE(user.WaitFor("packet"));
        }
        client.Stop();
        EXPECT_EQ(c.methods, server.Methods());
        EXPECT_EQ(c.heard, user.Heard());
        EXPECT_TRUE(driver.Messages().empty()); // the thread ended by itself, within the bound
    }
}

TEST(RTSPClient, StopsThoughAnAnswerComesByteByByte)
{
    std::atomic<bool> ends{false};
    std::thread dripping;
    {
        ScriptedRTSPServer server([](const std::string&, const std::string&)
                                  { return Reply{"RTSP/1.0 200 OK\r\nContent-Length: 200000\r\n\r\n"}; });
        test::FakeDriver driver;
        User user;
        Client client(&driver);
        ASSERT_TRUE(client.Start(Params(server, 300), &user, kTransportUDP));
        ASSERT_TRUE(server.WaitForMethod("DESCRIBE"));
        dripping = std::thread(
            [&]
            {
                CEvent pause(false);
                while (!ends && !pause.Wait(20))
                    server.Send("x");
            });
        client.Stop();
        ends = true;
        dripping.join();
        EXPECT_TRUE(user.Heard().ends_with("ended"));
        EXPECT_TRUE(driver.Messages().empty());
    }
}

TEST(RTSPClient, FailsToStartWithoutACallToItsUser)
{
    platform::Socket unheard; // bound, but nobody listens
    ASSERT_TRUE(unheard.OpenStream());
    ASSERT_TRUE(unheard.Bind(0));
    ScriptedRTSPServer server;
    User user;
    Client client;
    RTSPClientParams params = Params(server);
    params.serverPort = unheard.LocalPort();
    EXPECT_FALSE(client.Start(params, &user, kTransportUDP));
    params = Params(server);
    params.host = "";
    EXPECT_FALSE(client.Start(params, &user, kTransportUDP));
    EXPECT_EQ("", user.Heard());

    ASSERT_TRUE(client.Start(Params(server), &user, kTransportUDP)); // and starts when all is well again
    ASSERT_TRUE(server.WaitForMethod("PLAY"));
    client.Stop();
    EXPECT_EQ("sdp, ended", user.Heard());
    ASSERT_TRUE(client.Start(Params(server), &user, kTransportUDP)); // a new session counts from 1
    ASSERT_TRUE(user.WaitFor("sdp, ended, sdp"));
    client.Stop();
    EXPECT_EQ(0u, server.Requests().back().find("TEARDOWN"));
    std::size_t first = 0;
    for (const std::string& request : server.Requests())
        first += request.find("CSeq: 1\r\n") != std::string::npos ? 1 : 0;
    EXPECT_EQ(2u, first);
}

} // namespace
