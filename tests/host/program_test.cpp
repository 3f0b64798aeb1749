// The bench host as a program, with the real driver, against the simulated camera and servers that are none.

#include "base/md5.h"
#include "camera/simulated_camera.h"
#include "host/device/device.h"
#include "host/device/device_file.h"
#include "host/frame_tests.h"
#include "host/program.h"
#include "host/recording/frame_files.h"
#include "host/recording/libav.h"
#include "support/http_test_server.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <future>
#include <iterator>
#include <sstream>

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

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kMemoryTells = false; // a sanitizer keeps what was freed
#else
constexpr bool kMemoryTells = true;
#endif

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
    for (const char* part : {"Vivotek SD8121\n", "h264, mpeg4, mjpeg", "1280x720    up to 30 frames",
                             "4 inputs, 1 output", "parameter 11, \"PTZ max speed\", number = 10"})
        EXPECT_THAT(end.output, HasSubstr(part));
    EXPECT_THAT(end.output, Not(HasSubstr("secret")));

    EXPECT_EQ(std::filesystem::status(file).permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    const Device device = ReadDeviceFile(file);
    EXPECT_EQ(device.port, camera->HttpPort());
    EXPECT_EQ(device.password, "secret");
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

TEST_F(QueryProgram, RecordsWithWhatItSaved)
{
    const char* const cases[][3] = {{"single", "h264", "320x240"}, // current, of several channels, legacy
                                    {"server", "h264", "352x288"},
                                    {"vs2403", "mjpeg", "352x288"}};
    for (const auto& [profile, codec, size] : cases)
    {
        SCOPED_TRACE(profile);
        StartCamera(profile);
        const std::string file = folder / "device.json";
        const ProgramEnd query = Query(camera->HttpPort(), "secret", {"--save", file});
        ASSERT_EQ(query.status, 0) << query.output;
        const ProgramEnd record =
            RunBenchHost({"record", "--device", file, "--codec", codec, "--size", size, "--seconds", "200ms",
                          "--patience", "60s", "--frames", folder / "frames"});
        EXPECT_EQ(record.status, 0) << record.output;
        EXPECT_THAT(ReadFile(folder / "frames"), HasSubstr("\"md5\""));
    }
}

namespace
{

/// What is said of each frame in the log, and of each packet in the files that belong to it.
std::vector<std::string> DigestsOf(const std::string& file)
{
    std::vector<std::string> all;
    AVFormatContext* format = nullptr;
    if (avformat_open_input(&format, file.c_str(), nullptr, nullptr) < 0)
        return all;
    const LibavPacket packet(av_packet_alloc());
    while (av_read_frame(format, packet.get()) >= 0)
    {
        all.push_back(Md5Hex({packet->data, static_cast<std::size_t>(packet->size)}));
        av_packet_unref(packet.get());
    }
    avformat_close_input(&format);
    return all;
}

class RecordProgram : public QueryProgram
{
protected:
    /// Runs `verb` on Motion JPEG of a camera of its own.
    ProgramEnd Run(const std::string& verb, std::vector<std::string> more,
                   const std::function<void(const std::string&, pid_t)>& watch = nullptr)
    {
        StartCamera("single");
        more.insert(more.begin(), {verb, "--port", std::to_string(camera->HttpPort()), "--user", "root",
                                   "--password", "secret", "--codec", "mjpeg", "--transport", "http",
                                   "--size", "320x240", "--rate", "25", "--patience", "60s"});
        return RunBenchHost(more, watch);
    }
};

} // namespace

TEST_F(RecordProgram, RecordsIntoEveryKindOfFile)
{
    const ProgramEnd end =
        Run("record", {"--seconds", "2", "--change", "700ms:176x144", "--out", folder / "a.mkv", "--raw",
                       folder / "a.raw", "--frames", folder / "a.frames", "--picture", folder / "a.png",
                       "--json", folder / "a.json"});
    ASSERT_EQ(end.status, 0) << end.output;
    const auto report = nlohmann::json::parse(ReadFile(folder / "a.json"));
    EXPECT_EQ(report["outstanding_frames"], 0);
    EXPECT_EQ(report["changes"].size(), 1u);

    std::vector<std::string> logged;
    std::uint64_t bytes = 0;
    std::istringstream lines(ReadFile(folder / "a.frames"));
    for (std::string line; std::getline(lines, line);)
    {
        const auto frame = nlohmann::json::parse(line);
        logged.push_back(frame["md5"]);
        bytes += frame["size"].get<std::uint64_t>();
    }
    EXPECT_EQ(report["frames"], logged.size());
    EXPECT_EQ(std::filesystem::file_size(folder / "a.raw"), bytes);
    std::vector<std::string> written; // a file for each picture size
    for (const auto& file : report["files"])
    {
        const std::vector<std::string> one = DigestsOf(file["path"]);
        EXPECT_EQ(file["frames"], one.size());
        written.insert(written.end(), one.begin(), one.end());
    }
    EXPECT_EQ(written, logged) << "each frame, untouched and in order";
    EXPECT_EQ(ReadFile(folder / "a.png").substr(1, 3), "PNG");
}

TEST_F(RecordProgram, SaysWhichFileItCouldNotWrite)
{
    for (const char* option : {"--out", "--raw", "--frames", "--picture", "--json"})
    {
        SCOPED_TRACE(option);
        const ProgramEnd end = Run("record", {"--seconds", "100ms", option, "/dev/full"});
        EXPECT_EQ(end.status, 5);
        EXPECT_THAT(end.output, HasSubstr("can't write /dev/full"));
    }
}

TEST_F(RecordProgram, StopsCleanlyWhenInterrupted)
{
    bool interrupted = false;
    const auto interrupt = [&](const std::string& output, pid_t child)
    {
        if (interrupted || output.find("recording ") == std::string::npos)
            return;
        std::promise<void> sent;
        camera->Truth().SetListener(
            [&, count = 0](const camera::TruthUnit&) mutable
            {
                if (++count == 10)
                    sent.set_value();
            });
        sent.get_future().wait_for(std::chrono::seconds(60));
        camera->Truth().SetListener(nullptr);
        interrupted = kill(child, SIGINT) == 0;
    };
    const ProgramEnd end = Run("record", {"--seconds", "1000", "--out", folder / "a.mkv"}, interrupt);
    EXPECT_EQ(end.status, 130) << "it is not what was asked for";
    EXPECT_THAT(end.output, HasSubstr("wrote "));
    EXPECT_FALSE(DigestsOf(folder / "a.mkv").empty());
}

// The program holds nothing but drivers and what a host has. It keeps some KiB of log lines of each driver;
// blocks that nobody points to any more are for the leak checker to find.
TEST_F(RecordProgram, GivesBackWhatALoadOfDriversTook)
{
    setenv("MALLOC_ARENA_MAX", "1", 1); // else hundreds of threads spread over many heaps
    const char* const streams[][2] = {{"mjpeg", "http"}, {"h264", "udp"}, {"h264", "tcp"}};
    for (const auto& [codec, transport] : streams)
    {
        SCOPED_TRACE(transport);
        StartCamera("single");
        std::istringstream words("load --drivers 30 --rounds 3 --ramp 300ms --seconds 300ms --patience 60s "
                                 "--user root --password secret --codec " +
                                 std::string(codec) + " --transport " + transport + " --port " +
                                 std::to_string(camera->HttpPort()) + " --rtsp-port " +
                                 std::to_string(camera->RtspPort()) + " --json " +
                                 (folder / "a.json").string());
        const ProgramEnd end = RunBenchHost({std::istream_iterator<std::string>(words), {}});
        ASSERT_EQ(end.status, 0) << end.output;
        const auto rounds = nlohmann::json::parse(ReadFile(folder / "a.json"))["rounds"];
        ASSERT_EQ(rounds.size(), 3u);
        const auto& first = rounds[1]; // what is made once for all has been made before
        const auto& last = rounds[2];
        EXPECT_EQ(last["streams"], 30);
        EXPECT_EQ(last["silent_streams"], 0);
        EXPECT_EQ(last["after"]["threads"], first["before"]["threads"]);
        EXPECT_EQ(last["after"]["descriptors"], first["before"]["descriptors"]);
        const auto heldBefore = first["before"]["private_bytes"].get<std::int64_t>();
        const auto growth = last["after"]["private_bytes"].get<std::int64_t>() - heldBefore;
        EXPECT_TRUE(!kMemoryTells || growth < 60 * 20 * 1024) << growth; // 20 KiB for each of the drivers
        std::printf("%-5s %lld bytes more than %lld\n", transport, static_cast<long long>(growth),
                    static_cast<long long>(heldBefore));
    }
}

// What docs/host-guide.md leads through.
TEST(SmallHostProgram, RecordsAndSaysWhatFails)
{
    SimulatedCamera camera{CameraOptions{}};
    std::string error;
    ASSERT_TRUE(camera.Start(error)) << error;
    const TemporaryFolder folder;
    const std::string driver = LARKMOOR_BINARY_DIR "/liblarkmoor.so";
    const auto run = [&](const std::string& library, const char* codec, const std::string& file)
    {
        return RunProgram({LARKMOOR_BINARY_DIR "/small_host", library, "127.0.0.1",
                           std::to_string(camera.HttpPort()), std::to_string(camera.RtspPort()), codec, "12",
                           file});
    };
    for (const std::string codec : {"h264", "mpeg4", "mjpeg"})
    {
        SCOPED_TRACE(codec);
        const ProgramEnd end = run(driver, codec.c_str(), folder / codec);
        EXPECT_EQ(end.status, 0) << end.output;
        std::size_t units = DigestsOf(folder / codec).size();
        if (codec == "h264")
            --units; // the delimiter behind the last picture
        EXPECT_GE(units, 12u);
        EXPECT_THAT(end.output, HasSubstr(", " + std::to_string(units) + " pictures\n"));
    }
    const struct
    {
        std::string library;
        const char* codec;
        const char* file;
        int status;
        const char* says;
    } failing[] = {{"nowhere.so", "h264", "/dev/null", 1, "can't load the driver: nowhere.so"},
                   {driver, "h265", "/dev/null", 2, "h264|mpeg4|mjpeg"},
                   {driver, "mjpeg", "/dev/full", 1, "can't write file"}};
    for (const auto& c : failing)
    {
        const ProgramEnd end = run(c.library, c.codec, c.file);
        EXPECT_EQ(end.status, c.status);
        EXPECT_THAT(end.output, HasSubstr(c.says));
    }
}

} // namespace larkmoor::host::test
