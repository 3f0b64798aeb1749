#include "camera/http_test_client.h"

#include "camera/simulated_camera.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <fstream>
#include <mutex>
#include <set>

using namespace larkmoor::camera;
using namespace std::chrono_literals;

namespace
{

constexpr const char* kSetparam = "/cgi-bin/admin/setparam.cgi?";
constexpr const char* kGetparam = "/cgi-bin/admin/getparam.cgi?";

/// A camera with a small Motion JPEG stream at "/video.mjpg", and what it says that it sent.
class CameraHttp : public testing::Test
{
protected:
    void Start(CameraOptions options = {})
    {
        camera = std::make_unique<SimulatedCamera>(options);
        camera->Truth().SetListener(
            [this](const TruthUnit& unit)
            {
                const std::lock_guard guard(lock);
                truth.push_back(unit);
            });
        std::string error;
        ASSERT_TRUE(camera->Start(error)) << error;
        camera->Parameters().Change({{"videoin_c0_s0_codectype", "mjpeg"},
                                     {"videoin_c0_s0_resolution", "176x144"},
                                     {"videoin_c0_s0_mjpeg_maxframe", "30"}});
    }

    void Play(const char* fault)
    {
        std::string error;
        ASSERT_TRUE(camera->Faults().Add(fault, error)) << error;
    }

    HttpTestClient::Answer Get(const std::string& target, const char* headers = "")
    {
        return HttpTestClient::Get(camera->HttpPort(), target, headers);
    }

    bool IsTrue(const std::string& picture)
    {
        const std::string md5 = Md5Hex(picture);
        const std::lock_guard guard(lock);
        return std::any_of(truth.begin(), truth.end(),
                           [&](const TruthUnit& unit)
                           { return unit.md5 == md5 && unit.size == picture.size(); });
    }

    /// Reads until `client` has got `count` whole pictures, and gives them.
    std::vector<std::string> ReadPictures(HttpTestClient& client, std::size_t count)
    {
        while (PicturesIn(client.Received()).size() < count)
        {
            if (!client.Read())
                break;
        }
        return PicturesIn(client.Received());
    }

    std::mutex lock; // guards truth
    std::vector<TruthUnit> truth;
    std::unique_ptr<SimulatedCamera> camera; // last: it writes into the above
};

} // namespace

TEST_F(CameraHttp, StreamsWhatTheParametersSay)
{
    Start();
    HttpTestClient client(camera->HttpPort());
    client.SendGet("/video.mjpg");
    std::vector<std::string> pictures = ReadPictures(client, 3);
    ASSERT_GE(pictures.size(), 3u);
    for (const std::string& picture : pictures)
    {
        EXPECT_EQ(SizeOfPicture(picture), "176x144");
        EXPECT_TRUE(IsTrue(picture));
        EXPECT_NE(client.Received().find("--myboundary\r\nContent-Type: image/jpeg\r\nContent-Length: " +
                                         std::to_string(picture.size()) + "\r\n\r\n" + picture + "\r\n"),
                  std::string::npos);
    }
    EXPECT_NE(client.Received().find("Content-Type: multipart/x-mixed-replace;boundary=myboundary\r\n"),
              std::string::npos);

    EXPECT_EQ(
        Get(std::string(kSetparam) + "&videoin_c0_s0_resolution=320x240&videoin_c0_s0_mjpeg_quant=5").body,
        "videoin_c0_s0_resolution='320x240'\r\nvideoin_c0_s0_mjpeg_quant='5'\r\n"
        "videoin_c0_s0_mjpeg_qvalue='20'\r\n");
    while (SizeOfPicture(pictures.back()) != "320x240" && client.Read())
        pictures = PicturesIn(client.Received());
    EXPECT_TRUE(IsTrue(pictures.back()));

    EXPECT_EQ(Get(std::string(kSetparam) + "videoin_c0_s0_codectype=h264").status, 200);
    client.ReadToEnd();
    EXPECT_TRUE(client.HasEnded()) << "a stream of another codec has nothing to send here";
    EXPECT_EQ(Get("/video.mjpg").status, 409);
    EXPECT_EQ(Get("/video9.mjpg").status, 404);
}

TEST_F(CameraHttp, GivesSinglePictures)
{
    Start();
    for (const char* target : {"/cgi-bin/video.jpg", "/cgi-bin/viewer/video.jpg?channel=0"})
    {
        const HttpTestClient::Answer answer = Get(target);
        EXPECT_NE(answer.head.find("Content-Type: image/jpeg"), std::string::npos) << answer.head;
        EXPECT_EQ(SizeOfPicture(answer.body), "176x144");
        EXPECT_TRUE(IsTrue(answer.body));
    }
    for (const char* target : {"/cgi-bin/video.jpg?channel=1", "/cgi-bin/video.jpg?cam=x"})
        EXPECT_EQ(Get(target).status, 404) << target;
}

TEST_F(CameraHttp, StreamsByCameraNumberOnOlderDevices)
{
    CameraOptions options;
    options.profile = "vs2403";
    Start(options);
    EXPECT_EQ(Get(std::string(kGetparam) + "capability&status").body, "");
    HttpTestClient client(camera->HttpPort());
    client.SendGet("/cgi-bin/video.jpg?cam=2&quality=5&size=6");
    const std::vector<std::string> pictures = ReadPictures(client, 2);
    ASSERT_GE(pictures.size(), 2u);
    EXPECT_EQ(SizeOfPicture(pictures[0]), "704x288");
    EXPECT_EQ(camera->Parameters().Read("video.size.1&video.quality.1"),
              "video.quality.1='5'\r\nvideo.size.1='6'\r\n");
    EXPECT_EQ(Get("/cgi-bin/video.jpg?cam=2&size=4").status, 400);
    EXPECT_EQ(Get("/cgi-bin/video.jpg?cam=5").status, 404);
}

TEST_F(CameraHttp, RestartsTheSensorInItsOtherMode)
{
    CameraOptions options;
    options.profile = "sensor-mode";
    Start(options);
    EXPECT_EQ(Get(std::string(kSetparam) + "videoin_c0_options=framerate").status, 200);
    EXPECT_EQ(Get(std::string(kGetparam) + "videoin_c0_s0_resolution").body,
              "videoin_c0_s0_resolution='800x600'\r\n");
}

TEST_F(CameraHttp, AsksForCredentialsAndSpeaksTls)
{
    CameraOptions options;
    options.auth = AuthScheme::Digest;
    options.password = "secret";
    options.tls = true;
    Start(options);
    const std::uint16_t port = camera->HttpPort();
    const std::string target = std::string(kGetparam) + "network_http_authmode";
    HttpTestClient::Answer answer = HttpTestClient::Get(port, target, "", true);
    EXPECT_EQ(answer.status, 401);
    const std::size_t at = answer.head.find("nonce=\"") + 7;
    const std::string nonce = answer.head.substr(at, answer.head.find('"', at) - at);
    const DigestInput input{"root", "larkmoor-camera", "secret", "GET", target, nonce, "00000001", "c", true};
    answer = HttpTestClient::Get(
        port, target,
        "Authorization: Digest username=\"root\", realm=\"larkmoor-camera\", nonce=\"" + nonce +
            "\", uri=\"" + target + "\", qop=auth, nc=00000001, cnonce=\"c\", response=\"" +
            DigestResponse(input) + "\"\r\n",
        true);
    EXPECT_EQ(answer.body, "network_http_authmode='digest'\r\n");

    camera->Parameters().Change({{"network_http_authmode", "basic"}});
    HttpTestClient client(port, true);
    client.SendGet("/video.mjpg", "Authorization: Basic cm9vdDpzZWNyZXQ=\r\n");
    const std::vector<std::string> pictures = ReadPictures(client, 2);
    ASSERT_GE(pictures.size(), 2u);
    EXPECT_TRUE(IsTrue(pictures[0]));
    EXPECT_EQ(HttpTestClient::Get(port, "/").status, 0) << "a client without TLS gets nothing";
}

TEST_F(CameraHttp, ServesManyClientsOfOneStreamWithOneEncoder)
{
    Start();
    constexpr std::size_t kClients = 100;
    HttpTestClient slow(camera->HttpPort()); // reads nothing until the end
    slow.SendGet("/video.mjpg");
    std::vector<std::unique_ptr<HttpTestClient>> clients;
    for (std::size_t i = 0; i < kClients; ++i)
    {
        clients.push_back(std::make_unique<HttpTestClient>(camera->HttpPort()));
        clients.back()->SendGet("/video.mjpg");
    }
    std::set<std::string> sent;
    for (const auto& client : clients)
    {
        const std::vector<std::string> pictures = ReadPictures(*client, 3);
        ASSERT_GE(pictures.size(), 3u);
        sent.insert(pictures.begin(), pictures.end());
    }
    for (const std::string& picture : ReadPictures(slow, 2))
        EXPECT_TRUE(IsTrue(picture));
    for (const std::string& picture : sent)
        EXPECT_TRUE(IsTrue(picture));
    clients.clear();
    camera->Stop();
    std::set<std::string> told;
    for (const TruthUnit& unit : truth)
    {
        EXPECT_TRUE(told.insert(unit.md5).second) << "told once, whoever else gets it";
        EXPECT_EQ(unit.stream, "c0_s0");
    }
}

TEST_F(CameraHttp, TellsThePicturesOfEachConnection)
{
    Start();
    for (int i = 0; i < 12; ++i) // the encoder, and what it numbers, begin anew each time
    {
        HttpTestClient client(camera->HttpPort());
        client.SendGet("/video.mjpg");
        for (const std::string& picture : ReadPictures(client, 2))
            EXPECT_TRUE(IsTrue(picture)) << "connection " << i;
    }
}

TEST_F(CameraHttp, StampsPicturesForEachClient)
{
    CameraOptions options;
    options.rtsp.stamps = true;
    Start(options);
    for (int client = 0; client < 2; ++client)
    {
        HttpTestClient stream(camera->HttpPort());
        stream.SendGet("/video.mjpg");
        const std::vector<std::string> pictures = ReadPictures(stream, 2);
        ASSERT_GE(pictures.size(), 2u);
        for (std::size_t i = 0; i < 2; ++i)
        {
            EXPECT_TRUE(pictures[i].starts_with(std::string("\xFF\xD8\xFF\xFE\0*LarkmoorStamp001000", 25)));
            EXPECT_EQ(pictures[i].substr(38, 8), i == 0 ? "00000000" : "00000001");
            EXPECT_TRUE(IsTrue(pictures[i]));
        }
    }
}

TEST_F(CameraHttp, AnswersOddRequests)
{
    Start();
    const struct
    {
        const char* name;
        std::string request;
        const char* status;
    } cases[] = {
        {"no HTTP", "hello\r\n\r\n", "HTTP/1.1 400 "},
        {"TLS to a plain port", std::string("\x16\x03\x01\x02\x00\x01\x00\r\n\r\n", 11), "HTTP/1.1 400 "},
        {"a head without end", "GET / HTTP/1.1\r\nX: " + std::string(20000, 'x'), "HTTP/1.1 400 "},
        {"a huge body", "POST / HTTP/1.1\r\nContent-Length: 99999999\r\n\r\n", "HTTP/1.1 400 "},
        {"a method of its own", "BREW / HTTP/1.1\r\n\r\n", "HTTP/1.1 405 "},
        {"no slash in front", "GET video.mjpg HTTP/1.0\r\n\r\n", "HTTP/1.1 200 "},
        {"the whole address", "GET http://camera/video.mjpg HTTP/1.1\r\n\r\n", "HTTP/1.1 200 "},
        {"a form", "POST /cgi-bin/admin/setparam.cgi HTTP/1.1\r\nContent-Length: 17\r\n\r\nsystem_hostname=a",
         "HTTP/1.1 200 "},
        {"two at once", "GET /x HTTP/1.1\r\n\r\nGET / HTTP/1.1\r\n\r\n", "HTTP/1.1 200 "},
    };
    for (const auto& c : cases)
    {
        HttpTestClient client(camera->HttpPort());
        client.Send(c.request);
        EXPECT_TRUE(client.ReadUntil(c.status)) << c.name << ": " << client.Received().substr(0, 200);
    }
    EXPECT_EQ(camera->Parameters().Get("system_hostname"), "a");
}

TEST_F(CameraHttp, SaysWhyItCannotStart)
{
    Start();
    const auto fails = [](const CameraOptions& options)
    {
        std::string error;
        EXPECT_FALSE(SimulatedCamera(options).Start(error));
        return error;
    };
    CameraOptions options;
    options.profile = "toaster";
    EXPECT_NE(fails(options).find("toaster"), std::string::npos);
    options = {};
    options.httpPort = camera->HttpPort();
    EXPECT_NE(fails(options).find(std::to_string(options.httpPort)), std::string::npos);
    options = {};
    options.faults = {"freeze", "thaw"};
    EXPECT_NE(fails(options).find("thaw"), std::string::npos);
    options = {};
    options.truth = "/nowhere/at/all.json";
    EXPECT_NE(fails(options).find(options.truth), std::string::npos);
    options = {};
    options.bind = "camera.invalid";
    EXPECT_NE(fails(options).find(options.bind), std::string::npos);
}

TEST_F(CameraHttp, WritesItsLogs)
{
    CameraOptions options;
    options.requestLog = testing::TempDir() + "camera_requests_" + std::to_string(::getpid()) + ".json";
    options.truth = testing::TempDir() + "camera_truth_" + std::to_string(::getpid()) + ".json";
    Start(options);
    Get("/a\"\x80\\b?c");
    Get("/cgi-bin/video.jpg");
    camera->Stop();
    std::ifstream requests(options.requestLog), units(options.truth);
    std::string line;
    std::getline(requests, line);
    nlohmann::json object = nlohmann::json::parse(line);
    EXPECT_EQ(object.at("target"), "/a\"\xC2\x80\\b?c");
    EXPECT_EQ(object.at("protocol"), "http");
    EXPECT_EQ(object.at("method"), "GET");
    EXPECT_EQ(object.at("status"), 404);
    EXPECT_EQ(object.at("time").get<std::string>().size(), std::string("2026-01-01T00:00:00.000Z").size());
    std::getline(units, line);
    object = nlohmann::json::parse(line);
    EXPECT_EQ(object.at("stream"), "c0_still");
    EXPECT_EQ(object.at("kind"), "jpeg");
    EXPECT_EQ(object.at("key"), true);
    EXPECT_TRUE(object.at("rtp").is_null());
    EXPECT_EQ(object.at("size"), truth.at(0).size);
    EXPECT_EQ(object.at("md5"), truth.at(0).md5);
    std::remove(options.requestLog.c_str());
    std::remove(options.truth.c_str());
}
