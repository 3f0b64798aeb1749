#include "base/md5.h"
#include "camera/simulated_camera.h"
#include "http/http_sender.h"
#include "support/table.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <fstream>

namespace larkmoor::camera
{
namespace
{

constexpr const char* kSetparam = "/cgi-bin/admin/setparam.cgi?";

class CameraHttp : public testing::Test
{
protected:
    void Start(CameraOptions options = {})
    {
        camera = std::make_unique<SimulatedCamera>(std::move(options));
        std::string error;
        ASSERT_TRUE(camera->Start(error)) << error;
    }

    /// All that the camera answers to `request` until it closes; the request may end the connection.
    std::string Ask(const std::string& request, bool rtsp = false)
    {
        boost::asio::io_context context;
        boost::asio::ip::tcp::socket socket(context);
        boost::system::error_code error;
        const std::uint16_t port = rtsp ? camera->RtspPort() : camera->HttpPort();
        socket.connect({boost::asio::ip::address_v4::loopback(), port}, error);
        boost::asio::write(socket, boost::asio::buffer(request), error);
        socket.shutdown(boost::asio::socket_base::shutdown_send, error);
        std::string all;
        boost::asio::read(socket, boost::asio::dynamic_buffer(all), error);
        return all;
    }

    std::string Get(const std::string& target)
    {
        return Ask("GET " + target + " HTTP/1.1\r\nConnection: close\r\n\r\n");
    }

    std::unique_ptr<SimulatedCamera> camera;
};

bool Has(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

TEST_F(CameraHttp, AnswersAsADeviceDoes)
{
    Start();
    const std::string post = "POST /cgi-bin/admin/setparam.cgi HTTP/1.1\r\nContent-Length: 17\r\n\r\n";
    camera->Parameters().Change({{"videoin_c0_s0_codectype", "h264"}});
    for (const auto& [name, request, part] : korvane::test::Table<const char*, std::string, const char*>{
             {"no HTTP", "hello\r\n\r\n", "HTTP/1.1 400 "},
             {"TLS to a plain port", std::string("\x16\x03\x01\x02\x00\x01\x00\r\n\r\n", 11),
              "HTTP/1.1 400 "},
             {"a head without end", "GET / HTTP/1.1\r\nX: " + std::string(20000, 'x'), "HTTP/1.1 400 "},
             {"a huge body", "POST / HTTP/1.1\r\nContent-Length: 99999999\r\n\r\n", "HTTP/1.1 400 "},
             {"a method of its own", "BREW / HTTP/1.1\r\n\r\n", "HTTP/1.1 405 "},
             {"a form", post + "system_hostname=a", "\r\n\r\nsystem_hostname='a'\r\n"},
             {"two at once", "GET /x HTTP/1.1\r\n\r\nGET / HTTP/1.1\r\n\r\n", "HTTP/1.1 200 "},
             {"a step of quality brings its value",
              std::string("GET ") + kSetparam + "videoin_c0_s0_mjpeg_quant=5 HTTP/1.0\r\n\r\n",
              "videoin_c0_s0_mjpeg_quant='5'\r\nvideoin_c0_s0_mjpeg_qvalue='20'\r\n"},
             {"a picture", "GET /cgi-bin/viewer/video.jpg?channel=0 HTTP/1.0\r\n\r\n",
              "Content-Type: image/jpeg\r\n"},
             {"a picture of no channel", "GET /cgi-bin/video.jpg?channel=1 HTTP/1.0\r\n\r\n",
              "HTTP/1.1 404 "},
             {"a stream of no name", "GET /video9.mjpg HTTP/1.0\r\n\r\n", "HTTP/1.1 404 "},
             {"a stream of another codec", "GET /video.mjpg HTTP/1.0\r\n\r\n", "HTTP/1.1 409 "},
         })
        EXPECT_TRUE(Has(Ask(request), part)) << name;

    std::string error;
    ASSERT_TRUE(camera->Faults().Add("cgi-invalid=c0_s0/c0_s2", error)) << error;
    for (const char* stream : {"c0_s0", "c0_s1", "c0_s2"})
    {
        const std::string key = "videoin_" + std::string(stream) + "_codectype";
        const bool refused = std::string(stream) != "c0_s1";
        EXPECT_TRUE(Has(Get(kSetparam + key + "=mpeg4"), key + (refused ? "=ERR_INVALID" : "='mpeg4'")));
        EXPECT_EQ(camera->Parameters().Get(key) == "mpeg4", !refused) << key;
    }
}

TEST_F(CameraHttp, AnswersRtspAsTheProtocolSays)
{
    Start();
    const std::string url = "rtsp://127.0.0.1/live.sdp";
    for (const auto& [name, request, headers, status, part] :
         korvane::test::Table<const char*, std::string, const char*, const char*, const char*>{
             {"what it can", "OPTIONS *", "", "200", "Public: OPTIONS, DESCRIBE, SETUP, PLAY, GET_PARAMETER"},
             {"no such method", "RECORD " + url, "", "501", "Public: "},
             {"no such stream", "DESCRIBE rtsp://127.0.0.1/live9.sdp", "", "404", "CSeq: 5\r\n"},
             {"an odd path", "DESCRIBE rtsp://127.0.0.1//live.sdp/?x=1", "", "200", "Content-Base: rtsp://"},
             {"no session", "PLAY " + url, "", "454", ""},
             {"no transport", "SETUP " + url + "/trackID=1", "", "461", ""},
             {"no ports", "SETUP " + url, "Transport: RTP/AVP;unicast\r\n", "461", ""},
             {"the second choice", "SETUP " + url + "/trackID=1",
              "Transport: RTP/SAVP;unicast,RTP/AVP/TCP;interleaved=4-5\r\n", "200", "interleaved=4-5;ssrc="},
         })
    {
        const std::string answer = Ask(request + " RTSP/1.0\r\nCSeq: 5\r\n" + headers + "\r\n", true);
        EXPECT_TRUE(answer.starts_with(std::string("RTSP/1.0 ") + status)) << name << ": " << answer;
        EXPECT_TRUE(Has(answer, part)) << name << ": " << answer;
    }
    EXPECT_TRUE(Ask("\x16\x03\x01 hello\r\n\r\n", true).starts_with("RTSP/1.0 400 "));
}

TEST_F(CameraHttp, AsksForCredentialsAndSpeaksTls)
{
    CameraOptions options;
    options.auth = AuthScheme::Digest;
    options.password = "secret";
    options.tls = true;
    Start(options);
    for (const bool isRight : {false, true})
    {
        Web::CHttpSender sender(korvane::DEVICE_INFO("127.0.0.1", camera->HttpPort(), "root",
                                                     isRight ? options.password : "other", ""));
        std::vector<std::uint8_t> body;
        ASSERT_TRUE(sender.Send({"GET", "/cgi-bin/admin/getparam.cgi?network_http_authmode"}));
        EXPECT_TRUE(sender.IsSecure());
        EXPECT_EQ(sender.StatusCode(), isRight ? 200u : 401u);
        body.resize(sender.ReadResponse(body));
        EXPECT_EQ(std::string(body.begin(), body.end()) == "network_http_authmode='digest'\r\n", isRight);
    }
    EXPECT_EQ(Get("/"), "") << "a client without TLS gets nothing";
}

TEST_F(CameraHttp, WritesItsLogs)
{
    CameraOptions options;
    options.requestLog = testing::TempDir() + "camera_requests_" + std::to_string(::getpid()) + ".json";
    options.truth = testing::TempDir() + "camera_truth_" + std::to_string(::getpid()) + ".json";
    Start(options);
    Get("/a\"\x80\\b?c");
    const std::string answer = Get("/cgi-bin/video.jpg");
    camera->Stop();
    std::ifstream requests(options.requestLog), units(options.truth);
    std::string line;
    std::getline(requests, line);
    const auto request = nlohmann::json::parse(line);
    EXPECT_EQ(request.at("target"), "/a\"\xC2\x80\\b?c");
    EXPECT_EQ(request.at("protocol"), "http");
    EXPECT_EQ(request.at("method"), "GET");
    EXPECT_EQ(request.at("status"), 404);
    EXPECT_EQ(request.at("time").get<std::string>().size(), std::string("2026-01-01T00:00:00.000Z").size());
    std::getline(units, line);
    const auto unit = nlohmann::json::parse(line);
    EXPECT_EQ(unit.at("stream"), "c0_still");
    EXPECT_EQ(unit.at("kind"), "jpeg");
    EXPECT_EQ(unit.at("md5"), Md5Hex(answer.substr(answer.find("\r\n\r\n") + 4)));
    std::remove(options.requestLog.c_str());
    std::remove(options.truth.c_str());
}

} // namespace
} // namespace larkmoor::camera
