#include "camera/simulated_camera.h"

#include <boost/asio/connect.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/ssl.hpp>
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
constexpr const char* kGetparam = "/cgi-bin/admin/getparam.cgi?";

/// All that `stream` brings until its end.
template <typename Stream>
std::string ReadAll(Stream& stream)
{
    std::string all;
    boost::system::error_code error;
    boost::asio::read(stream, boost::asio::dynamic_buffer(all), error);
    return all;
}

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
    std::string Ask(const std::string& request, bool tls = false)
    {
        namespace asio = boost::asio;
        asio::io_context context;
        asio::ssl::context security(asio::ssl::context::tls_client);
        asio::ssl::stream<asio::ip::tcp::socket> stream(context, security);
        boost::system::error_code error;
        stream.next_layer().connect({asio::ip::address_v4::loopback(), camera->HttpPort()}, error);
        if (tls)
            stream.handshake(asio::ssl::stream_base::client, error);
        if (tls && !error)
        {
            asio::write(stream, asio::buffer(request), error);
            return ReadAll(stream);
        }
        asio::write(stream.next_layer(), asio::buffer(request), error);
        stream.next_layer().shutdown(asio::socket_base::shutdown_send, error);
        return ReadAll(stream.next_layer());
    }

    std::string Get(const std::string& target, const std::string& headers = "", bool tls = false)
    {
        return Ask("GET " + target + " HTTP/1.1\r\nConnection: close\r\n" + headers + "\r\n", tls);
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
    const struct
    {
        const char* name;
        std::string request;
        const char* answer; // that holds this
    } cases[] = {
        {"no HTTP", "hello\r\n\r\n", "HTTP/1.1 400 "},
        {"TLS to a plain port", std::string("\x16\x03\x01\x02\x00\x01\x00\r\n\r\n", 11), "HTTP/1.1 400 "},
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
        {"a picture of no channel", "GET /cgi-bin/video.jpg?channel=1 HTTP/1.0\r\n\r\n", "HTTP/1.1 404 "},
        {"a stream of no name", "GET /video9.mjpg HTTP/1.0\r\n\r\n", "HTTP/1.1 404 "},
        {"a stream of another codec", "GET /video.mjpg HTTP/1.0\r\n\r\n", "HTTP/1.1 409 "},
    };
    camera->Parameters().Change({{"videoin_c0_s0_codectype", "h264"}});
    for (const auto& c : cases)
        EXPECT_TRUE(Has(Ask(c.request), c.answer)) << c.name;

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

TEST_F(CameraHttp, AsksForCredentialsAndSpeaksTls)
{
    CameraOptions options;
    options.auth = AuthScheme::Digest;
    options.password = "secret";
    options.tls = true;
    Start(options);
    const std::string target = std::string(kGetparam) + "network_http_authmode";
    const std::string refused = Get(target, "", true);
    EXPECT_TRUE(refused.starts_with("HTTP/1.1 401 "));
    const std::size_t at = refused.find("nonce=\"") + 7;
    const std::string nonce = refused.substr(at, refused.find('"', at) - at);
    const DigestInput input{"root", "larkmoor-camera", "secret", "GET", target, nonce, "00000001", "c", true};
    EXPECT_TRUE(
        Has(Get(target,
                "Authorization: Digest username=\"root\", realm=\"larkmoor-camera\", nonce=\"" + nonce +
                    "\", uri=\"" + target + "\", qop=auth, nc=00000001, cnonce=\"c\", response=\"" +
                    DigestResponse(input) + "\"\r\n",
                true),
            "network_http_authmode='digest'\r\n"));
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
    EXPECT_EQ(object.at("md5"), Md5Hex(answer.substr(answer.find("\r\n\r\n") + 4)));
    std::remove(options.requestLog.c_str());
    std::remove(options.truth.c_str());
}

} // namespace
} // namespace larkmoor::camera
