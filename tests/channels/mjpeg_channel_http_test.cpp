#include "channels/mjpeg_channel_http.h"

#include "support/fake_driver.h"
#include "support/http_test_server.h"

#include <gtest/gtest.h>

namespace korvane
{
namespace
{

using test::HttpTestServer;
using test::TestHttpPeer;
using test::TestHttpRequest;

const std::string kStreamHead =
    "HTTP/1.1 200 OK\r\nContent-Type: multipart/x-mixed-replace; boundary=b\r\n\r\n";

/// A part with a baseline picture of 64x48.
const std::string kPart =
    "--b\r\nContent-Type: image/jpeg\r\n\r\n" +
    std::string("\xFF\xD8\xFF\xC0\x00\x11\x08\x00\x30\x00\x40\x03\x01\x22\x00\x02\x11\x01\x03\x11\x01"
                "\xFF\xDA\x00\x02\xFF\xD9\r\n",
                29);

struct HttpChannel : testing::Test
{
    HttpChannel()
    {
        driver.device.networkTimeoutMs =
            60000; // whatever ends sooner than that has not waited for a time-out
        driver.device.signalLossTimeoutMs = 60000;
        driver.allocator = &allocator;
        driver.properties = {{6, "2"}, {14, "2;video.mjpg!video2.mjpg,other.mjpg;live.sdp"}};
        settings.width = 352;
        settings.height = 288;
        settings.quality = 100;
    }

    void Connect(const HttpTestServer& server) { driver.device.port = server.Port(); }

    test::FakeDriver driver;
    test::FakeAllocator allocator;
    test::FakeChannelClient client;
    ChannelSettings settings;
};

TEST_F(HttpChannel, BringsTheSensorIntoTheModeForTheSize)
{
    const std::string get = "/cgi-bin/admin/getparam.cgi?", set = "/cgi-bin/admin/setparam.cgi?";
    const std::string resolution = "videoin_c0_s0_resolution";
    std::atomic<int> reads{0}; // of the size
    HttpTestServer server(
        [&](TestHttpPeer& peer, const TestHttpRequest& request)
        {
            if (request.target == "/video.mjpg")
                return peer.Send(kStreamHead + kPart) && peer.WaitClosed();
            if (request.target == get + "videoin_c0_options")
                return peer.Send(HttpTestServer::Response(200, "videoin_c0_options='framerate'\r\n"));
            // The new mode is there at the third look, with its own size.
            const bool isOld = request.target == get + resolution && ++reads == 2;
            return peer.Send(
                HttpTestServer::Response(200, resolution + (isOld ? "='640x480'\r\n" : "='800x600'\r\n")));
        });
    Connect(server);
    driver.properties = {{6, "1"}, {8, "1"}, {14, "1;/video.mjpg;"}};
    settings.width = 1280;
    settings.height = 1024;
    CMJPEGChannelHTTP channel(0, &driver, &client);
    ASSERT_TRUE(channel.Start(settings));
    ASSERT_TRUE(client.WaitForFrames(1));
    channel.Stop();
    client.EndCalls();
    const std::vector<std::string> expected = {
        get + "videoin_c0_options",
        get + resolution,
        set + resolution + "=640x480",
        set + "videoin_c0_options=quality",
        get + resolution,
        get + resolution,
        set + "videoin_c0_s0_codectype=mjpeg&videoin_c0_s0_field2frame=1&videoin_c0_s0_resolution=1280x1024"
              "&videoin_c0_s0_mjpeg_quant=5&videoin_c0_s0_mjpeg_qvalue=10",
        "/video.mjpg"};
    EXPECT_EQ(server.Targets(), expected);
}

TEST_F(HttpChannel, SendsNothingThatItCannotSayInFull)
{
    HttpTestServer server([](TestHttpPeer& peer, const TestHttpRequest&)
                          { return peer.Send(HttpTestServer::Response(404, "none")); });
    Connect(server);
    driver.properties[6] = "1"; // a device whose sensor mode can't be read
    CMJPEGChannelHTTP failing(0, &driver, &client);
    driver.properties[6] = "2"; // a device that has no name for the size
    CMJPEGChannelHTTP mute(1, &driver, &client);
    settings.width = 721;
    ASSERT_TRUE(mute.Start(settings));
    ASSERT_TRUE(failing.Start(settings));
    server.WaitForRequests(2); // so the other, which was started before, has had an attempt too
    EXPECT_EQ(failing.GetChannelState(), kChannelConnecting);
    EXPECT_EQ(mute.GetChannelState(), kChannelConnecting);
    failing.Stop();
    mute.Stop();
    client.EndCalls();
    for (const std::string& target : server.Targets())
        EXPECT_EQ(target, "/cgi-bin/admin/getparam.cgi?videoin_c0_options");
}

TEST_F(HttpChannel, SetsALegacyDeviceUpOnlyWhereItDiffers)
{
    std::atomic<int> streams{0};
    HttpTestServer server(
        [&](TestHttpPeer& peer, const TestHttpRequest& request)
        {
            if (request.target.starts_with("/cgi-bin/admin/getparam.cgi"))
                return peer.Send(HttpTestServer::Response(
                    200,
                    std::string(
                        "video.enable.0='1'\r\nvideo.color.0=' 1'\r\nvideo.size.0='2'\r\nvideo.quality.0='") +
                        (streams == 0 ? "1" : "5") + "'\r\n"));
            if (request.target.starts_with("/cgi-bin/admin/setparam.cgi"))
                return peer.Send(HttpTestServer::Response(200, "ok"));
            ++streams;
            peer.Send(kStreamHead + kPart);
            return false;
        });
    Connect(server);
    driver.properties = {{9, "1"}};
    CMJPEGChannelHTTP channel(0, &driver, &client);
    ASSERT_TRUE(channel.Start(settings));
    ASSERT_TRUE(client.WaitForFrames(2));
    channel.Stop();
    client.EndCalls();
    const std::string get = "/cgi-bin/admin/getparam.cgi?video";
    const std::string stream = "/cgi-bin/video.jpg?cam=1&quality=5&size=2";
    const std::vector<std::string> expected = {get, "/cgi-bin/admin/setparam.cgi?video.quality.0=5", stream,
                                               get, stream};
    EXPECT_EQ(server.Targets(), expected);
}

} // namespace
} // namespace korvane
