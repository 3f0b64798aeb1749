#include "camera/simulated_camera.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/write.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace larkmoor::camera
{
namespace
{

/// Sends requests one by one, with the session that SETUP gives.
class Client
{
public:
    explicit Client(std::uint16_t port) : port_(port)
    {
        socket_.connect({boost::asio::ip::address_v4::loopback(), port});
    }

    std::string Url(const std::string& path) const
    {
        return "rtsp://127.0.0.1:" + std::to_string(port_) + "/" + path;
    }

    /// The whole answer.
    std::string Ask(const std::string& method, const std::string& target, const std::string& headers = "")
    {
        const std::string session = session_.empty() ? "" : "Session: " + session_ + "\r\n";
        Send(method + " " + target + " RTSP/1.0\r\nCSeq: " + std::to_string(++cseq_) + "\r\n" + session +
             headers + "\r\n");
        boost::system::error_code error;
        std::size_t end = boost::asio::read_until(socket_, buffer_, "\r\n\r\n", error);
        if (const std::size_t at = pending_.find("Content-Length: "); at < end)
            end += std::stoul(pending_.substr(at + 16));
        boost::asio::read(socket_, buffer_,
                          boost::asio::transfer_exactly(end - std::min(end, pending_.size())), error);
        const std::string answer = pending_.substr(0, end);
        buffer_.consume(end);
        if (const std::size_t at = answer.find("\r\nSession: "); at != std::string::npos)
            session_ = answer.substr(at + 11, answer.find_first_of(";\r", at + 11) - at - 11);
        return answer;
    }

    void Send(const std::string& bytes)
    {
        boost::system::error_code error;
        boost::asio::write(socket_, boost::asio::buffer(bytes), error);
    }

    bool IsAtEnd()
    {
        boost::system::error_code error;
        boost::asio::read(socket_, buffer_, error);
        return error == boost::asio::error::eof || error == boost::asio::error::connection_reset;
    }

private:
    boost::asio::io_context context_;
    boost::asio::ip::tcp::socket socket_{context_};
    const std::uint16_t port_;
    std::string pending_;
    boost::asio::dynamic_string_buffer<char, std::char_traits<char>, std::allocator<char>> buffer_{pending_};
    std::string session_;
    int cseq_ = 0;
};

TEST(CameraRtspServer, AnswersEachRequestAsTheProtocolSays)
{
    CameraOptions options;
    options.auth = AuthScheme::Basic;
    options.password = "secret";
    options.parameters = {"videoin_c0_s0_codectype=h264", "videoin_c0_s1_codectype=mjpeg"};
    SimulatedCamera camera(options);
    std::string error;
    ASSERT_TRUE(camera.Start(error)) << error;
    Client client(camera.RtspPort());
    const std::string url = client.Url("live.sdp");
    const std::string transport = "Transport: RTP/AVP/TCP;interleaved=4-5\r\n";
    EXPECT_TRUE(client.Ask("OPTIONS", "*").starts_with("RTSP/1.0 200 "));
    EXPECT_NE(client.Ask("DESCRIBE", url).find("WWW-Authenticate: Basic realm="), std::string::npos);
    EXPECT_TRUE(client.Ask("DESCRIBE", url, "Authorization: Basic cm9vdDpzZWNyZXQ=\r\n")
                    .starts_with("RTSP/1.0 200 "));
    camera.Parameters().Change({{"network_rtsp_authmode", "disable"}});
    const struct
    {
        const char *name, *method;
        std::string target, headers;
        const char *status, *answer; // that holds this
    } steps[] = {
        {"options", "OPTIONS", "*", "", "200",
         "Public: OPTIONS, DESCRIBE, SETUP, PLAY, GET_PARAMETER, TEARDOWN\r\n"},
        {"no such stream", "DESCRIBE", client.Url("live9.sdp"), "", "404", "CSeq: 5\r\n"},
        {"no such method", "RECORD", url, "", "501", "Public: "},
        {"play without a session", "PLAY", url, "", "454", ""},
        {"teardown without a session", "TEARDOWN", url, "", "454", ""},
        {"describe, odd path", "DESCRIBE", client.Url("/live.sdp/?x=1"), "", "200",
         "Content-Base: rtsp://127.0.0.1:"},
        {"describe", "DESCRIBE", url, "", "200", "a=rtpmap:96 H264/90000\r\n"},
        {"no transport", "SETUP", url + "/trackID=1", "", "461", ""},
        {"transport that nobody has", "SETUP", url, "Transport: RAW/RAW/UDP;unicast\r\n", "461", ""},
        {"udp without ports", "SETUP", url, "Transport: RTP/AVP;unicast\r\n", "461", ""},
        {"setup of no stream", "SETUP", client.Url("x/trackID=1"), transport, "404", ""},
        {"setup, second choice", "SETUP", url + "/trackID=1",
         "Transport: RTP/SAVP;unicast,RTP/AVP/TCP;interleaved=4-5\r\n", "200",
         "Transport: RTP/AVP/TCP;unicast;interleaved=4-5;ssrc="},
        {"keep-alive", "GET_PARAMETER", url, "", "200", "Session: "},
        {"keep-alive by options", "OPTIONS", url, "", "200", "Public: "},
        {"teardown", "TEARDOWN", url, "", "200", ""},
        {"keep-alive of a session that is gone", "GET_PARAMETER", url, "", "454", ""},
    };
    for (const auto& step : steps)
    {
        SCOPED_TRACE(step.name);
        const std::string answer = client.Ask(step.method, step.target, step.headers);
        EXPECT_EQ(answer.substr(0, 12), std::string("RTSP/1.0 ") + step.status);
        EXPECT_NE(answer.find(step.answer), std::string::npos) << answer;
    }
    client.Send("\x16\x03\x01 hello\r\n\r\n");
    EXPECT_TRUE(client.IsAtEnd());
}

} // namespace
} // namespace larkmoor::camera
