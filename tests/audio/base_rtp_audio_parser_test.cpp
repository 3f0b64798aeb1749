#include "audio/base_rtp_audio_parser.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "platform/clock.h"
#include "support/fake_driver.h"
#include "support/table.h"

namespace
{

using korvane::test::Bytes;
using korvane::test::FrameRecord, korvane::test::Table;
using korvane::test::operator+;

using Packets = std::vector<std::pair<Bytes, int>>; // with the numbers skipped in front of each

/// A parser with everything around it.
class Bench : public korvane::IAudioParserClient
{
public:
    explicit Bench(std::uint32_t code, std::uint32_t sampleRate = 8000, std::uint32_t bitRate = 0)
    {
        driver.allocator = &allocator;
        driver.device.port = 8080;
        parser.SetFormat({code, sampleRate, bitRate, 16, 1});
    }

    void Send(const Bytes& payload, int skipped = 0, bool marker = false)
    {
        sequence = static_cast<std::uint16_t>(sequence + 1 + skipped);
        const Bytes exact(payload); // lets the address sanitizer see one byte too far
        parser.ParseData(exact.data(), static_cast<std::uint32_t>(exact.size()), sequence, marker);
    }

    std::string FramesOf(const Packets& packets)
    {
        for (const auto& [payload, skipped] : packets)
            Send(payload, skipped);
        return Frames();
    }

    /// "size:first byte" of each frame, with blanks between.
    std::string Frames() const
    {
        std::string text;
        for (const FrameRecord& frame : frames)
            text += (text.empty() ? "" : " ") + std::to_string(frame.data.size()) + ":" +
                    std::to_string(frame.data[0]);
        return text;
    }

    bool AudioFrame(korvane::ipcapture::IHostFrame* frame) override
    {
        frames.push_back(static_cast<korvane::test::FakeFrame*>(frame)->Record());
        if (throws)
            throw std::runtime_error("the host's");
        return takes;
    }

    korvane::test::FakeDriver driver;
    korvane::test::FakeAllocator allocator;
    korvane::CBaseRTPAudioParser parser{this, &driver, 3};
    std::vector<FrameRecord> frames;
    bool takes = true;
    bool throws = false;
    std::uint16_t sequence = 65533; // so that most streams wrap
};

Bytes Of(std::size_t count, std::uint8_t value)
{
    return Bytes(count, value);
}

/// An access unit behind its header (RFC 3640, section 3.2.1: 13 bits of size, 3 of index).
Bytes Unit(std::size_t count, std::uint8_t value)
{
    return Bytes{0, 16, static_cast<std::uint8_t>(count >> 5), static_cast<std::uint8_t>(count << 3)} +
           Of(count, value);
}

TEST(AudioParser, GathersASecondOfTelephoneSound)
{
    Bench bench(korvane::ipcapture::kFormatG711ALaw, 8000, 64000);
    for (std::uint8_t i = 1; i <= 100; ++i)
        bench.Send(Of(160, i));
    EXPECT_EQ(bench.Frames(), "8000:1 8000:51") << "the sequence wraps and nothing is lost";
    const FrameRecord& frame = bench.frames[1];
    EXPECT_EQ(frame.data[7999], 100);
    EXPECT_EQ(frame.format, korvane::ipcapture::kFormatG711ALaw);
    EXPECT_EQ(frame.driverName, "Larkmoor");
    EXPECT_EQ(frame.sampleRate, 8000u);
    EXPECT_EQ(frame.audioBitRate, 64000u);
    EXPECT_EQ(frame.audioInput, 3);
    EXPECT_EQ(frame.audioReserved, 16);
    EXPECT_FALSE(frame.stereo);
    EXPECT_TRUE(frame.timeNow);
    EXPECT_TRUE(frame.codecConfig.empty());
    EXPECT_EQ(bench.allocator.Outstanding(), 0);
}

TEST(AudioParser, LeavesOutWhatCouldNotBePlayedInOnePiece)
{
    for (const auto& [name, packets, frames] : Table<const char*, Packets, const char*>{
             {"a payload of one byte", {{Of(60, 1), 0}, {Of(1, 2), 0}, {Of(40, 3), 0}}, "100:1"},
             {"a gap", {{Of(60, 1), 0}, {Of(60, 2), 1}, {Of(40, 3), 0}}, "100:2"},
             {"a repeat", {{Of(60, 1), 0}, {Of(60, 2), -1}, {Of(60, 3), 0}}, "120:2"},
             {"more than a frame in one packet", {{Of(250, 1), 0}, {Of(100, 2), 0}}, "250:1 100:2"},
         })
        EXPECT_EQ(Bench(korvane::ipcapture::kFormatG726, 100).FramesOf(packets), frames) << name;
    Bench claims(korvane::ipcapture::kFormatG711MuLaw, 0xFFFFFFFF);
    for (int i = 0; i < 1100; ++i)
        claims.Send(Of(1000, 1));
    EXPECT_EQ(claims.frames.size(), 1u) << "a rate that no device has makes no frame without end";
}

TEST(AudioParser, TakesAccessUnitsOutOfPackets)
{
    const Bytes whole = Unit(300, 7);
    const Bytes front(whole.begin(), whole.begin() + 100);
    const Bytes back(whole.begin() + 100, whole.end());
    const Bytes two = {0, 32, 0, 40, 0, 40, 1, 1, 1, 1, 1, 2, 2, 2, 2, 2};
    for (const auto& [name, packets, frames] : Table<const char*, Packets, const char*>{
             {"one each", {{Unit(5, 1), 0}, {Unit(8191 / 8, 2), 0}}, "5:1 1023:2"},
             {"two in one packet", {{Unit(5, 1) + Unit(6, 2), 0}}, "5:1 6:2"},
             {"split", {{front, 0}, {back, 0}, {Unit(4, 8), 0}}, "300:7 4:8"},
             {"fragments with a header each",
              {{front, 0}, {Bytes(whole.begin(), whole.begin() + 4) + back, 0}},
              "300:7"},
             {"a lost packet between whole ones", {{Unit(5, 1), 0}, {Unit(6, 2), 3}}, "5:1 6:2"},
             {"torn by a loss", {{front, 0}, {Of(204, 9), 1}, {Unit(4, 8), 0}}, "4:8"},
             {"an empty one", {{Unit(0, 0) + Unit(6, 2), 0}}, "6:2"},
             {"two headers in front", {{two, 0}, {Unit(4, 8), 0}}, ""},
             {"no header", {{Of(50, 1), 0}, {Unit(4, 8), 0}}, ""},
         })
        EXPECT_EQ(Bench(korvane::ipcapture::kFormatAac, 44100, 128000).FramesOf(packets), frames) << name;
    Bench bytewise(korvane::ipcapture::kFormatAac, 44100);
    for (const std::uint8_t byte : Unit(20, 5) + Unit(3, 6))
        bytewise.Send({byte});
    EXPECT_EQ(bytewise.Frames(), "20:5 3:6");
}

/// The packets of a unit in three fragments; with `headed` each has the unit's header again (RFC 3640,
/// section 3.2.3).
std::vector<Bytes> Fragments(std::size_t count, std::uint8_t value, bool headed)
{
    const Bytes unit = Unit(count, value);
    const Bytes header(unit.begin(), unit.begin() + 4);
    std::vector<Bytes> packets;
    for (std::size_t at = 4; at < unit.size(); at += count / 3)
    {
        const auto from = unit.begin() + static_cast<std::ptrdiff_t>(at);
        const Bytes piece(from, from + static_cast<std::ptrdiff_t>(count / 3));
        packets.push_back(at == 4 || headed ? header + piece : piece);
    }
    return packets;
}

TEST(AudioParser, ResumesWithTheNextWholeUnitBehindAGap)
{
    const std::vector<std::size_t> sizes = {300, 330, 360, 300}, equal = {300, 300, 300, 300};
    const std::string ends = "--m", never = "---", always = "mmm"; // which of three fragments has the marker
    for (const auto& [name, units, headed, markers] :
         Table<const char*, std::vector<std::size_t>, bool, std::string>{
             {"RFC 3640", sizes, true, ends},
             {"of one size", equal, true, ends},
             {"no markers", sizes, true, never},
             {"a marker on all", sizes, true, always},
             {"one header", equal, false, ends},
             {"one header, no markers", equal, false, never},
             {"one header, a marker on all", equal, false, always},
         })
    {
        for (std::size_t lost = 0; lost < 12; ++lost)
        {
            SCOPED_TRACE(std::string(name) + ", lost " + std::to_string(lost));
            Bench bench(korvane::ipcapture::kFormatAac, 44100, 128000);
            bench.Send(Unit(9, 9), 0, true);
            std::string expected = "9:9";
            for (std::size_t i = 0; i < 12; ++i)
            {
                const auto value = static_cast<std::uint8_t>(i / 3 + 1);
                if (i % 3 == 0 && lost / 3 != i / 3)
                    expected += " " + std::to_string(units[i / 3]) + ":" + std::to_string(value);
                if (i != lost)
                    bench.Send(Fragments(units[i / 3], value, headed)[i % 3], lost + 1 == i ? 1 : 0,
                               markers[i % 3] == 'm');
            }
            EXPECT_EQ(bench.Frames(), expected);
            for (const FrameRecord& frame : bench.frames)
                EXPECT_EQ(frame.data, Of(frame.data.size(), frame.data[0]));
        }
    }
}

TEST(AudioParser, StallsOnForeignBytesAndSaysSoNowAndThen)
{
    korvane::platform::ManualClock clock(132'000'000'000'000'000);
    Bench bench(korvane::ipcapture::kFormatAac, 44100); // 2048 bytes without a bit rate
    bench.Send(Of(3000, 1));
    EXPECT_TRUE(bench.driver.Texts(1).empty()) << "not within ten time-outs of the start";
    for (int i = 0; i < 2; ++i)
    {
        clock.AdvanceMs(10 * bench.driver.device.networkTimeoutMs + 1);
        for (int packet = 0; packet < 50; ++packet)
            bench.Send(Unit(10, 2));
    }
    const std::string line = "korvane::CBaseRTPAudioParser::ParseACCData: Audio buffer overflow max=2048 "
                             "mAudioBuffer=2048";
    EXPECT_EQ(bench.driver.Texts(1), (std::vector<std::string>{line, line}));
    EXPECT_EQ(bench.Frames(), "");
    bench.parser.SetParameters({}); // a new session's description
    bench.Send(Unit(10, 2));
    EXPECT_EQ(bench.Frames(), "10:2");
}

TEST(AudioParser, TellsTheDecoderWhatItNeeds)
{
    for (const auto& [config, sampleRate, channels, told] : Table<Bytes, std::uint32_t, std::uint8_t, Bytes>{
             {{}, 44100, 1, {0x12, 0x08}},
             {{}, 48000, 2, {0x11, 0x90}},
             {{}, 7350, 1, {0x16, 0x08}},
             {{}, 44101, 1, {}},
             {{1, 2, 3}, 44101, 1, {1, 2, 3}},
             {Of(255, 9), 44100, 1, Of(255, 9)},
             {Of(256, 9), 44100, 1, {0x12, 0x08}},
         })
    {
        SCOPED_TRACE(sampleRate);
        Bench bench(korvane::ipcapture::kFormatAac);
        korvane::SDPAudioParameters parameters;
        parameters.config = config;
        bench.parser.SetParameters(parameters);
        bench.parser.SetFormat({korvane::ipcapture::kFormatAac, sampleRate, 0, 16, channels});
        bench.Send(Unit(5, 1));
        ASSERT_EQ(bench.frames.size(), 1u);
        EXPECT_EQ(bench.frames[0].codecConfig, told);
        EXPECT_EQ(bench.frames[0].stereo, channels == 2);
    }
}

TEST(AudioParser, LosesAFrameWithoutLosingItsPlace)
{
    Bench refused(korvane::ipcapture::kFormatG711MuLaw, 100);
    refused.takes = false;
    refused.Send(Of(100, 1));
    refused.throws = true;
    refused.Send(Of(100, 2), 5); // no gap: the parser began afresh
    const std::string line = "korvane::CBaseRTPAudioParser::ProcessAudioFrame: Audio-frame processing error, "
                             "camera 127.0.0.1:8080";
    EXPECT_EQ(refused.driver.Texts(1), (std::vector<std::string>{line, line}));

    Bench telephone(korvane::ipcapture::kFormatG711MuLaw, 100);
    telephone.allocator.Throw(true);
    telephone.Send(Of(100, 1));
    telephone.Send(Of(100, 2));
    telephone.allocator.Throw(false);
    telephone.Send(Of(100, 3));
    EXPECT_EQ(telephone.Frames(), "100:3") << "frames that were lost come back in a later one";

    for (const bool throws : {false, true})
    {
        Bench without(korvane::ipcapture::kFormatAac, 44100);
        throws ? without.allocator.Throw(true) : without.allocator.Refuse(true);
        without.Send(Unit(5, 1));
        without.allocator.Throw(false);
        without.allocator.Refuse(false);
        without.Send(Unit(6, 2));
        EXPECT_EQ(without.Frames(), "6:2");
        EXPECT_EQ(without.driver.Texts(1).size(), throws ? 0u : 1u);
        without.driver.allocator = nullptr;
        without.Send(Unit(5, 3));
        EXPECT_EQ(without.frames.size(), 1u);
    }
}

} // namespace
