// The query of the bench host, with the real driver, against the simulated camera and servers that are none.

#include "camera/simulated_camera.h"
#include "host/contract/capability_store.h"
#include "host/device/device.h"
#include "host/device/device_file.h"
#include "host/frame_tests.h"
#include "host/program.h"
#include "support/http_test_server.h"

#include <gmock/gmock.h>

#include <condition_variable>

namespace larkmoor::host::test
{

using camera::AuthScheme;
using camera::CameraOptions;
using camera::SimulatedCamera;
using korvane::test::HttpTestServer;
using korvane::test::TestHttpPeer;
using korvane::test::TestHttpRequest;
using testing::HasSubstr;
using testing::Not;

namespace
{

class QueryProgram : public testing::Test
{
protected:
    void StartCamera(const std::string& profile)
    {
        CameraOptions options;
        options.profile = profile;
        options.auth = AuthScheme::Digest;
        options.password = "secret";
        camera = std::make_unique<SimulatedCamera>(options);
        std::string error;
        ASSERT_TRUE(camera->Start(error)) << error;
    }

    static ProgramEnd Query(std::uint16_t port, const std::string& password,
                            std::vector<std::string> more = {})
    {
        more.insert(more.begin(),
                    {"query", "--port", std::to_string(port), "--user", "root", "--password", password});
        return RunBenchHost(more);
    }

    std::unique_ptr<SimulatedCamera> camera;
    TemporaryFolder folder;
};

} // namespace

TEST_F(QueryProgram, ShowsAndSavesWhatTheDeviceIs)
{
    StartCamera("dome");
    const std::string file = folder / "dome.json";
    const ProgramEnd end = Query(camera->HttpPort(), "secret", {"--raw", "--save", file});
    EXPECT_EQ(end.status, 0) << end.output;
    for (const char* part :
         {"Vivotek SD8121\n", "1, NTSC", "h264, mpeg4, mjpeg", "1280x720    up to 30 frames",
          "live.sdp, live2.sdp", "4 inputs, 1 output", "pan, tilt, zoom, focus, iris; 20 presets",
          "parameter 11, \"PTZ max speed\", number = 10", "value 2 = 4"})
        EXPECT_THAT(end.output, HasSubstr(part));
    EXPECT_THAT(end.output, Not(HasSubstr("secret")));

    EXPECT_EQ(std::filesystem::status(file).permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    const Device device = ReadDeviceFile(file);
    EXPECT_EQ(device.address, "127.0.0.1");
    EXPECT_EQ(device.port, camera->HttpPort());
    EXPECT_EQ(device.password, "secret");
    EXPECT_EQ(device.model, "Vivotek SD8121");
    EXPECT_EQ(device.codec, Codec::H264);
    EXPECT_EQ(device.inputs, 4u);
    EXPECT_EQ(device.properties.size(), 18u);
    EXPECT_EQ(device.properties.at(14), "2;video.mjpg!video2.mjpg;live.sdp!live2.sdp");
}

TEST_F(QueryProgram, TellsByItsStatusWhyItCameToNothing)
{
    StartCamera("ip7135");
    const HttpTestServer stranger([](TestHttpPeer& peer, const TestHttpRequest&)
                                  { return peer.Send(HttpTestServer::Response(404, "not here")); });
    const HttpTestServer rude(
        [](TestHttpPeer& peer, const TestHttpRequest&)
        {
            peer.Reset();
            return false;
        });
    const struct
    {
        const char* name;
        std::uint16_t port;
        const char* password;
        const char* address;
        int status;
        const char* says;
    } cases[] = {
        {"address", 80, "", "127.0.0.1:80", 7, "Device address is invalid!"},
        {"login", camera->HttpPort(), "wrong", "127.0.0.1", 8, "login failed (invalid credentials)"},
        {"nobody there", 1, "", "127.0.0.1", 9, "can't be reached: Connection refused"},
        {"nobody of that name", 80, "", "no-such-host.invalid", 9, "can't be reached"},
        {"no web server", rude.Port(), "", "127.0.0.1", 9, "can't be reached"},
        {"another device", stranger.Port(), "", "127.0.0.1", 10, "no device that the driver knows"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        const std::string file = folder / "none.json";
        const ProgramEnd end = Query(c.port, c.password, {"--address", c.address, "--save", file});
        EXPECT_EQ(end.status, c.status);
        EXPECT_THAT(end.output, HasSubstr(c.says));
        EXPECT_FALSE(std::filesystem::exists(file));
    }
}

TEST_F(QueryProgram, IsCancelledByAnInterrupt)
{
    std::atomic<bool> cancelled = false;
    const HttpTestServer slow(
        [&](TestHttpPeer& peer, const TestHttpRequest&)
        {
            while (!cancelled && peer.Pause(1))
            {
            }
            return peer.Send(HttpTestServer::Response(200, "system_info_modelname='IP8332'\r\n"));
        });
    bool interrupted = false;
    const ProgramEnd end = RunBenchHost({"query", "--port", std::to_string(slow.Port())},
                                        [&](const std::string& output, pid_t child)
                                        {
                                            if (!interrupted && output.find("asking") != std::string::npos)
                                                interrupted = kill(child, SIGINT) == 0;
                                            cancelled = output.find("cancelled") != std::string::npos;
                                        });
    EXPECT_EQ(end.status, 130);
    EXPECT_THAT(end.output, HasSubstr("query: cancelled"));
    EXPECT_EQ(slow.Requests().size(), 1u);
}

/// A profile of the camera and a codec that it has.
struct Recording
{
    const char* profile;
    const char* codec;
    const char* size;
};

class QueryThenRecord : public QueryProgram, public testing::WithParamInterface<Recording>
{
};

TEST_P(QueryThenRecord, NeedsNoPropertyOnTheCommandLine)
{
    StartCamera(GetParam().profile);
    const std::string file = folder / "device.json";
    const ProgramEnd query = Query(camera->HttpPort(), "secret", {"--save", file});
    ASSERT_EQ(query.status, 0) << query.output;
    const ProgramEnd record =
        RunBenchHost({"record", "--device", file, "--codec", GetParam().codec, "--size", GetParam().size,
                      "--seconds", "200ms", "--frames", folder / "frames"});
    EXPECT_EQ(record.status, 0) << record.output;
    EXPECT_THAT(ReadFile(folder / "frames"), HasSubstr("\"md5\""));
}

INSTANTIATE_TEST_SUITE_P(
    Profiles, QueryThenRecord,
    testing::Values(Recording{"single", "h264", "320x240"}, Recording{"server", "h264", "352x288"},
                    Recording{"dome", "h264", "320x240"}, Recording{"audio", "h264", "320x240"},
                    Recording{"vs2403", "mjpeg", "352x288"}),
    [](const auto& row) { return std::string(row.param.profile) + "_" + row.param.codec; });

TEST(DeviceFile, KeepsWhatTheDriverToldToTheStore)
{
    FaultList faults;
    CapabilityStore store(faults);
    store.SetModel("Vivotek \xFF");
    store.SetValue(0, 4);
    store.SetValue(7, 1);
    store.GetConnectionField(2)->SetText("8080");
    korvane::ipcapture::ICapabilityParameter* const text = store.AddParameter(101);
    korvane::ipcapture::ICapabilityParameter* const number = store.AddParameter(1);
    text->SetValue("Count=1; IsStereo=0");
    number->SetValue("1");

    const TemporaryFolder folder;
    WriteDeviceFile(folder / "a.json", store.Report());
    const Device device = ReadDeviceFile(folder / "a.json");
    EXPECT_EQ(device.codec, Codec::Mjpeg) << "the only one";
    EXPECT_EQ(device.channels, 4u);
    EXPECT_EQ(device.port, 8080);
    EXPECT_EQ(device.properties,
              (std::map<std::uint32_t, std::string>{{1, "1"}, {101, "Count=1; IsStereo=0"}}));
    EXPECT_EQ(faults.Count(), 0u);

    store.ReservedSlot1();
    store.GetFrameTimeList(2);
    text->SetReserved(1);
    store.SetModel(nullptr);
    EXPECT_EQ(faults.Count(), 4u) << "the driver's faults";
}

} // namespace larkmoor::host::test
