#include "parsers/mpeg4_rtp_media_parser.h"

#include "support/parser_bench.h"
#include "support/table.h"

namespace korvane
{
namespace
{

using Mpeg4Bench = test::ParserBench<CMpeg4RTPMediaParser>;
using test::Bytes;
using test::operator+;

// VOS, visual object, video object and a layer of 720x576.
const Bytes kConfig = {0, 0, 1, 0xB0, 1, 0,    0,    1,    0xB5, 0x09, 0,    0,    1,   0,
                       0, 0, 1, 0x20, 0, 0x84, 0x40, 0x06, 0x68, 0xB4, 0x22, 0x40, 0x80};
const Bytes kIntra = {0, 0, 1, 0xB6, 0x10, 0x11, 0x12};
const Bytes kInter = {0, 0, 1, 0xB6, 0x50, 0x51};
const Bytes kMore = {0x70, 0x71};

struct Sent
{
    Bytes payload;
    bool marker = true;
    int skipped = 0;
};

TEST(Mpeg4RTPMediaParser, DeliversWholePicturesFromAKeyPictureOn)
{
    using Heard = std::vector<std::pair<std::string, Bytes>>;
    for (const auto& [name, sent, heard] : test::Table<const char*, std::vector<Sent>, Heard>{
             {"configuration, key and other pictures",
              {{kConfig + kIntra}, {kInter}, {kIntra, false}, {kMore}},
              {{"DIVX", kConfig + kIntra}, {"DIVI", kInter}, {"DIVX", kConfig + kIntra + kMore}}},
             {"nothing before a key picture", {{kInter}, {kMore}, {kConfig}, {kInter}}, {}},
             {"a key picture without any configuration, then with one",
              {{kIntra}, {kInter}, {kConfig + kIntra}},
              {{"DIVX", kConfig + kIntra}}},
             {"behind a loss only a key picture, which has the configuration of before",
              {{kConfig + kIntra}, {kInter, true, 1}, {kInter}, {kIntra}, {kInter}},
              {{"DIVX", kConfig + kIntra}, {"DIVX", kConfig + kIntra}, {"DIVI", kInter}}},
             {"a picture that lost its end gives way to the next",
              {{kConfig + kIntra, false}, {kInter}},
              {{"DIVI", kInter}}},
             {"a start code inside a packet is the picture's own",
              {{kConfig + kIntra}, {kInter}, {kMore + kInter}},
              {{"DIVX", kConfig + kIntra}, {"DIVI", kInter}, {"DIVI", kMore + kInter}}},
             {"configuration alone goes with the picture in hand",
              {{kConfig + kIntra, false}, {kConfig}},
              {{"DIVX", kConfig + kIntra + kConfig}}},
         })
    {
        Mpeg4Bench bench;
        for (const Sent& packet : sent)
            bench.Send(packet.payload, packet.marker, packet.skipped);
        Heard delivered;
        for (const test::FrameRecord& frame : bench.frames)
            delivered.emplace_back(Mpeg4Bench::FormatOf(frame), frame.data);
        EXPECT_EQ(delivered, heard) << name;
    }
}

TEST(Mpeg4RTPMediaParser, TellsTheSizeAndStartsAnewWhenRefused)
{
    Mpeg4Bench bench;
    bench.Send(kConfig + kIntra, true);
    ASSERT_EQ(bench.frames.size(), 1u);
    EXPECT_EQ(bench.frames[0].width, 720u);
    EXPECT_EQ(bench.frames[0].height, 576u);
    bench.takes = false;
    bench.Send(kInter, true);
    bench.takes = true;
    bench.Send(kInter, true);
    EXPECT_EQ(bench.frames.size(), 2u); // not before the next key picture
    bench.Send(kIntra, true);
    EXPECT_EQ(bench.frames.size(), 3u);
}

TEST(Mpeg4RTPMediaParser, GivesUpAPictureThatNeverEnds)
{
    Mpeg4Bench bench;
    bench.SendWithoutEnd(kConfig + kIntra, {0x55});
    bench.Send(kIntra, true);
    EXPECT_EQ(bench.frames.size(), 1u);
}

} // namespace
} // namespace korvane
