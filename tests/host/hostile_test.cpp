// A host that stalls, throws, refuses and gives null, against cameras of every codec and transport.

#include "camera/simulated_camera.h"
#include "host/frame_tests.h"
#include "host/program.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <list>

namespace larkmoor::host::test
{

TEST(HostileProgram, FindsEveryPromiseKept)
{
    const struct
    {
        const char* stream;
        const char* profile;
    } devices[] = {{"h264/udp", "dome"},  {"h264/tcp", "audio"}, {"mpeg4/udp", "audio"},
                   {"mpeg4/tcp", "dome"}, {"mjpeg/udp", "dome"}, {"mjpeg/tcp", "audio"},
                   {"mjpeg/http", "dome"}};
    const TemporaryFolder folder;
    const std::string json = folder / "report.json";
    std::vector<std::string> words = {"hostile", "--cycles",      "60", "--at-once", "32", "--longest-stall",
                                      "4s",      "--longest-use", "2s", "--json",    json};
    std::list<camera::SimulatedCamera> cameras;
    for (const auto& device : devices)
    {
        camera::CameraOptions options;
        options.profile = device.profile;
        if (options.profile == "dome")
            options.inputs = {"0@100ms/100ms=flip"};
        camera::SimulatedCamera& camera = cameras.emplace_back(options);
        std::string error;
        ASSERT_TRUE(camera.Start(error)) << error;
        words.push_back(std::string(device.stream) + ':' + std::to_string(camera.HttpPort()) + ':' +
                        std::to_string(camera.RtspPort()));
    }
    const ProgramEnd end = RunBenchHost(words);
    EXPECT_EQ(end.status, 0) << end.output;
    const auto report = nlohmann::json::parse(ReadFile(json));
    EXPECT_EQ(report["cycles"], 60);
    for (const char* kind : {"stalls", "throws", "refusals"})
    {
        std::uint64_t sum = 0;
        for (const auto& counts : report["operations"])
            sum += counts[kind].get<std::uint64_t>();
        EXPECT_GT(sum, 10u) << kind << ": a host that does nothing shows nothing";
    }
}

} // namespace larkmoor::host::test
