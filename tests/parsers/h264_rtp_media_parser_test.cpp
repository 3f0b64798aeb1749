#include "parsers/h264_rtp_media_parser.h"

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/clock.h"
#include "support/fake_driver.h"

namespace
{

using korvane::CH264RTPMediaParser;
using korvane::CRTPPacket;
using korvane::test::Bytes;
using korvane::test::FakeAllocator;
using korvane::test::FakeDriver;
using korvane::test::FakeFrame;
using korvane::test::FrameRecord;
using korvane::test::FromHex;

const std::string kSps = "6742c00bd902c4ec0440000003004000000c83c50a92"; // 176x144
const std::string kPps = "68ce3c80";
const std::string kSei = "0605aabbcc";
const std::string kIdr = "6588843f";
const std::string kEnd = " 0930"; // the delimiter behind each frame

/// "H264" or "I264", then each unit in hexadecimal behind a blank for its start code.
std::string ToText(const FrameRecord& frame)
{
    std::string text(reinterpret_cast<const char*>(&frame.formatSet), 4);
    for (std::size_t i = 0; i < frame.data.size(); ++i)
        if (i + 2 < frame.data.size() && frame.data[i] == 0 && frame.data[i + 1] == 0 &&
            frame.data[i + 2] == 1)
        {
            text += ' ';
            i += 2;
        }
        else
            text += {"0123456789abcdef"[frame.data[i] >> 4], "0123456789abcdef"[frame.data[i] & 15]};
    return text;
}

/// A parser with everything around it.
class Bench : public korvane::IMediaParserClient
{
public:
    Bench() : parser(&driver, "Larkmoor")
    {
        driver.allocator = &allocator;
        parser.SetClient(this);
    }

    /// The next packet in sequence, `skipped` numbers further on.
    void Send(const Bytes& payload, bool marker, int skipped = 0, std::uint32_t timestamp = 3600)
    {
        sequence = static_cast<std::uint16_t>(sequence + 1 + skipped);
        Bytes bytes = {0x80, static_cast<std::uint8_t>(marker ? 0xE1 : 0x61),
                       static_cast<std::uint8_t>(sequence >> 8), static_cast<std::uint8_t>(sequence)};
        for (int shift = 24; shift >= 0; shift -= 8)
            bytes.push_back(static_cast<std::uint8_t>(timestamp >> shift));
        bytes.insert(bytes.end(), {0, 0, 0, 1});
        bytes.insert(bytes.end(), payload.begin(), payload.end());
        CRTPPacket packet;
        if (payload.empty()) // passes with padding alone
        {
            bytes[0] = 0xA0;
            bytes.push_back(1);
        }
        ASSERT_TRUE(packet.ParseInPlace(bytes.data(), static_cast<std::uint32_t>(bytes.size())));
        parser.OnPacket(packet);
    }
    void Send(const std::string& hex, bool marker, int skipped = 0) { Send(FromHex(hex), marker, skipped); }

    void SendKeyFrame()
    {
        Send(kSps, false);
        Send(kPps, false);
        Send(kIdr, true);
    }

    bool OnMediaFrame(korvane::ipcapture::IHostFrame* frame) override
    {
        records.push_back(static_cast<FakeFrame*>(frame)->Record());
        frames.push_back(ToText(records.back()));
        return takes;
    }
    void GetResolution(std::pair<std::uint32_t, std::uint32_t>& resolution) override
    {
        resolution = {640, 480};
    }

    FakeDriver driver;
    FakeAllocator allocator;
    CH264RTPMediaParser parser;
    std::uint16_t sequence = 65532; // wraps within the first frames
    std::vector<FrameRecord> records;
    std::vector<std::string> frames;
    bool takes = true;
};

const std::string kKey = "H264 " + kSps + " " + kPps + " " + kIdr + kEnd;

TEST(H264RTPMediaParser, FillsInTheHostsFrame)
{
    const korvane::platform::ManualClock clock(133'000'000'000'000'000);
    Bench bench;
    bench.SendKeyFrame();
    bench.Send("419a01", true);
    bench.Send("419a02", true, 1);
    bench.SendKeyFrame();

    ASSERT_EQ((std::vector<std::string>{kKey, "I264 419a01" + kEnd, kKey}), bench.frames);
    for (const FrameRecord& frame : bench.records)
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
    korvane::platform::ToSystemTime(133'000'000'000'000'000, now);
    EXPECT_EQ(now.year, bench.records[0].time.year);
    EXPECT_EQ(now.milliseconds, bench.records[0].time.milliseconds);
    // All have one RTP time, which counts 1 ms on from frame to frame; the lost frame starts that anew.
    EXPECT_EQ(now.milliseconds + 1, bench.records[1].time.milliseconds);
    EXPECT_EQ(now.milliseconds + 1, bench.records[2].time.milliseconds);
    EXPECT_EQ(0, bench.allocator.Outstanding());
}

struct Step
{
    std::string payload;
    bool marker = false;
    int skipped = 0; // sequence numbers
};

TEST(H264RTPMediaParser, CutsPacketsIntoFrames)
{
    const std::string longSps = kSps + std::string(2 * 107, 'f'); // 129 bytes
    const std::string filler = "0c" + std::string(2 * 56, 'f');   // 57 bytes and a start code before the set
    const struct
    {
        const char* name;
        std::vector<Step> steps;
        std::vector<std::string> frames;
    } cases[] = {
        {"three single units", {{kSps}, {kPps}, {kIdr, true}}, {kKey}},
        {"markers on small units",
         {{kSps, true}, {kPps, true}, {kSei, true}, {kIdr, true}},
         {"H264 " + kSps + " " + kPps + " " + kSei + " " + kIdr + kEnd}},
        {"a marker on a unit of 128 bytes", {{longSps.substr(0, 256), true}}, {}},
        {"a marker on a unit of 129 bytes", {{longSps, true}}, {"H264 " + longSps + kEnd}},
        {"one STAP-A", {{"780016" + kSps + "0004" + kPps + "0004" + kIdr, true}}, {kKey}},
        {"STAP-A with a byte behind its last unit",
         {{"780016" + kSps + "00", true}},
         {"H264 " + kSps + kEnd}},
        {"STAP-A with an empty unit",
         {{"780000"
           "0016" +
               kSps,
           true}},
         {"H264  " + kSps + kEnd}},
        {"STAP-A with an empty unit at its end", {{"780016" + kSps + "0000", true}}, {"H264 " + kSps + kEnd}},
        {"fragments", {{kSps}, {kPps}, {"7c8588"}, {"7c0584"}, {"7c453f", true}}, {kKey}},
        {"other fragments drop what stands before them",
         {{kSps}, {kPps}, {kIdr, true}, {kSei}, {"5c819a"}, {"5c41bb", true}},
         {kKey, "I264 419abb" + kEnd}},
        {"each start of another slice drops the one before",
         {{kSps}, {kIdr, true}, {"5c811111"}, {"5c812222", true}},
         {"H264 " + kSps + " " + kIdr + kEnd, "I264 412222" + kEnd}},
        {"fragments of a key picture with an SEI",
         {{kSps}, {kSei}, {"7c8588843f", true}},
         {"H264 " + kSps + " " + kSei + " " + kIdr + kEnd}},
        {"no frame before a key frame",
         {{"419a01", true}, {kIdr, true}, {kSps}, {kPps}, {kIdr, true}},
         {kKey}},
        {"a set that cannot be read is no key frame", {{"674200ff"}, {kIdr, true}}, {}},
        {"a set that begins within 64 bytes",
         {{filler}, {kSps}, {kIdr, true}},
         {"H264 " + filler + " " + kSps + " " + kIdr + kEnd}},
        {"a set that begins behind them", {{filler + "ff"}, {kSps}, {kIdr, true}}, {}},
        {"a gap costs the frame and all up to the next key frame",
         {{kSps}, {kPps}, {kIdr, true}, {"419a01", true, 1}, {"419a02", true}, {kSps}, {kPps}, {kIdr, true}},
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
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        Bench bench;
        for (const Step& step : c.steps)
            bench.Send(step.payload, step.marker, step.skipped);
        EXPECT_EQ(c.frames, bench.frames);
        EXPECT_EQ(0, bench.allocator.Outstanding());
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
        bench.SendKeyFrame();
        bench.Send("419a01", false);
        bench.Send(payload, true);
        bench.Send("419a02", true); // waits for a key frame
        EXPECT_EQ((std::vector<std::string>{kKey}), bench.frames);
        bench.SendKeyFrame();
        EXPECT_EQ((std::vector<std::string>{kKey, kKey}), bench.frames);
    }
}

TEST(H264RTPMediaParser, PutsTheDescribedSetsInFrontOfAKeyPicture)
{
    const struct
    {
        const char* name;
        korvane::ParameterSets sets;
        std::vector<Step> steps;
        std::vector<std::string> frames;
    } cases[] = {
        {"fragments", {FromHex(kSps), FromHex(kPps), {}}, {{"7c8588"}, {"7c45843f", true}}, {kKey}},
        {"a single unit", {FromHex(kSps), FromHex(kPps), {}}, {{kIdr, true}}, {kKey}},
        {"not behind another unit", {FromHex(kSps), FromHex(kPps), {}}, {{kSei}, {kIdr, true}}, {}},
        {"not within STAP-A", {FromHex(kSps), FromHex(kPps), {}}, {{"780004" + kIdr, true}}, {}},
        {"not one alone", {FromHex(kSps), {}, {}}, {{kIdr, true}}, {}},
        {"not before the second slice",
         {FromHex(kSps), FromHex(kPps), {}},
         {{kIdr}, {kIdr, true}},
         {"H264 " + kSps + " " + kPps + " " + kIdr + " " + kIdr + kEnd}},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        Bench bench;
        bench.parser.SetParameterSets(c.sets);
        for (const Step& step : c.steps)
            bench.Send(step.payload, step.marker);
        EXPECT_EQ(c.frames, bench.frames);
    }
}

TEST(H264RTPMediaParser, ComesThroughAHostThatDoesNotTakeFrames)
{
    const struct
    {
        const char* name;
        std::function<void(Bench&)> trouble;
        std::function<void(Bench&)> relief;
        bool resets;      // whether the next delta frame has to wait
        std::size_t seen; // of the frame in trouble
    } cases[] = {
        {"no frame to be had", [](Bench& b) { b.allocator.Refuse(true); },
         [](Bench& b) { b.allocator.Refuse(false); }, false, 0},
        {"an allocator that throws", [](Bench& b) { b.allocator.Throw(true); },
         [](Bench& b) { b.allocator.Throw(false); }, true, 0},
        {"no allocator", [](Bench& b) { b.driver.allocator = nullptr; },
         [](Bench& b) { b.driver.allocator = &b.allocator; }, false, 0},
        {"no client", [](Bench& b) { b.parser.SetClient(nullptr); }, [](Bench& b) { b.parser.SetClient(&b); },
         false, 0},
        {"a frame that is refused", [](Bench& b) { b.takes = false; }, [](Bench& b) { b.takes = true; }, true,
         1},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        Bench bench;
        bench.SendKeyFrame();
        c.trouble(bench);
        bench.Send("419a01", true);
        c.relief(bench);
        bench.Send("419a02", true);
        EXPECT_EQ(1 + c.seen + (c.resets ? 0 : 1), bench.frames.size());
        bench.SendKeyFrame();
        EXPECT_EQ(kKey, bench.frames.back());
        EXPECT_EQ(0, bench.allocator.Outstanding());
    }
}

TEST(H264RTPMediaParser, BoundsAFrameWithoutAnEnd)
{
    Bench bench;
    bench.Send(kSps, false);
    const Bytes fragment(65000, 0xAA);
    std::size_t held = 3 + kSps.size() / 2;
    const auto sendFragment = [&](std::size_t size, bool marker)
    {
        Bytes payload(fragment.begin(), fragment.begin() + static_cast<std::ptrdiff_t>(size + 2));
        payload[0] = 0x7C;
        payload[1] = 0x05;
        bench.Send(payload, marker);
        held += size;
    };
    while (held + 60000 <= 10'485'760)
        sendFragment(60000, false);
    sendFragment(10'485'760 - held, true);
    ASSERT_EQ(1u, bench.frames.size());
    EXPECT_EQ(10'485'760u + 5, bench.records[0].data.size());
    EXPECT_TRUE(bench.driver.Messages().empty());

    bench.Send(kSps, false);
    held = 3 + kSps.size() / 2;
    while (held <= 10'485'760)
        sendFragment(60000, false);
    EXPECT_EQ((std::vector<std::string>{
                  "korvane::CRTPMediaParser::CheckBufferSize: Frame buffer overflow detected, "
                  "device 127.0.0.1:80"}),
              bench.driver.Texts(korvane::kLevelError));
    bench.Send("419a01", true);
    EXPECT_EQ(1u, bench.frames.size());
}

} // namespace
