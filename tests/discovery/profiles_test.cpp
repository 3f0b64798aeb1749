// The values that a host's store is given for each kind of device that the simulated camera can be. What they
// have to be stands in golden/, read by hand from the parameter tables.

#include "discovery/vivotek_camera_properties.h"

#include "camera/simulated_camera.h"
#include "runtime/text.h"
#include "support/fake_capability_sink.h"
#include "support/fake_capability_store.h"

#include <gtest/gtest.h>

#include <fstream>

namespace korvane
{

namespace
{

using larkmoor::camera::AuthScheme;
using larkmoor::camera::CameraOptions;
using larkmoor::camera::SimulatedCamera;

std::vector<std::string> Golden(const std::string& profile, SimulatedCamera& camera)
{
    std::ifstream file(LARKMOOR_SOURCE_DIR "/tests/discovery/golden/" + profile + ".txt");
    EXPECT_TRUE(file.is_open());
    const auto& parameters = camera.Parameters();
    const std::string rtspPort = parameters.Get("network_rtsp_port") + parameters.Get("network.rtspport");
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);)
    {
        if (line.empty() || line.starts_with('#'))
            continue;
        line = Utils::ReplaceAll(line, "{port}", std::to_string(camera.HttpPort()));
        lines.push_back(Utils::ReplaceAll(line, "{rtsp-port}", rtspPort));
    }
    return lines;
}

class Profiles : public testing::TestWithParam<std::string>
{
};

} // namespace

TEST_P(Profiles, GiveTheStoreWhatTheirTablesSay)
{
    for (const AuthScheme scheme : {AuthScheme::Basic, AuthScheme::Digest})
    {
        CameraOptions options;
        options.profile = GetParam();
        options.auth = scheme;
        options.password = "secret";
        SimulatedCamera camera(options);
        std::string error;
        ASSERT_TRUE(camera.Start(error)) << error;
        test::FakeCapabilityStore store;
        const auto query = [&](const char* password)
        {
            test::FakeCapabilitySink sink;
            CVivotekCapabilityQueryModule module(&sink, 1);
            EXPECT_EQ(module.StartQuery("127.0.0.1", camera.HttpPort(), "root", password, &store), 1u);
            return sink.WaitForEnd();
        };
        EXPECT_EQ(query("wrong"),
                  "failed 1 Failed to get camera properties, login failed (invalid credentials)");
        EXPECT_EQ(query("secret"), "done");
        EXPECT_EQ(store.Lines(), Golden(GetParam(), camera));
    }
}

INSTANTIATE_TEST_SUITE_P(All, Profiles,
                         testing::Values("single", "server", "dome", "audio", "ip7135", "vs2403"));

} // namespace korvane
