#include "support/http_test_server.h"
#include "support/scripted_rtsp_server.h"
#include "system/fault_rig.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <exception>
#include <functional>
#include <thread>

namespace larkmoor::test
{
namespace
{

using korvane::test::HttpTestServer;
using korvane::test::ScriptedRTSPServer;
using korvane::test::TestHttpPeer;
using korvane::test::TestHttpRequest;
using std::chrono::milliseconds;

constexpr const char* kKeptAlive = "h264, OPTIONS unanswered";

host::Transport rtpTransport = host::Transport::Udp;

host::Transport TransportOf(host::Codec codec)
{
    return codec == kMjpeg ? host::Transport::Http : rtpTransport;
}

milliseconds StopAndClose(TestHost& recorder)
{
    const milliseconds took = recorder.Stop();
    EXPECT_EQ(recorder.State(), 3u);
    EXPECT_EQ(recorder.Close(), "");
    return took;
}

/// Stops as soon as `when` returns.
milliseconds StopAgainstCamera(host::Codec codec, const std::string& faults,
                               const std::function<bool(TestHost&, TestCamera&)>& when)
{
    camera::CameraOptions options;
    if (!faults.empty())
        options.faults = {faults};
    TestCamera camera(options);
    TestHost recorder(camera.Device(codec, TransportOf(codec)));
    EXPECT_TRUE(recorder.Start());
    EXPECT_TRUE(when(recorder, camera));
    return StopAndClose(recorder);
}

/// Stops while the first request to `serve` waits for what never comes.
milliseconds StopAgainstWebServer(host::Codec codec, HttpTestServer::Script serve)
{
    HttpTestServer server(std::move(serve));
    TestHost recorder(DeviceAt(server.Port(), 554, codec, TransportOf(codec)));
    EXPECT_TRUE(recorder.Start());
    server.WaitForRequests(1);
    return StopAndClose(recorder);
}

/// Stops while the device's RTSP server owes the answer to that method; "" is to the connection itself.
milliseconds StopAgainstRtspServer(const std::string& silentAt)
{
    const bool isBlackHole = silentAt.empty();
    const korvane::test::BlackHole hole;
    ScriptedRTSPServer server(
        [&silentAt](const std::string& method, const std::string& request) {
            return method == silentAt ? ScriptedRTSPServer::Reply{}
                                      : ScriptedRTSPServer::Ordinary(method, request);
        });
    TestCamera camera({});
    host::Device device = camera.Device(kH264, rtpTransport);
    device.properties[3] = std::to_string(isBlackHole ? hole.Port() : server.Port());
    TestHost recorder(device);
    EXPECT_TRUE(recorder.Start());
    EXPECT_TRUE(isBlackHole ? hole.WaitForConnection() : server.WaitForMethod(silentAt));
    return StopAndClose(recorder);
}

bool SaysNothing(TestHttpPeer& peer, const TestHttpRequest&)
{
    return peer.WaitClosed() && false;
}

bool NeverEndsItsHead(TestHttpPeer& peer, const TestHttpRequest&)
{
    return peer.SendSlowly("HTTP/1.1 200 OK\r\nX: " + std::string(1000, 'y'), 100) && false;
}

bool NeverEndsItsBody(TestHttpPeer& peer, const TestHttpRequest&)
{
    return peer.Send("HTTP/1.1 200 OK\r\nContent-Length: 1000000\r\n\r\n") &&
           peer.SendSlowly(std::string(1000, 'y'), 100) && false;
}

milliseconds StopAgainstNobody(host::Codec codec)
{
    const std::uint16_t deadPort = HttpTestServer(SaysNothing).Port(); // of a server that has just gone
    TestHost recorder(DeviceAt(deadPort, 554, codec, TransportOf(codec)));
    EXPECT_TRUE(recorder.Start());
    // The channel of H.264 tells nothing before it has had a stream.
    EXPECT_TRUE(codec == kH264 || recorder.WaitForState(2));
    return StopAndClose(recorder);
}

TEST(StopChannel, KeepsItsBoundInEveryState)
{
    const auto framesCome = [](TestHost& recorder, TestCamera&) { return recorder.WaitForFrames(5); };
    const auto streamIsLost = [](TestHost& recorder, TestCamera& camera)
    {
        const bool came = recorder.WaitForFrames(5);
        camera.Play("half-open");
        return came && recorder.WaitForState(2);
    };
    const auto fallsSilent = [](TestHost& recorder, TestCamera& camera)
    {
        const bool came = recorder.WaitForFrames(5);
        camera.Play("half-open");
        while (recorder.WaitForFrames(recorder.FrameCount() + 1, std::chrono::seconds(1)))
            ;
        return came;
    };
    const auto atOnce = [](TestHost&, TestCamera&) { return true; };
    const struct
    {
        const char* name;
        std::function<milliseconds()> stop;
    } cases[] = {
        {"mjpeg, at once", [&] { return StopAgainstCamera(kMjpeg, "freeze", atOnce); }},
        {"mjpeg, running", [&] { return StopAgainstCamera(kMjpeg, "", framesCome); }},
        {"mjpeg, silent camera", [&] { return StopAgainstCamera(kMjpeg, "", fallsSilent); }},
        {"mjpeg, lost camera", [&] { return StopAgainstCamera(kMjpeg, "", streamIsLost); }},
        {"mjpeg, nobody there", [] { return StopAgainstNobody(kMjpeg); }},
        {"mjpeg, no answer", [] { return StopAgainstWebServer(kMjpeg, SaysNothing); }},
        {"mjpeg, endless head", [] { return StopAgainstWebServer(kMjpeg, NeverEndsItsHead); }},
        {"mjpeg, endless body", [] { return StopAgainstWebServer(kMjpeg, NeverEndsItsBody); }},
        {"h264, at once", [&] { return StopAgainstCamera(kH264, "freeze", atOnce); }},
        {"h264, running", [&] { return StopAgainstCamera(kH264, "", framesCome); }},
        {"h264, silent camera", [&] { return StopAgainstCamera(kH264, "", fallsSilent); }},
        {"h264, lost camera", [&] { return StopAgainstCamera(kH264, "", streamIsLost); }},
        {"mpeg4, running", [&] { return StopAgainstCamera(kMpeg4, "", framesCome); }},
        {"mpeg4, lost camera", [&] { return StopAgainstCamera(kMpeg4, "", streamIsLost); }},
        {"h264, nobody there", [] { return StopAgainstNobody(kH264); }},
        {"h264, no answer", [] { return StopAgainstWebServer(kH264, SaysNothing); }},
        {"h264, endless head", [] { return StopAgainstWebServer(kH264, NeverEndsItsHead); }},
        {"h264, endless body", [] { return StopAgainstWebServer(kH264, NeverEndsItsBody); }},
        {"h264, connection unanswered", [] { return StopAgainstRtspServer(""); }},
        {"h264, DESCRIBE unanswered", [] { return StopAgainstRtspServer("DESCRIBE"); }},
        {"h264, SETUP unanswered", [] { return StopAgainstRtspServer("SETUP"); }},
        {"h264, PLAY unanswered", [] { return StopAgainstRtspServer("PLAY"); }},
        {kKeptAlive, [] { return StopAgainstRtspServer("OPTIONS"); }},
    };
    for (const auto transport : {host::Transport::Udp, host::Transport::Tcp})
    {
        rtpTransport = transport;
        Rig::Use(transport);
        std::vector<milliseconds> took(std::size(cases));
        std::vector<std::thread> threads;
        for (std::size_t i = 0; i < std::size(cases); ++i)
        {
            const std::string_view name = cases[i].name; // nothing keeps an interleaved session alive but RTP
            if (transport == host::Transport::Udp || (!name.starts_with("mjpeg") && name != kKeptAlive))
                threads.emplace_back([&, i] { took[i] = cases[i].stop(); });
        }
        for (std::thread& thread : threads)
            thread.join();
        std::printf("%s\n", transport == host::Transport::Udp ? "over UDP" : "interleaved");
        for (std::size_t i = 0; i < std::size(cases); ++i)
        {
            std::printf("%-28s %6lld ms\n", cases[i].name, static_cast<long long>(took[i].count()));
            EXPECT_LT(took[i], korvane::test::kStopBound) << cases[i].name;
        }
    }
}

} // namespace
} // namespace larkmoor::test
