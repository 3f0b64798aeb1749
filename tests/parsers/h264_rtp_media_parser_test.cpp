#include "parsers/h264_rtp_media_parser.h"

#include "platform/clock.h"
#include "support/parser_bench.h"
#include "support/table.h"

#include <regex>

namespace korvane
{
namespace
{

using test::Bytes, test::FrameRecord, test::FromHex, test::Table;
using Texts = std::vector<std::string>;

const std::string kSps = "6742c00bd902c4ec0440000003004000000c83c50a92"; // 176x144
const std::string kPps = "68ce3c80";
const std::string kSei = "0605aabbcc";
const std::string kIdr = "6588843f";
const std::string kDelimiter = " 0930"; // the delimiter behind each frame
const std::string kKey = "H264 " + kSps + " " + kPps + " " + kIdr + kDelimiter;

struct Step
{
    std::string payload; // hexadecimal
    bool marker = false;
    int skipped = 0; // sequence numbers
};
using Steps = std::vector<Step>;
const Steps kKeyFrame = {{kSps}, {kPps}, {kIdr, true}};

struct Bench : test::ParserBench<CH264RTPMediaParser>
{
    void SendAll(const Steps& steps)
    {
        for (const Step& step : steps)
            Send(FromHex(step.payload), step.marker, step.skipped);
    }

    /// Of each frame "H264" or "I264", then each unit in hexadecimal behind a blank for its start code.
    Texts Frames() const
    {
        Texts texts;
        for (const FrameRecord& frame : frames)
            texts.push_back(FormatOf(frame) +
                            std::regex_replace(test::ToHex(frame.data), std::regex("000001"), " "));
        return texts;
    }
};

TEST(H264RTPMediaParser, FillsInTheHostsFrame)
{
    const platform::ManualClock clock(133'000'000'000'000'000);
    Bench bench;
    bench.SendAll(kKeyFrame);
    bench.SendAll({{"419a01", true}, {"419a02", true, 1}});
    bench.SendAll(kKeyFrame);

    ASSERT_EQ((Texts{kKey, "I264 419a01" + kDelimiter, kKey}), bench.Frames());
    for (const FrameRecord& frame : bench.frames)
    {
        EXPECT_EQ(frame.data.size(), frame.allocatedBytes);
        EXPECT_EQ(frame.format, frame.formatSet);
        EXPECT_EQ(176u, frame.width);
        EXPECT_EQ(144u, frame.height);
        EXPECT_EQ(1u, frame.sizeClass);
        EXPECT_EQ("Larkmoor", frame.driverName);
        EXPECT_FALSE(frame.timeNow);
    }
    SYSTEMTIME now{};
    platform::ToSystemTime(133'000'000'000'000'000, now);
    EXPECT_EQ(now.year, bench.frames[0].time.year);
    EXPECT_EQ(now.milliseconds, bench.frames[0].time.milliseconds);
    // All have one RTP time, which counts 1 ms on from frame to frame; the lost frame starts that anew.
    EXPECT_EQ(now.milliseconds + 1, bench.frames[1].time.milliseconds);
    EXPECT_EQ(now.milliseconds + 1, bench.frames[2].time.milliseconds);
    EXPECT_EQ(0, bench.allocator.Outstanding());
}

TEST(H264RTPMediaParser, CutsPacketsIntoFrames)
{
    const std::string longSps = kSps + std::string(2 * 107, 'f'); // 129 bytes
    const std::string filler = "0c" + std::string(2 * 56, 'f');   // 57 bytes and a start code before the set
    for (const auto& [name, steps, frames] : Table<const char*, Steps, Texts>{
             {"three single units", kKeyFrame, {kKey}},
             {"markers on small units",
              {{kSps, true}, {kPps, true}, {kSei, true}, {kIdr, true}},
              {"H264 " + kSps + " " + kPps + " " + kSei + " " + kIdr + kDelimiter}},
             {"a marker on a unit of 128 bytes", {{longSps.substr(0, 256), true}}, {}},
             {"a marker on a unit of 129 bytes", {{longSps, true}}, {"H264 " + longSps + kDelimiter}},
             {"one STAP-A", {{"780016" + kSps + "0004" + kPps + "0004" + kIdr, true}}, {kKey}},
             {"STAP-A with a byte behind its last unit",
              {{"780016" + kSps + "00", true}},
              {"H264 " + kSps + kDelimiter}},
             {"STAP-A with an empty unit",
              {{"780000"
                "0016" +
                    kSps,
                true}},
              {"H264  " + kSps + kDelimiter}},
             {"STAP-A with an empty unit at its end",
              {{"780016" + kSps + "0000", true}},
              {"H264 " + kSps + kDelimiter}},
             {"fragments", {{kSps}, {kPps}, {"7c8588"}, {"7c0584"}, {"7c453f", true}}, {kKey}},
             {"other fragments drop what stands before them",
              {{kSps}, {kPps}, {kIdr, true}, {kSei}, {"5c819a"}, {"5c41bb", true}},
              {kKey, "I264 419abb" + kDelimiter}},
             {"each start of another slice drops the one before",
              {{kSps}, {kIdr, true}, {"5c811111"}, {"5c812222", true}},
              {"H264 " + kSps + " " + kIdr + kDelimiter, "I264 412222" + kDelimiter}},
             {"fragments of a key picture with an SEI",
              {{kSps}, {kSei}, {"7c8588843f", true}},
              {"H264 " + kSps + " " + kSei + " " + kIdr + kDelimiter}},
             {"no frame before a key frame",
              {{"419a01", true}, {kIdr, true}, {kSps}, {kPps}, {kIdr, true}},
              {kKey}},
             {"a set that cannot be read is no key frame", {{"674200ff"}, {kIdr, true}}, {}},
             {"a set that begins within 64 bytes",
              {{filler}, {kSps}, {kIdr, true}},
              {"H264 " + filler + " " + kSps + " " + kIdr + kDelimiter}},
             {"a set that begins behind them", {{filler + "ff"}, {kSps}, {kIdr, true}}, {}},
             {"a gap costs the frame and all up to the next key frame",
              {{kSps},
               {kPps},
               {kIdr, true},
               {"419a01", true, 1},
               {"419a02", true},
               {kSps},
               {kPps},
               {kIdr, true}},
              {kKey, kKey}},
             {"a gap within a frame",
              {{kSps}, {kPps}, {"7c8588"}, {"7c453f", true, 1}, {kSps}, {kPps}, {kIdr, true}},
              {kKey}},
             {"the packet behind a gap counts", {{kPps}, {kSps, false, 7}, {kPps}, {kIdr, true}}, {kKey}},
             {"a packet twice", {{kSps}, {kPps}, {kPps, false, -1}, {kIdr, true}}, {}},
             {"a late packet is a gap twice",
              {{kSps}, {kPps, false, 1}, {kSps, false, -2}, {kPps, false, 1}, {kIdr, true}},
              {}},
             {"a marker alone", {{kSps}, {kPps}, {kIdr, true}, {"", true}}, {kKey}},
         })
    {
        Bench bench;
        bench.SendAll(steps);
        EXPECT_EQ(frames, bench.Frames()) << name;
        EXPECT_EQ(0, bench.allocator.Outstanding()) << name;
    }
}

TEST(H264RTPMediaParser, StartsAnewBehindPayloadsThatItCannotUse)
{
    const char* payloads[] = {
        "",         "6588",     "7800",       "780001", "7c85",     "780003ffff", "78000441424344ffff",
        "79000100", "7a000100", "7b00010000", "7d8588", "0088843f", "1e88843f",   "1f88843f"};
    for (const char* payload : payloads)
    {
        SCOPED_TRACE(payload);
        Bench bench;
        bench.SendAll(kKeyFrame);
        bench.SendAll({{"419a01"}, {payload, true}, {"419a02", true}}); // waits for a key frame
        EXPECT_EQ(Texts{kKey}, bench.Frames());
        bench.SendAll(kKeyFrame);
        EXPECT_EQ((Texts{kKey, kKey}), bench.Frames());
    }
}

TEST(H264RTPMediaParser, PutsTheDescribedSetsInFrontOfAKeyPicture)
{
    const ParameterSets sets = {FromHex(kSps), FromHex(kPps), {}};
    for (const auto& [name, described, steps, frames] : Table<const char*, ParameterSets, Steps, Texts>{
             {"fragments", sets, {{"7c8588"}, {"7c45843f", true}}, {kKey}},
             {"a single unit", sets, {{kIdr, true}}, {kKey}},
             {"not behind another unit", sets, {{kSei}, {kIdr, true}}, {}},
             {"not within STAP-A", sets, {{"780004" + kIdr, true}}, {}},
             {"not one alone", {sets.SPS, {}, {}}, {{kIdr, true}}, {}},
             {"not before the second slice",
              sets,
              {{kIdr}, {kIdr, true}},
              {"H264 " + kSps + " " + kPps + " " + kIdr + " " + kIdr + kDelimiter}},
         })
    {
        Bench bench;
        bench.parser.SetParameterSets(described);
        bench.SendAll(steps);
        EXPECT_EQ(frames, bench.Frames()) << name;
    }
}

TEST(H264RTPMediaParser, ComesThroughAHostThatDoesNotTakeFrames)
{
    using Trouble = void (*)(Bench&, bool isOn);
    // Whether the next delta frame has to wait, and how many of the frame in trouble were seen.
    for (const auto& [name, trouble, waits, seen] :
         Table<const char*, Trouble, bool, std::size_t>{
             {"no frame to be had", [](Bench&b, bool isOn) { b.allocator.Refuse(isOn); }, false, 0},
             {"an allocator that throws", [](Bench&b, bool isOn) { b.allocator.Throw(isOn); }, true, 0},
             {"no allocator", [](Bench&b, bool isOn) { b.driver.allocator = isOn ? nullptr : &b.allocator; },
              false, 0},
             {"no client", [](Bench&b, bool isOn) { b.parser.SetClient(isOn ? nullptr : &b); }, false, 0},
             {"a frame that is refused", [](Bench&b, bool isOn) { b.takes = !isOn; }, true, 1},
         })
    {
        SCOPED_TRACE(name);
        Bench bench;
        bench.SendAll(kKeyFrame);
        trouble(bench, true);
        bench.SendAll({{"419a01", true}});
        trouble(bench, false);
        bench.SendAll({{"419a02", true}});
        EXPECT_EQ(1 + seen + (waits ? 0 : 1), bench.frames.size());
        bench.SendAll(kKeyFrame);
        EXPECT_EQ(kKey, bench.Frames().back());
        EXPECT_EQ(0, bench.allocator.Outstanding());
    }
}

TEST(H264RTPMediaParser, TakesTheLargestFrameAndGivesUpOneThatNeverEnds)
{
    constexpr std::size_t kMost = 10'485'760;
    Bench bench;
    bench.SendAll({{kSps}});
    std::size_t held = 3 + kSps.size() / 2;
    for (std::size_t size = 0; held < kMost; held += size)
    {
        size = std::min<std::size_t>(60'000, kMost - held);
        Bytes fragment(size + 2, 0xAA);
        fragment[0] = 0x7C;
        fragment[1] = 0x05;
        bench.Send(fragment, held + size == kMost);
    }
    ASSERT_EQ(1u, bench.frames.size());
    EXPECT_EQ(kMost + 5, bench.frames[0].data.size());
    EXPECT_TRUE(bench.driver.Messages().empty());

    Bench endless;
    endless.SendWithoutEnd(FromHex(kSps), {0x7C, 0x05});
}

} // namespace
} // namespace korvane
