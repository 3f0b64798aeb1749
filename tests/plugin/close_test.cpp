// How long the closes and stops of everything but video and audio take, whatever the device does.

#include "plugin/larkmoor_driver.h"

#include "discovery/vivotek_camera_properties.h"
#include "support/fake_capability_sink.h"
#include "support/fake_capability_store.h"
#include "support/fake_host.h"
#include "support/http_test_server.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <thread>
#include <utility>

namespace korvane
{
namespace
{

using std::chrono::milliseconds;
using test::HttpTestServer;
using test::TestHttpPeer;
using test::TestHttpRequest;

constexpr milliseconds kBound(2000), kHeadBound(4000), kSlowMachine(1000);

bool SaysNothing(TestHttpPeer& peer, const TestHttpRequest&)
{
    return peer.WaitClosed() && false;
}

bool DripsItsHead(TestHttpPeer& peer, const TestHttpRequest&)
{
    return peer.SendSlowly("HTTP/1.1 200 OK\r\nX: " + std::string(1000, 'y'), 1000) && false;
}

bool DripsItsBody(TestHttpPeer& peer, const TestHttpRequest&)
{
    return peer.Send("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n") &&
           peer.SendSlowly(std::string(1000, 'y'), 1000) && false;
}

bool Resets(TestHttpPeer& peer, const TestHttpRequest&)
{
    peer.Reset();
    return false;
}

/// What a device does with every request but that for its presets.
struct Device
{
    const char* name;
    HttpTestServer::Script script; // none: it takes the connection and reads nothing
};

const Device kDevices[] = {{"silent", SaysNothing},
                           {"dripping head", DripsItsHead},
                           {"dripping body", DripsItsBody},
                           {"resetting", Resets},
                           {"half-open", nullptr}};

/// A driver for a device that misbehaves.
class Rig
{
public:
    explicit Rig(const Device& device)
    {
        if (device.script != nullptr)
            server_ = std::make_unique<HttpTestServer>(
                [script = device.script](TestHttpPeer& peer, const TestHttpRequest& request)
                {
                    return request.target.ends_with("_preset")
                               ? peer.Send(HttpTestServer::Response(200, "camctrl_c0_preset_i0_name='door'"))
                               : script(peer, request);
                });
        settings.port = Port();
        for (std::uint32_t number = 1; number <= 16; ++number)
            settings.parameters[number] = "1";
        settings.parameters[4] = ""; // no presets
        settings.parameters[5] = "11110000";
        settings.parameters[15] = "0"; // a head with speeds
    }
    ~Rig() { halfOpen_.End(); }

    std::uint16_t Port() const { return server_ ? server_->Port() : halfOpen_.Port(); }
    bool IsHalfOpen() const { return !server_; }
    void WaitForRequest(std::size_t count = 1) const
    {
        if (server_)
            server_->WaitForRequests(count);
        else
            EXPECT_GE(halfOpen_.Accept(), 0);
    }
    ipcapture::IIPPTZApi* Open()
    {
        EXPECT_TRUE(driver.Open(&sink, &allocator, &settings));
        ipcapture::IIPPTZApi* const head = driver.GetPTZ()->GetPTZControl(0);
        EXPECT_NE(head, nullptr);
        return head;
    }
    milliseconds Close()
    {
        return Timed([this] { driver.Close(); });
    }
    static milliseconds Timed(const std::function<void()>& action)
    {
        const auto start = std::chrono::steady_clock::now();
        action();
        return std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - start);
    }

    test::FakeSink sink;
    test::FakeAllocator allocator;
    test::FakeDeviceSettings settings;

private:
    std::unique_ptr<HttpTestServer> server_;
    const test::LoopbackListener halfOpen_;

public:
    CLarkmoorDriver driver;
};

milliseconds CloseWithAQueuedStop(Rig& rig)
{
    ipcapture::IIPPTZApi* const head = rig.Open();
    head->StartMove(0, 5);
    rig.WaitForRequest();
    head->ZoomIn(5);
    head->Stop();
    return rig.Close();
}

/// A preset is recalled by another thread, and a command waits for that.
milliseconds CloseWithAPreset(Rig& rig)
{
    if (rig.IsHalfOpen())
        return {}; // which gives no presets
    rig.settings.parameters[4] = "1";
    ipcapture::IIPPTZApi* const head = rig.Open();
    std::thread other([head] { head->RecallPreset(1, "door"); });
    rig.WaitForRequest(2);
    head->StartMove(0, 5);
    head->Stop();
    const milliseconds took = rig.Close();
    other.join();
    return took;
}

milliseconds StopWithIO(Rig& rig, std::uint32_t inputs, std::uint32_t outputs)
{
    rig.settings.inputCount = inputs;
    rig.settings.outputCount = outputs;
    EXPECT_TRUE(rig.driver.Open(&rig.sink, &rig.allocator, &rig.settings));
    EXPECT_TRUE(rig.driver.GetIO()->StartIO());
    rig.WaitForRequest();
    const milliseconds stop = rig.Timed([&] { rig.driver.GetIO()->StopIO(); });
    return stop + rig.Close();
}

/// Timed until the sink has heard of the failure.
template <class End>
milliseconds EndQuery(Rig& rig, End end)
{
    test::FakeCapabilitySink heard;
    test::FakeCapabilityStore store;
    auto module = std::make_unique<CVivotekCapabilityQueryModule>(&heard, 0);
    EXPECT_EQ(module->StartQuery("127.0.0.1", rig.Port(), "root", "secret", &store), 1u);
    rig.WaitForRequest();
    return rig.Timed(
        [&]
        {
            end(module);
            EXPECT_EQ(heard.WaitForEnd(), "failed 3 Failed to get camera properties");
        });
}

TEST(Close, KeepsItsBoundWhateverTheDeviceDoes)
{
    const struct
    {
        const char* name;
        std::function<milliseconds(Rig&)> end;
        milliseconds bound;
    } jobs[] = {
        {"head, a command in hand and a stop queued", CloseWithAQueuedStop, kHeadBound},
        {"head, a preset in hand", CloseWithAPreset, kHeadBound},
        {"inputs", [](Rig& rig) { return StopWithIO(rig, 2, 0); }, kBound},
        {"outputs", [](Rig& rig) { return StopWithIO(rig, 0, 2); }, kBound},
        {"query, terminated",
         [](Rig& rig) { return EndQuery(rig, [](const auto& module) { module->TerminateQuery(); }); },
         kBound},
        {"query, deleted", [](Rig& rig) { return EndQuery(rig, [](auto& module) { module.reset(); }); },
         kBound},
    };
    struct Row
    {
        std::string name;
        milliseconds bound, took{};
    };
    std::list<Row> rows;
    std::list<std::jthread> threads;
    for (const auto& job : jobs)
    {
        for (const Device& device : kDevices)
        {
            Row& row = rows.emplace_back(std::string(job.name) + ", " + device.name + " device", job.bound);
            threads.emplace_back(
                [&]
                {
                    Rig rig(device);
                    row.took = job.end(rig);
                });
        }
    }
    threads.clear(); // joins them
    for (const Row& row : rows)
    {
        std::printf("%-44s %6lld ms\n", row.name.c_str(), static_cast<long long>(row.took.count()));
        EXPECT_LT(row.took, row.bound + kSlowMachine) << row.name;
    }
}

} // namespace
} // namespace korvane
