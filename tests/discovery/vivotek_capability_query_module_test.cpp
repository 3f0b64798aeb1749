#include "discovery/vivotek_camera_properties.h"

#include "discovery/parameter_book.h"
#include "support/fake_capability_sink.h"
#include "support/fake_capability_store.h"
#include "support/http_test_server.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <string>

namespace korvane
{

namespace
{

using test::HttpTestServer;
using test::TestHttpPeer;
using test::TestHttpRequest;

constexpr const char* kFailed = "failed 3 Failed to get camera properties";
constexpr const char* kRefused =
    "failed 1 Failed to get camera properties, login failed (invalid credentials)";

/// What a camera is asked, in order.
constexpr std::array kQueries = {"system_info_modelname", "capability&status", "capability",
                                 "camctrl_c0_preset",     "videoin",           "network"};

const test::ParameterBook::Parameters kCamera = {
    {"system_info_modelname", "IP8332"},          {"capability_videoin_codec", "mjpeg"},
    {"capability_videoin_resolution", "640x480"}, {"camctrl_c0_preset_i0_name", "door"},
    {"videoin_c0_s0_codectype", "mjpeg"},         {"network_rtsp_port", "554"},
};

using Fault = std::function<bool(TestHttpPeer&, const std::string& rightAnswer)>;

std::string Noise()
{
    std::string noise(1 << 20, '\0');
    std::uint32_t state = 1;
    for (char& byte : noise)
        byte = static_cast<char>((state = state * 1664525 + 1013904223) >> 24);
    return noise;
}

/// What the sink hears of a camera that answers to `faultyQuery` as `fault` does.
std::string HeardOf(const std::string& faultyQuery, const Fault& fault)
{
    const HttpTestServer camera(
        [&](TestHttpPeer& peer, const TestHttpRequest& request)
        {
            std::string body;
            test::ParameterBook(kCamera).Get(request.target, body);
            const std::string answer = HttpTestServer::Response(200, body);
            return request.target.ends_with("?" + faultyQuery) ? fault(peer, answer) : peer.Send(answer);
        });
    test::FakeCapabilitySink sink;
    test::FakeCapabilityStore store;
    CVivotekCapabilityQueryModule module(&sink, 1);
    EXPECT_EQ(module.StartQuery("127.0.0.1", camera.Port(), "root", "secret", &store), 1u);
    const std::string heard = sink.WaitForEnd();
    EXPECT_EQ(store.Lines().empty(), heard != "done");
    return heard;
}

} // namespace

TEST(VivotekCapabilityQueryModule, TakesEachAnswerAsItIsWritten)
{
    const char* const done = "done";
    const struct
    {
        const char* name;
        Fault fault;
        std::array<const char*, kQueries.size()> heard; // with the fault at each of the queries
    } cases[] = {
        {"401",
         [](TestHttpPeer& peer, const std::string&) { return peer.Send(HttpTestServer::Response(401)); },
         {kRefused, kRefused, kRefused, done, done, kRefused}},
        {"403",
         [](TestHttpPeer& peer, const std::string&) { return peer.Send(HttpTestServer::Response(403)); },
         {kFailed, kFailed, kFailed, done, done, kFailed}},
        {"1 MB of noise",
         [](TestHttpPeer& peer, const std::string&)
         { return peer.Send(HttpTestServer::Response(200, Noise())); },
         {kFailed, kFailed, done, done, done, done}},
        {"one byte after the other",
         [](TestHttpPeer& peer, const std::string& answer) { return peer.SendSlowly(answer, 1); },
         {done, done, done, done, done, done}},
        {"cut before the answer",
         [](TestHttpPeer& peer, const std::string&)
         {
             peer.Reset();
             return false;
         },
         {kFailed, kFailed, kFailed, done, done, kFailed}},
        {"cut behind the head",
         [](TestHttpPeer& peer, const std::string& answer)
         { return peer.Send(answer.substr(0, answer.find("\r\n\r\n") + 4)) && false; },
         {kFailed, kFailed, done, done, done, kFailed}},
    };
    for (const auto& c : cases)
        for (std::size_t at = 0; at < kQueries.size(); ++at)
            EXPECT_EQ(HeardOf(kQueries[at], c.fault), c.heard[at]) << c.name << " for " << kQueries[at];
}

} // namespace korvane
