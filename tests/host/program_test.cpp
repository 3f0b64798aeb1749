// The bench host as a program, with a driver that keeps its contract or breaks it.

#include "host/frame_tests.h"
#include "host/program.h"
#include "host/recording/frame_files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <cstdlib>

namespace larkmoor::host::test
{

using testing::HasSubstr;

namespace
{

// One start of the program after the other. Its folder of its own goes into the test's, which shows what it
// leaves behind.
class Program
{
public:
    Program()
    {
        const Bytes picture = EncodePicture(AV_CODEC_ID_MJPEG, 64, 48, 100);
        WriteFile(*this / "picture.jpg", std::string(picture.begin(), picture.end()));
        std::filesystem::create_directory(*this / "tmp");
        setenv("TMPDIR", (*this / "tmp").c_str(), 1);
        setenv("LARKMOOR_FAKE_FRAME", (*this / "picture.jpg").c_str(), 1);
    }
    ~Program() { unsetenv("TMPDIR"); }

    /// Runs to the end. `interruptAt`: a signal as soon as this is said.
    int Run(const std::string& behaviour, std::vector<std::string> words, const std::string& interruptAt = "")
    {
        words.insert(words.end(), {"--library", LARKMOOR_BINARY_DIR "/libfake_driver_module.so", "--codec",
                                   "mjpeg", "--transport", "http", "--size", "64x48", "--model", behaviour});
        bool interrupted = interruptAt.empty();
        const auto interrupt = [&](const std::string& output, pid_t child)
        {
            if (interrupted || output.find(interruptAt) == std::string::npos)
                return;
            kill(child, SIGINT);
            interrupted = true;
        };
        ProgramEnd end = RunBenchHost(std::move(words), interrupt);
        output_ = std::move(end.output);
        return end.status;
    }

    const std::string& Output() const { return output_; }
    bool LeftNothing() const { return std::filesystem::is_empty(*this / "tmp"); }
    std::string operator/(const std::string& name) const { return folder_ / name; }

private:
    TemporaryFolder folder_;
    std::string output_;
};

} // namespace

TEST(HostProgram, TellsByItsStatusWhatTheDriverDid)
{
    const struct
    {
        const char* behaviour;
        int status;
        const char* says;
    } cases[] = {
        {"good", 0, "a second"},
        {"silent", 4, "no frame came"},
        {"refuse-open", 3, "refuses to open"},
        {"refuse-start", 3, "refuses to start channel 0"},
        {"leak", 6, "never released"},
        {"double-release", 6, "does not hold"},
        {"overrun", 6, "write outside a frame"},
        {"long-size", 6, "SetDataSize"},
        {"wrong-kind", 6, "as audio"},
        {"reserved-call", 6, "reserved operation"},
    };
    Program program;
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.behaviour);
        // Only silence is waited out; a busy machine may be slow with the first frame.
        const std::string patience = std::string(c.behaviour) == "silent" ? "300ms" : "30s";
        EXPECT_EQ(program.Run(c.behaviour, {"record", "--seconds", "100ms", "--patience", patience,
                                            "--picture", program / "a.png"}),
                  c.status);
        EXPECT_THAT(program.Output(), HasSubstr(c.says));
        EXPECT_TRUE(program.LeftNothing());
    }
}

TEST(HostProgram, RecordsIntoEveryKindOfFile)
{
    Program program;
    ASSERT_EQ(
        program.Run("good", {"record", "--seconds", "1", "--change", "200ms:32x24", "--out",
                             program / "a.mkv", "--raw", program / "a.raw", "--frames", program / "a.frames",
                             "--picture", program / "a.png", "--json", program / "a.json"}),
        0)
        << program.Output();

    const auto report = nlohmann::json::parse(ReadFile(program / "a.json"));
    const std::uint64_t frames = report["frames"];
    EXPECT_GT(frames, 10u);
    EXPECT_EQ(report["outstanding_frames"], 0);
    EXPECT_EQ(report["log"]["warning"], 1);
    EXPECT_EQ(report["log_lines"][0]["text"], "the fake driver is open");
    EXPECT_EQ(report["states"][0]["state"], 0);
    EXPECT_EQ(report["changes"].size(), 1u);
    ASSERT_EQ(report["files"].size(), 2u) << "a file for each picture size";
    EXPECT_EQ(report["files"][0]["frames"].get<std::uint64_t>() +
                  report["files"][1]["frames"].get<std::uint64_t>(),
              frames);
    EXPECT_TRUE(std::filesystem::exists(program / "a-2.mkv"));

    const std::string picture = ReadFile(program / "picture.jpg");
    EXPECT_EQ(ReadFile(program / "a.raw").size(), frames * picture.size());
    const std::string lines = ReadFile(program / "a.frames");
    EXPECT_EQ(static_cast<std::uint64_t>(std::count(lines.begin(), lines.end(), '\n')), frames);
    EXPECT_EQ(ReadFile(program / "a.png").substr(1, 3), "PNG");
}

TEST(HostProgram, SaysWhichFileItCouldNotWrite)
{
    Program program;
    for (const char* option : {"--out", "--raw", "--frames", "--picture", "--json"})
    {
        SCOPED_TRACE(option);
        EXPECT_EQ(program.Run("good", {"record", "--seconds", "100ms", option, "/dev/full"}), 5);
        EXPECT_THAT(program.Output(), HasSubstr("can't write /dev/full"));
        EXPECT_TRUE(program.LeftNothing());
    }
}

TEST(HostProgram, MeasuresALoad)
{
    Program program;
    ASSERT_EQ(program.Run("good", {"load", "--drivers", "8", "--ramp", "100ms", "--seconds", "300ms",
                                   "--rounds", "2", "--json", program / "a.json"}),
              0)
        << program.Output();
    const auto report = nlohmann::json::parse(ReadFile(program / "a.json"));
    ASSERT_EQ(report["rounds"].size(), 2u);
    const auto& round = report["rounds"][1];
    EXPECT_EQ(round["streams"], 8);
    EXPECT_GT(round["frames"], 8);
    EXPECT_EQ(round["during"]["threads"].get<int>(), round["before"]["threads"].get<int>() + 8);
    EXPECT_EQ(round["after"]["threads"], round["before"]["threads"]);
    EXPECT_EQ(round["after"]["descriptors"], round["before"]["descriptors"]);

    EXPECT_EQ(program.Run("silent", {"load", "--drivers", "2", "--patience", "200ms", "--seconds", "100ms"}),
              4);
    EXPECT_THAT(program.Output(), HasSubstr("2 of them silent"));
}

TEST(HostProgram, StopsCleanlyWhenInterrupted)
{
    Program program;
    // Without a time, to be interrupted is the way to end; with one, it is not what was asked.
    EXPECT_EQ(program.Run("good", {"watch"}, "is delivered"), 0);
    EXPECT_THAT(program.Output(), HasSubstr("a second"));
    EXPECT_EQ(
        program.Run("good", {"record", "--seconds", "1000", "--out", program / "a.mkv"}, "is delivered"),
        130);
    EXPECT_THAT(program.Output(), HasSubstr("wrote "));
    EXPECT_TRUE(program.LeftNothing());
}

} // namespace larkmoor::host::test
