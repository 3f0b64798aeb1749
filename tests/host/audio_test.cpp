// The sound of the simulated camera through the real driver, into files that are judged by their notes.

#include "camera/simulated_camera.h"
#include "host/frame_tests.h"
#include "host/program.h"
#include "notes/note_finder.h"

#include <nlohmann/json.hpp>

#include <gmock/gmock.h>

#include <iterator>
#include <mutex>
#include <set>
#include <sstream>
#include <thread>

namespace larkmoor::host::test
{

using larkmoor::test::DecodeSound;
using larkmoor::test::FindNotes;
using larkmoor::test::JudgeNotes;

namespace
{

struct Case
{
    const char* name;
    const char* codec; // that the device has, as property 17 has it
    std::vector<std::string> parameters;
    const char* faults;
    const char* transport;
    const char* seconds;
    const char* file;
    const char* format; // of the last frame
};

/// What came of a recording.
struct Outcome
{
    ProgramEnd end;
    nlohmann::json report;
    std::set<std::string> foreign; // fingerprints of frames that the camera did not send
    std::string path;
};

std::set<std::string> Fingerprints(const std::filesystem::path& frames)
{
    std::set<std::string> md5s;
    std::istringstream lines(ReadFile(frames));
    for (std::string line; std::getline(lines, line);)
        md5s.insert(nlohmann::json::parse(line).at("md5").get<std::string>());
    return md5s;
}

void Record(const Case& c, const TemporaryFolder& folder, std::vector<std::string> more, Outcome& outcome)
{
    camera::CameraOptions options;
    options.profile = "audio";
    options.parameters = c.parameters;
    if (*c.faults != '\0')
        options.faults = {c.faults};
    std::mutex lock; // over the next one
    std::set<std::string> sent;
    int plays = 0; // on the camera's thread
    camera::SimulatedCamera camera(options);
    camera.Truth().SetListener(
        [&](const camera::TruthUnit& unit)
        {
            const std::lock_guard guard(lock);
            sent.insert(unit.md5);
        });
    // What stalls a session is over with its second one.
    camera.Requests().SetListener(
        [&](const camera::LoggedRequest& request)
        {
            if (request.method == "PLAY" && ++plays == 2 && c.format == std::string("back"))
                camera.Faults().Remove("aac-odd");
        });
    std::string error;
    if (!camera.Start(error))
        throw std::runtime_error(error);
    const std::string name = c.name;
    outcome.path = (folder / (name + c.file)).string();
    std::istringstream common("--property 101=Count=1;IsStereo=0 --patience 120 --rtsp-port " +
                              std::to_string(camera.RtspPort()) + " --port " +
                              std::to_string(camera.HttpPort()) + " --transport " + c.transport +
                              " --seconds " + c.seconds + " --property 17=" + c.codec);
    std::vector<std::string> words(std::istream_iterator<std::string>(common), {});
    words.insert(words.begin(), more.empty() ? "audio" : "record");
    words.insert(words.end(), {"--out", outcome.path, "--json", folder / (name + ".json"), "--frames",
                               folder / (name + ".jsonl")});
    words.insert(words.end(), more.begin(), more.end());
    outcome.end = RunBenchHost(words);
    outcome.report = nlohmann::json::parse(ReadFile(folder / (name + ".json")), nullptr, false);
    const std::set<std::string> got = Fingerprints(folder / (name + ".jsonl"));
    const std::lock_guard guard(lock);
    std::set_difference(got.begin(), got.end(), sent.begin(), sent.end(),
                        std::inserter(outcome.foreign, outcome.foreign.end()));
}

/// All at once, since each takes its time; then one after the other.
template <std::size_t Count>
void RunAll(const Case (&cases)[Count], const TemporaryFolder& folder,
            const std::function<void(const Case&, const Outcome&)>& judge)
{
    std::vector<Outcome> outcomes(Count);
    {
        std::vector<std::jthread> threads;
        for (std::size_t i = 0; i < Count; ++i)
            threads.emplace_back([&, i] { Record(cases[i], folder, {}, outcomes[i]); });
    }
    for (std::size_t i = 0; i < Count; ++i)
    {
        SCOPED_TRACE(std::string(cases[i].name) + "\n" + outcomes[i].end.output);
        EXPECT_EQ(outcomes[i].end.status, 0);
        EXPECT_TRUE(outcomes[i].foreign.empty());
        if (outcomes[i].report.is_object())
            judge(cases[i], outcomes[i]);
    }
}

} // namespace

TEST(AudioProgram, RecordsEachCodecNoteByNote)
{
    const std::string head = "audioin_c0_s0_";
    const Case cases[] = {
        {"mu-law", "g711", {"audioin_c0_mute=1"}, "", "udp", "5", ".wav", "711M"},
        {"a-law", "g711", {head + "g711_mode=pcma"}, "", "tcp", "5", ".wav", "711A"},
        {"g726-16", "g726", {head + "g726_bitrate=16000"}, "", "tcp", "9", ".wav", "7261"},
        {"g726-24", "g726", {head + "g726_bitrate=24000"}, "", "udp", "7", ".mka", "7261"},
        {"g726-32", "g726", {}, "", "tcp", "7", ".wav", "7261"},
        {"g726-40", "g726", {head + "g726_bitrate=40000"}, "", "udp", "7", ".wav", "7261"},
        {"aac", "aac4", {head + "aac4_bitrate=32000"}, "", "udp", "5", ".aac", "AAC1"},
        {"aac-matroska", "aac4", {}, "", "tcp", "5", ".mka", "AAC1"},
    };
    const TemporaryFolder folder;
    RunAll(cases, folder,
           [](const Case& c, const Outcome& outcome)
           {
               EXPECT_EQ(outcome.report.at("audio_format"), c.format);
               for (const auto& line : outcome.report.at("log_lines"))
                   // A frame may meet the stop half way, and is refused.
                   EXPECT_TRUE(line.at("level") != 1 ||
                               line.at("text").get<std::string>().find("Audio-frame processing error") !=
                                   std::string::npos)
                       << line;
               const auto sound = DecodeSound(outcome.path);
               EXPECT_EQ(sound.fault, "");
               const auto judged = JudgeNotes(FindNotes(sound.samples, sound.sampleRate));
               EXPECT_EQ(judged.fault, "");
               EXPECT_GE(judged.notes, 6);
           });
}

TEST(AudioProgram, GetsNothingCorruptFromAnOddDevice)
{
    const Case cases[] = {
        {"loss", "aac4", {}, "rtp-loss=0.05", "udp", "4", ".mka", ""},
        {"g711-loss", "g711", {}, "rtp-loss=0.01", "tcp", "6", ".wav", ""},
        {"reorder", "aac4", {}, "rtp-reorder=0.1", "udp", "4", ".mka", ""},
        {"doubled", "aac4", {}, "rtp-dup=0.1", "tcp", "4", ".mka", ""},
        {"joined", "aac4", {}, "aac-odd=joined", "tcp", "4", ".mka", ""},
        {"split", "aac4", {}, "aac-odd=split", "udp", "4", ".mka", ""},
        {"fragments", "aac4", {}, "aac-odd=fragments", "tcp", "4", ".mka", ""},
        {"split-loss", "aac4", {}, "aac-odd=split@2s+1s,rtp-loss=0.1@2s+1s", "tcp", "4", ".mka", ""},
        {"two", "aac4", {}, "aac-odd=two", "tcp", "2", ".mka", "back"},
        {"wide", "aac4", {}, "aac-odd=wide", "udp", "2", ".mka", "back"},
        {"junk", "aac4", {}, "aac-odd=junk", "tcp", "2", ".mka", "back"},
    };
    const TemporaryFolder folder;
    RunAll(cases, folder,
           [](const Case& c, const Outcome& outcome)
           {
               EXPECT_GT(outcome.report.at("audio_frames").get<int>(), 2);
               std::string states;
               for (const auto& each : outcome.report.at("audio_states"))
                   states += each.at("state").get<std::string>() + " ";
               // A stall ends with the session that it came in.
               const std::string recovered =
                   *c.format == '\0' ? "streaming" : "signal lost starting streaming";
               EXPECT_THAT(states, testing::HasSubstr(recovered));
               EXPECT_THAT(states, testing::EndsWith("streaming stopping stopped "));
           });
}

TEST(AudioProgram, RecordsPictureAndSoundInStep)
{
    const Case c = {"both", "aac4", {}, "", "udp", "6", ".mkv", "AAC1"};
    const TemporaryFolder folder;
    Outcome outcome;
    Record(c, folder, {"--audio", "--size", "320x240"}, outcome);
    ASSERT_EQ(outcome.end.status, 0) << outcome.end.output;
    EXPECT_TRUE(outcome.foreign.empty());
    const auto sound = DecodeSound(outcome.path);
    EXPECT_EQ(sound.fault, "");
    const auto judged = JudgeNotes(FindNotes(sound.samples, sound.sampleRate));
    EXPECT_EQ(judged.fault, "");
    // C5 sounds when the seconds since 1970 divide by four, and pictures stand at the time that is theirs on
    // the same clock. The device's encoders and a machine with much to do put a little between the two.
    const std::string first = outcome.report.at("files").at(0).at("first_time");
    const double seconds = std::stod(first.substr(first.rfind(':') + 1));
    const double off = std::remainder(seconds + sound.begin + judged.gridBegin - 0.5 * judged.firstNote, 4.0);
    EXPECT_LT(std::abs(off), 0.5) << "from " << first;
    RecordProperty("sound_behind_pictures_ms", static_cast<int>(1000 * off));
}

} // namespace larkmoor::host::test
