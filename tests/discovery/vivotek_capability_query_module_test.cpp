#include "discovery/vivotek_camera_properties.h"

#include "discovery/parameter_book.h"
#include "support/fake_capability_sink.h"
#include "support/fake_capability_store.h"
#include "support/fake_host.h"
#include "support/http_test_server.h"

#include <gtest/gtest.h>

#include <array>
#include <mutex>

namespace korvane
{

namespace
{

using test::FakeCapabilitySink;
using test::FakeCapabilityStore;
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

class Module : public CVivotekCapabilityQueryModule
{
public:
    Module(ipcapture::ICapabilitySink* sink, std::uint32_t timeoutMs) : CVivotekCapabilityQueryModule(sink, 1)
    {
        device_.networkTimeoutMs = timeoutMs;
    }
};

/// A web server with a camera's parameters; a fault may stand in for the answer to one query.
class Camera
{
public:
    using Fault = std::function<bool(TestHttpPeer&, const std::string& rightAnswer)>;

    explicit Camera(std::string faultyQuery = "", Fault fault = nullptr)
        : faultyQuery_(std::move(faultyQuery)), fault_(std::move(fault))
    {
    }

    std::uint16_t Port() const { return server_.Port(); }
    std::size_t RequestCount() const { return server_.Requests().size(); }

private:
    bool Answer(TestHttpPeer& peer, const TestHttpRequest& request)
    {
        std::string body;
        {
            const std::lock_guard guard(mutex_);
            book_.Get(request.target, body);
        }
        const std::string answer = HttpTestServer::Response(200, body);
        if (fault_ && request.target.ends_with("?" + faultyQuery_))
            return fault_(peer, answer);
        return peer.Send(answer);
    }

    const std::string faultyQuery_;
    const Fault fault_;
    std::mutex mutex_; // guards the book
    test::ParameterBook book_{kCamera};
    HttpTestServer server_{[this](TestHttpPeer& peer, const TestHttpRequest& request)
                           { return Answer(peer, request); }};
};

struct ModuleQuery
{
    explicit ModuleQuery(const Camera& camera, std::uint32_t timeoutMs = 10000) : port(camera.Port())
    {
        module = std::make_unique<Module>(&sink, timeoutMs);
    }
    std::uint32_t Start() { return module->StartQuery("127.0.0.1", port, "root", "secret", &store); }
    std::string Result()
    {
        EXPECT_EQ(Start(), 1u);
        return sink.WaitForEnd();
    }

    const std::uint16_t port;
    FakeCapabilitySink sink;
    FakeCapabilityStore store;
    std::unique_ptr<Module> module;
};

Camera::Fault Status(int status)
{
    return [status](TestHttpPeer& peer, const std::string&)
    { return peer.Send(HttpTestServer::Response(status, "no")); };
}

std::string Noise()
{
    std::string noise(1 << 20, '\0');
    std::uint32_t state = 1;
    for (char& byte : noise)
        byte = static_cast<char>((state = state * 1664525 + 1013904223) >> 24);
    return noise;
}

} // namespace

TEST(VivotekCapabilityQueryModule, TakesEachAnswerAsItIsWritten)
{
    const char* const done = "done";
    const struct
    {
        const char* name;
        Camera::Fault fault;
        std::array<const char*, kQueries.size()> heard; // with the fault at each of the queries
    } cases[] = {
        {"401", Status(401), {kRefused, kRefused, kRefused, done, done, kRefused}},
        {"403", Status(403), {kFailed, kFailed, kFailed, done, done, kFailed}},
        {"404", Status(404), {kFailed, kFailed, kFailed, done, done, kFailed}},
        {"500", Status(500), {kFailed, kFailed, kFailed, done, done, kFailed}},
        {"empty",
         [](TestHttpPeer& peer, const std::string&) { return peer.Send(HttpTestServer::Response(204)); },
         {kFailed, kFailed, done, done, done, kFailed}},
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
         {
             peer.Send(answer.substr(0, answer.find("\r\n\r\n") + 4));
             return false;
         },
         {kFailed, kFailed, done, done, done, kFailed}},
    };
    for (const auto& c : cases)
    {
        for (std::size_t at = 0; at < kQueries.size(); ++at)
        {
            SCOPED_TRACE(std::string(c.name) + " for " + kQueries[at]);
            const Camera camera(kQueries[at], c.fault);
            ModuleQuery query(camera);
            EXPECT_EQ(query.Result(), c.heard[at]);
            EXPECT_EQ(query.store.Lines().empty(), c.heard[at] != done);
        }
    }
}

TEST(VivotekCapabilityQueryModule, IsCancelledInTheMiddleOfEachRequest)
{
    for (std::size_t at = 0; at < kQueries.size(); ++at)
    {
        SCOPED_TRACE(kQueries[at]);
        Module* module = nullptr;
        const Camera camera(kQueries[at],
                            [&](TestHttpPeer& peer, const std::string& answer)
                            {
                                module->TerminateQuery();
                                return peer.Send(answer);
                            });
        ModuleQuery query(camera);
        module = query.module.get();
        EXPECT_EQ(query.Result(), kFailed);
        EXPECT_EQ(camera.RequestCount(), at + 1);
        EXPECT_TRUE(query.store.Lines().empty());
    }
}

} // namespace korvane
