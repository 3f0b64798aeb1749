#include "http/http_client.h"
#include "http/http_sender.h"
#include "http/send_request.h"

#include "platform/clock.h"
#include "support/http_test_server.h"
#include "support/table.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <future>

using korvane::DEVICE_INFO, korvane::platform::HttpError;
using korvane::Utils::SendRequestEx, korvane::Utils::SendRequestWithResult;
using namespace korvane::test;
using ::testing::ElementsAre;

namespace
{

const std::string kDigest = "WWW-Authenticate: Digest realm=\"camera\", nonce=\"n1\"\r\n";
const std::string kBasic = "WWW-Authenticate: Basic realm=\"camera\"\r\n";
const std::string kProxyBasic = "Proxy-Authenticate: Basic realm=\"camera\"\r\n";
constexpr const char* kBasicCredentials = "Basic cm9vdDpzZWNyZXQ=";

DEVICE_INFO DeviceAt(const HttpTestServer& server, const std::string& user = "root")
{
    DEVICE_INFO info("127.0.0.1", server.Port(), user, "secret", "IP7135");
    info.networkTimeoutMs = 10000;
    return info;
}

auto Always(std::string response)
{
    return [response = std::move(response)](TestHttpPeer& peer, const TestHttpRequest&)
    { return peer.Send(response); };
}

bool WantsDigest(TestHttpPeer& peer, const TestHttpRequest& request)
{
    return peer.Send(request.HasDigest("root", "secret", "n1")
                         ? HttpTestServer::Response(200, "in")
                         : HttpTestServer::Response(401, "out", kDigest));
}

bool SaysNothing(TestHttpPeer& peer, const TestHttpRequest&)
{
    return peer.WaitClosed();
}

/// The first word of each Authorization header, in the order of the requests; "-" for none.
std::vector<std::string> Schemes(const HttpTestServer& server)
{
    std::vector<std::string> schemes;
    for (const TestHttpRequest& request : server.Requests())
    {
        const std::string header = request.Header("Authorization");
        schemes.push_back(header.empty() ? "-" : header.substr(0, header.find(' ')));
    }
    return schemes;
}

std::string Body(auto& client)
{
    Bytes buffer;
    const std::uint32_t count = client.ReadResponse(buffer);
    return std::string(buffer.begin(), buffer.begin() + count);
}

bool Gets(auto& client, const std::string& target)
{
    return client.SendRequest("GET", target);
}

bool Gets(Web::CHttpSender& sender, const std::string& target)
{
    return sender.Send({"GET", target});
}

template <typename Client>
class EachClient : public ::testing::Test
{
};
using AllClients = ::testing::Types<Web::CHttpClient, Web::CWinINetHttpClient, Web::CHttpSender>;
TYPED_TEST_SUITE(EachClient, AllClients, );

TYPED_TEST(EachClient, LearnsTheSchemeAndStaysWithIt)
{
    constexpr bool isAnsweredUnderneath = std::is_same_v<TypeParam, Web::CWinINetHttpClient>;
    const HttpTestServer server(WantsDigest);
    TypeParam client(DeviceAt(server));
    for (int i = 0; i < 2; ++i)
    {
        EXPECT_TRUE(Gets(client, "/x"));
        EXPECT_EQ(client.StatusCode(), 200u);
        EXPECT_EQ(Body(client), "in");
    }
    std::vector<std::string> schemes = {"-", "Digest", "Digest"};
    if (!isAnsweredUnderneath) // the bare one is the service's
        schemes.insert(schemes.begin(), "Basic");
    EXPECT_EQ(Schemes(server), schemes);
    const TestHttpRequest first = server.Requests().at(0);
    EXPECT_EQ(first.Header("Accept"), isAnsweredUnderneath ? "*/*" : "");
    EXPECT_EQ(first.Header("User-Agent") == "Korvane::WinINetHttpClient", isAnsweredUnderneath);
}

TEST(HttpClient, SendsAsItsServiceDid)
{
    const HttpTestServer server(Always(HttpTestServer::Response(200, "in")));
    Web::CHttpClient client(DeviceAt(server));
    EXPECT_TRUE(client.SendRequest("GET", "/a b?c=d e"));
    const Bytes body = {'x', 'y'};
    EXPECT_TRUE(client.SendRequest("POST", "/p?c=d e",
                                   {"X-One: 1", "X-Two: 2", "x-one: 3", "X-Four: 4\r\nX-Five: 5", "none"},
                                   body, 0, Web::CHttpClient::kRawQuery));
    const auto requests = server.Requests();
    EXPECT_EQ(requests.at(0).target, "/a%20b?c=d%20e");
    EXPECT_EQ(requests.at(0).Header("User-Agent"), "Korvane::HttpClient");
    EXPECT_EQ(requests.at(0).Header("Authorization"), kBasicCredentials); // at once
    EXPECT_EQ(requests.at(0).Header("Accept"), "");
    EXPECT_EQ(requests.at(0).Header("Pragma"), "no-cache");
    EXPECT_EQ(requests.at(1).target, "/p?c=d e");
    EXPECT_EQ(requests.at(1).body, "xy");
    EXPECT_EQ(requests.at(1).Header("X-One"), "3");
    EXPECT_EQ(requests.at(1).Header("X-Two"), "2");
    EXPECT_EQ(requests.at(1).Header("X-Five"), ""); // nothing gets in behind a line break
    EXPECT_FALSE(client.SendRequest("", "/x"));
    EXPECT_FALSE(client.SendRequest("GET", ""));
    EXPECT_EQ(client.StatusCode(), 0u);
}

TEST(HttpClient, TakesARefusalForAResponse)
{
    // The schemes are those that were tried.
    for (const auto& [name, user, challenge, schemes] :
         Table<const char*, const char*, std::string, std::vector<std::string>>{
             {"only the scheme in use", "root", kBasic, {"Basic"}},
             {"no scheme named", "root", "", {"Basic"}},
             {"no user", "", kDigest, {"-", "-"}},
             {"refused also with Digest", "root", kDigest + kBasic, {"Basic", "-", "Digest"}},
         })
    {
        SCOPED_TRACE(name);
        const HttpTestServer server(Always(HttpTestServer::Response(401, "out", challenge)));
        Web::CHttpClient client(DeviceAt(server, user));
        EXPECT_TRUE(client.SendRequest("GET", "/x"));
        EXPECT_EQ(client.StatusCode(), 401u);
        EXPECT_EQ(Body(client), "out");
        EXPECT_EQ(Schemes(server), schemes);
    }
}

TEST(HttpClient, EndsAfterFiveSchemeChanges)
{
    // 401 and 407 in turn, each time with the scheme that is not in use.
    std::atomic<int> answers{0};
    const HttpTestServer server(
        [&](TestHttpPeer& peer, const TestHttpRequest&)
        {
            return peer.Send(answers++ % 2 == 0 ? HttpTestServer::Response(401, "", kDigest)
                                                : HttpTestServer::Response(407, "", kProxyBasic));
        });
    Web::CHttpClient client(DeviceAt(server, ""));
    EXPECT_TRUE(client.SendRequest("GET", "/x"));
    EXPECT_EQ(server.Requests().size(), 5u);
    EXPECT_EQ(client.StatusCode(), 401u);
}

TEST(HttpClient, TriesTlsOnlyAfterAnExchangeGotThrough)
{
    const HttpTestServer tls(Always(HttpTestServer::Response(200, "in")), true);
    Web::CHttpClient toTls(DeviceAt(tls));
    EXPECT_FALSE(toTls.SendRequest("GET", "/x"));
    EXPECT_EQ(tls.Connections(), 1); // plain, and nothing else

    // A refusal got through, the repeat didn't: the second transport is tried, and then nothing is known.
    const HttpTestServer breaking(
        [](TestHttpPeer& peer, const TestHttpRequest& request)
        {
            if (!request.Header("Authorization").empty())
                peer.Send(HttpTestServer::Response(401, "", kDigest));
            return false;
        });
    Web::CHttpClient client(DeviceAt(breaking));
    EXPECT_FALSE(client.SendRequest("GET", "/x"));
    EXPECT_EQ(client.StatusCode(), 0u);
    const int connections = breaking.Connections();
    EXPECT_GE(connections, 3); // refusal, repeat, TLS
}

TEST(HttpClient, DoesNotWaitWhenToldSo)
{
    const HttpTestServer server(SaysNothing);
    Web::CHttpClient client(DeviceAt(server));
    const Bytes body = {'x', 'y'};
    EXPECT_TRUE(client.SendRequest("GET", "/x", {}, {}, 0, Web::CHttpClient::kNoResponse));
    EXPECT_TRUE(client.SendRequest("POST", "/x", {}, body, 10, 0)); // announces more than it has
    EXPECT_EQ(client.StatusCode(), 0u);
    EXPECT_EQ(client.QueryDataAvailable(), 0u);
    client.CloseRequest();
    server.WaitForRequests(2);
    const auto requests = server.Requests();
    const auto post = std::ranges::find(requests, "POST", &TestHttpRequest::method);
    ASSERT_NE(post, requests.end());
    EXPECT_EQ(post->Header("Content-Length"), "10");
    EXPECT_EQ(post->body, "xy");
}

template <typename Client>
class BothClients : public ::testing::Test
{
};
using ClientTypes = ::testing::Types<Web::CHttpClient, Web::CWinINetHttpClient>;
TYPED_TEST_SUITE(BothClients, ClientTypes, );

TYPED_TEST(BothClients, GiveUpAnAnswerThatTakesForEver)
{
    korvane::platform::ManualClock clock(130'000'000'000'000'000);
    const HttpTestServer server(
        [&clock](TestHttpPeer& peer, const TestHttpRequest&)
        {
            peer.Send("HTTP/1.1 200 OK\r\n\r\n");
            for (int i = 0; i < 100 && peer.Send("x") && peer.Pause(1); ++i)
                clock.AdvanceMs(10000); // a byte each 10 s
            return peer.WaitClosed();
        });
    DEVICE_INFO patient = DeviceAt(server);
    patient.networkTimeoutMs = 3600000;
    TypeParam client(patient);
    EXPECT_TRUE(client.SendRequest("GET", "/x"));
    EXPECT_EQ(Body(client), "");
    client.CloseRequest();
}

TYPED_TEST(BothClients, EndAReadWhenClosedByAnotherThread)
{
    const HttpTestServer server(
        [](TestHttpPeer& peer, const TestHttpRequest& request)
        {
            if (request.target == "/next")
                return peer.Send(HttpTestServer::Response(200, "next"));
            peer.Send("HTTP/1.1 200 OK\r\n\r\nabc");
            return peer.WaitClosed();
        });
    DEVICE_INFO patient = DeviceAt(server);
    patient.networkTimeoutMs = 3600000; // only the close may end the read
    TypeParam client(patient);
    ASSERT_TRUE(client.SendRequest("GET", "/x"));
    EXPECT_EQ(client.QueryDataAvailable(), 3u);
    std::promise<void> isReading;
    auto lastRead = std::async(std::launch::async,
                               [&]
                               {
                                   std::uint8_t block[3];
                                   client.ReadData(block, sizeof block);
                                   isReading.set_value();
                                   return client.ReadData(block, sizeof block);
                               });
    isReading.get_future().wait();
    client.CloseRequest();
    EXPECT_EQ(lastRead.get(), 0u);
    EXPECT_EQ(client.QueryDataAvailable(), 0u);
    EXPECT_TRUE(client.SendRequest("GET", "/next"));
    EXPECT_EQ(Body(client), "next");
}

TEST(HttpSender, RemembersTheTransportThatWorked)
{
    const HttpTestServer plain(Always(HttpTestServer::Response(200, "in")));
    Web::CHttpSender toPlain(DeviceAt(plain));
    EXPECT_TRUE(toPlain.Send({"GET", "/a?b c"}));
    EXPECT_EQ(plain.Requests().at(0).target, "/a?b c"); // raw unless told otherwise
    EXPECT_EQ(plain.Requests().at(0).Header("User-Agent"), "Korvane::HttpSender");
    EXPECT_FALSE(toPlain.IsSecure());
    EXPECT_EQ(Body(toPlain), "in");

    const HttpTestServer tls(Always(HttpTestServer::Response(200, "in")), true);
    Web::CHttpSender toTls(DeviceAt(tls));
    EXPECT_TRUE(toTls.Send({"GET", "/x"}));
    EXPECT_TRUE(toTls.IsSecure());
    EXPECT_EQ(tls.Connections(), 2); // the first one plain
    EXPECT_TRUE(toTls.Send({"GET", "/x"}));
    EXPECT_EQ(tls.Connections(), 2);

    Web::HttpRequest strict{"GET", "/x"};
    strict.flags &= ~Web::HttpRequest::kIgnoreCertificate;
    EXPECT_FALSE(toTls.Send(strict));
    EXPECT_TRUE(toTls.IsSecure());

    DEVICE_INFO info("127.0.0.1", 443, "", "", "");
    EXPECT_TRUE(Web::CHttpSender(info).IsSecure());
}

TEST(HttpSender, LearnsTheFirstSchemeThatTheDeviceNames)
{
    // When it is the one in use, that is all.
    const HttpTestServer basicFirst(Always(HttpTestServer::Response(401, "out", kBasic + kDigest)));
    Web::CHttpSender refused(DeviceAt(basicFirst));
    EXPECT_TRUE(refused.Send({"GET", "/x"}));
    EXPECT_EQ(refused.StatusCode(), 401u);
    EXPECT_THAT(Schemes(basicFirst), ElementsAre("Basic"));

    Web::HttpRequest none{"GET", "/x"};
    none.authKind = static_cast<Web::AuthKind>(9);
    Web::CHttpSender bare(DeviceAt(basicFirst));
    EXPECT_TRUE(bare.Send(none));
    EXPECT_THAT(Schemes(basicFirst), ElementsAre("Basic", "-", "Basic"));
}

TEST(HttpSender, TriesTheOtherTransportUnlessTimeRanOut)
{
    constexpr auto closes = [](TestHttpPeer&, const TestHttpRequest&) { return false; };
    constexpr auto noHttp = [](TestHttpPeer& peer, const TestHttpRequest&)
    { return peer.Send("RTSP/1.0\r\n\r\n") && false; };
    for (const auto& [name, script, error, connections, timeoutMs] :
         Table<const char*, HttpTestServer::Script, HttpError, int, std::uint32_t>{
             {"closed without a word", closes, HttpError::kNone, 2, 10000},
             {"silent", SaysNothing, HttpError::kTimeout, 1, 300},
             {"no HTTP", noHttp, HttpError::kInvalidResponse, 1, 10000},
         })
    {
        SCOPED_TRACE(name);
        const HttpTestServer server(script);
        DEVICE_INFO info = DeviceAt(server);
        info.networkTimeoutMs = timeoutMs;
        Web::CHttpSender sender(info);
        EXPECT_FALSE(sender.Send({"GET", "/x"}));
        EXPECT_EQ(server.Connections(), connections);
        EXPECT_FALSE(sender.IsSecure());
        EXPECT_EQ(sender.StatusCode(), 0u);
        EXPECT_TRUE(error == HttpError::kNone || sender.LastError() == error);
    }
}

TEST(HttpSender, AbortEndsAnAttemptAndKeepsTheSecondFromRunning)
{
    const HttpTestServer server(SaysNothing);
    Web::CHttpSender sender(DeviceAt(server));
    auto sent = std::async(std::launch::async, [&] { return sender.Send({"GET", "/x"}); });
    server.WaitForRequests(1);
    sender.Abort();
    EXPECT_FALSE(sent.get());
    EXPECT_EQ(server.Connections(), 1);
    EXPECT_EQ(sender.QueryDataAvailable(), 0u);
}

TEST(HttpSender, ReadsUpToTheLengthItWasTold)
{
    for (const auto& [name, response, body, timeoutMs] :
         Table<const char*, std::string, std::string, std::uint32_t>{
             {"more than a block", HttpTestServer::Response(200, std::string(20000, 'x')),
              std::string(20000, 'x'), 10000},
             {"no body", "HTTP/1.1 204 No Content\r\nContent-Length: 7\r\n\r\n", "", 10000},
             {"silence stands for zero bytes", "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nabc",
              std::string("abc\0\0", 5), 3000},
         })
    {
        SCOPED_TRACE(name);
        const HttpTestServer server([says = response](TestHttpPeer& peer, const TestHttpRequest&)
                                    { return peer.Send(says) && peer.WaitClosed(); });
        DEVICE_INFO info = DeviceAt(server);
        info.networkTimeoutMs = timeoutMs;
        Web::CHttpSender sender(info);
        EXPECT_TRUE(sender.Send({"GET", "/x"}));
        EXPECT_EQ(Body(sender), body);
    }

    const HttpTestServer endless(
        [](TestHttpPeer& peer, const TestHttpRequest&)
        {
            peer.Send("HTTP/1.1 200 OK\r\n\r\n");
            while (peer.Send(std::string(65536, 'x')))
                continue;
            return false;
        });
    Web::CHttpSender sender(DeviceAt(endless));
    EXPECT_TRUE(sender.Send({"GET", "/x"}));
    Bytes buffer = {'k'};
    EXPECT_GT(sender.QueryDataAvailable(), 0u);
    EXPECT_EQ(sender.ReadData(buffer, 3, false), 3u);
    EXPECT_THAT(buffer, ElementsAre('k', 'x', 'x', 'x'));
    EXPECT_EQ(sender.ReadData(buffer, 2, true), 2u);
    EXPECT_EQ(buffer.size(), 2u);
    EXPECT_EQ(Body(sender).size(), 0x100000u);
}

TYPED_TEST(BothClients, JudgeAnswersOfACamera)
{
    const HttpTestServer server(
        [](TestHttpPeer& peer, const TestHttpRequest& request)
        {
            if (request.target == "/gone")
                return false;
            const int status = request.target == "/refused" ? 503 : request.target == "/empty" ? 204 : 200;
            return peer.Send(status == 204 ? "HTTP/1.1 204 No Content\r\n\r\n"
                                           : HttpTestServer::Response(status, "a='1'\r\n"));
        });
    const std::string host = "host 127.0.0.1:" + std::to_string(server.Port());
    const std::string function = "korvane::Utils::SendRequestEx: ";
    TypeParam client(DeviceAt(server));
    for (const auto& [uri, readBody, severity, code, message, body] :
         Table<std::string, bool, std::uint32_t, std::uint32_t, std::string, std::string>{
             {"/good", true, 3, 0, "", std::string("a='1'\r\n\0", 8)},
             {"/good", false, 3, 0, "", ""},
             {"/empty", false, 3, 0, "", ""},
             {"/empty", true, 1, 13, function + "incorrect response for request \"/empty\" from " + host,
              std::string(1, '\0')},
             {"/refused", true, 1, 8,
              function + host + " sent does not process request \"/refused\", status code = 503", ""},
             {"/gone", true, 4, 11, function + "can not send request \"/gone\" to " + host, ""},
         })
    {
        SCOPED_TRACE(uri);
        Bytes response = {1, 2, 3};
        const korvane::CResultDef result = SendRequestWithResult(client, uri, response, readBody);
        EXPECT_EQ(result.severity, severity);
        EXPECT_EQ(result.code, code);
        EXPECT_EQ(result.message, message);
        EXPECT_EQ(std::string(response.begin(), response.end()), body);
        EXPECT_EQ(SendRequestEx(client, uri, response, readBody), code == 0);
    }
}

} // namespace
