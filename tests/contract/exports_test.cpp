#include "support/fake_capability_sink.h"
#include "support/fake_capability_store.h"
#include "support/fake_host.h"
#include "support/http_test_server.h"

#include <larkmoor/exports.h>

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <atomic>
#include <string>

namespace korvane
{
namespace
{

using namespace ipcapture;

/// The library as a host has it. It stays loaded: the sanitizers name what they find only in a library that
/// is still there at the end.
template <class Function>
Function Export(const char* name)
{
    static void* const library =
        dlopen((std::string(LARKMOOR_BINARY_DIR) + "/liblarkmoor.so").c_str(), RTLD_NOW);
    EXPECT_NE(library, nullptr) << dlerror();
    void* const address = dlsym(library, name);
    EXPECT_NE(address, nullptr) << name;
    return reinterpret_cast<Function>(address);
}

TEST(Exports, GiveAWholeDriverAtEachLevel)
{
    const auto create = Export<CreateIPCaptureFunction>("CreateIPCapture");
    const auto destroy = Export<DeleteIPCaptureEx4Function>("DeleteIPCaptureEx4");
    test::FakeAllocator allocator;
    test::FakeChannelClient client;
    test::FakeChannelSettings channelSettings;
    test::FakeDeviceSettings settings;
    settings.codec = 4; // one that nobody serves
    test::FakeSink sink;

    IIPCaptureDriver* const driver = create();
    ASSERT_NE(driver, nullptr);
    auto* const latest = static_cast<IIPCaptureDriverEx4*>(driver); // one chain of interfaces, one object
    EXPECT_EQ(latest->GetVideoCaptureEx(), nullptr);
    ASSERT_TRUE(driver->Open(&sink, &allocator, &settings));
    EXPECT_EQ(latest->GetReservedEx(), nullptr);
    EXPECT_EQ(latest->GetReservedEx2(), nullptr);
    IIPVideoCaptureEx* const capture = latest->GetVideoCaptureEx();
    ASSERT_NE(capture, nullptr);
    EXPECT_EQ(capture->GetChannelCount(), 1u);
    EXPECT_TRUE(capture->StartChannel(0, &client, &channelSettings));
    EXPECT_FALSE(capture->StopChannel(0));
    EXPECT_EQ(capture->GetReservedValue(), 0u);
    EXPECT_FALSE(capture->ReservedCall1(1, 2, 3));
    EXPECT_FALSE(capture->ReservedCallEx2(1));
    driver->Close();
    EXPECT_EQ(driver->GetVideoCapture(), nullptr);
    destroy(latest);
    destroy(nullptr);
}

TEST(Exports, RunOneQueryModuleForTheProcess)
{
    const auto init = Export<InitCapabilityQueryFunction>("InitCapabilityQuery");
    const auto start = Export<StartCapabilityQueryFunction>("StartCapabilityQuery");
    const auto terminate = Export<TerminateCapabilityQueryFunction>("TerminateCapabilityQuery");
    const auto uninit = Export<UninitCapabilityQueryFunction>("UninitCapabilityQuery");
    test::FakeCapabilitySink sink;
    test::FakeCapabilitySink other;
    test::FakeCapabilityStore store;
    const char* const badAddress = "127.0.0.1:80"; // refused by the query's thread, before any request

    EXPECT_EQ(start(badAddress, 80, "root", "", &store), 0u);
    EXPECT_EQ(terminate(), 1u);
    EXPECT_EQ(uninit(), 1u);

    EXPECT_EQ(init(&sink, 1), 1u);
    EXPECT_EQ(init(&other, 1), 0u);
    EXPECT_EQ(start(nullptr, 80, "root", "", &store), 0u);
    EXPECT_EQ(start(badAddress, 80, nullptr, "", &store), 0u);
    EXPECT_EQ(start(badAddress, 80, "root", nullptr, &store), 0u);
    EXPECT_EQ(start(badAddress, 80, "", "", &store), 1u);
    EXPECT_EQ(sink.WaitForEnd(),
              "failed 0 Failed to start capability fetching thread. Device address is invalid!");
    EXPECT_EQ(start(badAddress, 80, "", "", &store), 0u); // one query in a module's life
    EXPECT_EQ(terminate(), 1u);
    EXPECT_EQ(uninit(), 1u);

    EXPECT_EQ(init(&other, 0), 1u);
    EXPECT_EQ(start(badAddress, 80, "", "", &store), 1u);
    EXPECT_TRUE(other.WaitForEnd().starts_with("failed 0 "));
    EXPECT_EQ(uninit(), 1u);
    EXPECT_EQ(start(badAddress, 80, "", "", &store), 0u);
    EXPECT_TRUE(store.Lines().empty());
}

TEST(Exports, RunTwoQueriesAtOnceThatDontSeeEachOther)
{
    const auto create = Export<CreateCapabilityQueryModuleFunction>("CreateCapabilityQueryModule");
    const auto destroy = Export<DeleteCapabilityQueryModuleFunction>("DeleteCapabilityQueryModule");
    const auto init = Export<InitCapabilityQueryFunction>("InitCapabilityQuery");
    const auto start = Export<StartCapabilityQueryFunction>("StartCapabilityQuery");
    const auto terminate = Export<TerminateCapabilityQueryFunction>("TerminateCapabilityQuery");
    const auto uninit = Export<UninitCapabilityQueryFunction>("UninitCapabilityQuery");

    // A camera of one group that holds all; it answers nobody before both have asked.
    std::atomic<int> asked = 0;
    const test::HttpTestServer camera(
        [&](test::TestHttpPeer& peer, const test::TestHttpRequest&)
        {
            if (++asked == 2)
                terminate();
            while (asked < 2 && peer.Pause(1))
            {
            }
            return peer.Send(test::HttpTestServer::Response(
                200, "system_info_modelname='IP8332'\r\ncapability_videoin_codec='h264'\r\n"
                     "capability_videoin_resolution='640x480'\r\n"));
        });
    test::FakeCapabilitySink sink;
    test::FakeCapabilitySink processSink;
    test::FakeCapabilityStore store;
    test::FakeCapabilityStore processStore;
    IIPCapabilityQuery* const module = create(&sink, 1);
    ASSERT_NE(module, nullptr);
    EXPECT_EQ(init(&processSink, 1), 1u);
    EXPECT_EQ(module->StartQuery("127.0.0.1", camera.Port(), "", "", &store), 1u);
    EXPECT_EQ(start("127.0.0.1", camera.Port(), "", "", &processStore), 1u);
    EXPECT_EQ(sink.WaitForEnd(), "done");
    EXPECT_EQ(processSink.WaitForEnd(), "failed 3 Failed to get camera properties");
    EXPECT_EQ(store.Value("model"), "Vivotek IP8332");
    EXPECT_TRUE(processStore.Lines().empty());
    destroy(module);
    EXPECT_EQ(uninit(), 1u);
}

} // namespace
} // namespace korvane
