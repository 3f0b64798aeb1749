#include "parsers/jpeg_rtp_media_parser.h"

#include <cstdio>
#include <cstring>

#include <jpeglib.h>

#include "platform/clock.h"
#include "support/parser_bench.h"
#include "support/table.h"

namespace korvane
{
namespace
{

using JpegBench = test::ParserBench<CJpegRTPMediaParser>;
using test::Bytes, test::Table;
using test::operator+;

struct JpegPicture
{
    unsigned width = 64;
    unsigned height = 48;
    int quality = 50;
    bool halfHeight = true; // 4:2:0
    unsigned restart = 0;   // MCUs
    int tables = 2;         // of quantisation
};

/// A JPEG file by the library that cameras and players use, of a scene that has something of everything.
Bytes Encode(const JpegPicture& picture)
{
    jpeg_compress_struct jpeg{};
    jpeg_error_mgr errors{};
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_compress(&jpeg);
    unsigned char* memory = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&jpeg, &memory, &size);
    jpeg.image_width = picture.width;
    jpeg.image_height = picture.height;
    jpeg.input_components = 3;
    jpeg.in_color_space = JCS_RGB;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, picture.quality, TRUE);
    jpeg.comp_info[0].v_samp_factor = picture.halfHeight ? 2 : 1;
    jpeg.restart_interval = picture.restart;
    if (picture.tables == 1)
        jpeg.comp_info[1].quant_tbl_no = jpeg.comp_info[2].quant_tbl_no = 0;
    jpeg_start_compress(&jpeg, TRUE);
    Bytes row(std::size_t{3} * picture.width);
    while (jpeg.next_scanline < jpeg.image_height)
    {
        const unsigned y = jpeg.next_scanline;
        for (unsigned x = 0; x < row.size(); ++x)
            row[x] = static_cast<std::uint8_t>(x * x / 7 + y * (x % 3 + 1) + ((x / 24 + y / 8) % 2) * 90);
        JSAMPROW rows[] = {row.data()};
        jpeg_write_scanlines(&jpeg, rows, 1);
    }
    jpeg_finish_compress(&jpeg);
    Bytes file(memory, memory + size);
    jpeg_destroy_compress(&jpeg);
    std::free(memory);
    return file;
}

struct Decoded
{
    unsigned width = 0;
    unsigned height = 0;
    long warnings = 0;
    Bytes pixels;
    bool operator==(const Decoded&) const = default;
};

Decoded Decode(const Bytes& file)
{
    jpeg_decompress_struct jpeg{};
    jpeg_error_mgr errors{};
    jpeg.err = jpeg_std_error(&errors);
    errors.output_message = [](j_common_ptr) {};
    jpeg_create_decompress(&jpeg);
    jpeg_mem_src(&jpeg, file.data(), file.size());
    jpeg_read_header(&jpeg, TRUE);
    jpeg_start_decompress(&jpeg);
    Decoded decoded{jpeg.output_width, jpeg.output_height, 0, {}};
    const std::size_t stride = std::size_t{jpeg.output_width} * 3;
    decoded.pixels.resize(stride * jpeg.output_height);
    while (jpeg.output_scanline < jpeg.output_height)
    {
        JSAMPROW rows[] = {&decoded.pixels[stride * jpeg.output_scanline]};
        jpeg_read_scanlines(&jpeg, rows, 1);
    }
    jpeg_finish_decompress(&jpeg);
    decoded.warnings = errors.num_warnings;
    jpeg_destroy_decompress(&jpeg);
    return decoded;
}

/// What stands behind the header of the segment with that marker, from `from` on; its end is in `from` then.
Bytes Segment(const Bytes& file, std::uint8_t marker, std::size_t& from)
{
    for (std::size_t at = from; at + 4 < file.size(); at += 2 + (file[at + 2] * 256u + file[at + 3]))
    {
        const std::size_t end = at + 2 + file[at + 2] * 256u + file[at + 3];
        if (file[at + 1] == marker)
        {
            from = end;
            return Bytes(file.begin() + static_cast<std::ptrdiff_t>(at) + 4,
                         file.begin() + static_cast<std::ptrdiff_t>(end));
        }
    }
    return {};
}

/// Sends a file as RFC 2435 has it, in packets of `step` bytes of its scan.
void SendFile(JpegBench& bench, const Bytes& file, const JpegPicture& picture, int q, std::size_t step,
              bool withEnd = false)
{
    std::size_t at = 2;
    Bytes tables;
    if (q >= 128)
        for (int i = 0; i < picture.tables; ++i)
        {
            const Bytes table = Segment(file, 0xDB, at);
            tables = tables + Bytes(table.begin() + 1, table.end());
        }
    at = 2;
    Segment(file, 0xDA, at);
    const std::size_t end = file.size() - (withEnd ? 0 : 2);
    const auto byte = [](auto value) { return static_cast<std::uint8_t>(value); };
    const auto eighth = [&](unsigned pixels) { return byte(pixels > 2040 ? 0 : pixels / 8); };
    const std::uint8_t type = byte((picture.halfHeight ? 1 : 0) + (picture.restart != 0 ? 64 : 0));
    for (std::size_t offset = 0; at + offset < end; offset += step)
    {
        Bytes payload = {0,       byte(offset >> 16),    byte(offset >> 8),     byte(offset), type,
                         byte(q), eighth(picture.width), eighth(picture.height)};
        if (picture.restart != 0)
            payload = payload + Bytes{byte(picture.restart >> 8), byte(picture.restart), 0xFF, 0xFF};
        if (offset == 0 && q >= 128)
            payload = payload + Bytes{0, 0, 0, byte(tables.size())} + tables;
        const std::size_t count = std::min(step, end - at - offset);
        const auto from = file.begin() + static_cast<std::ptrdiff_t>(at + offset);
        bench.Send(payload + Bytes(from, from + static_cast<std::ptrdiff_t>(count)),
                   at + offset + count == end);
    }
}

TEST(JpegRTPMediaParser, RebuildsTheEncodersPicture)
{
    for (const auto& [name, picture, q, step, withEnd] :
         Table<const char*, JpegPicture, int, std::size_t, bool>{
             {"Q 1", {64, 48, 1}, 1, 1400, false},
             {"Q 49", {64, 48, 49}, 49, 1400, false},
             {"Q 50", {64, 48, 50}, 50, 1400, false},
             {"Q 99", {64, 48, 99}, 99, 1400, false},
             {"Q 50, 4:2:2", {64, 48, 50, false}, 50, 1400, false},
             {"Q 128 with tables", {64, 48, 37}, 128, 1400, false},
             {"one table for all components", {64, 48, 60, true, 0, 1}, 255, 1400, false},
             {"restart markers", {64, 48, 80, true, 3}, 80, 1400, false},
             {"restart markers, 4:2:2, tables", {64, 48, 90, false, 2}, 200, 1400, false},
             {"in small packets", {320, 240, 60, true, 20}, 60, 10, false},
             {"with its end in the stream", {64, 48, 50}, 50, 1400, true},
             {"above 2040 pixels", {2560, 1920, 70}, 70, 1400, false},
             {"above 2040 pixels, 4:2:2, restart, tables", {2560, 1920, 75, false, 160}, 255, 1400, false},
         })
    {
        SCOPED_TRACE(name);
        JpegBench bench;
        bench.resolution = {picture.width, picture.height};
        const Bytes file = Encode(picture);
        SendFile(bench, file, picture, q, step, withEnd);
        ASSERT_EQ(bench.frames.size(), 1u);
        const test::FrameRecord& frame = bench.frames[0];
        EXPECT_EQ(JpegBench::FormatOf(frame), "JPEG");
        EXPECT_EQ(frame.width, picture.width);
        EXPECT_EQ(frame.height, picture.height);
        EXPECT_TRUE(Decode(frame.data) == Decode(file)); // with no warning, as the encoder's own
    }
}

TEST(JpegRTPMediaParser, TakesTheChannelsSizeWhereTheFieldsCannotHoldIt)
{
    // Pixels in the packet, of the channel and of the frame.
    for (const auto& [field, channel, width] : Table<unsigned, std::uint32_t, std::uint32_t>{
             {512, 2560, 2560}, {704, 720, 704}, {320, 640, 320}, {312, 640, 640}, {0, 0, 2048}})
    {
        JpegBench bench;
        bench.resolution = {channel, 480};
        bench.Send({0, 0, 0, 0, 1, 50, static_cast<std::uint8_t>(field / 8), 60, 0x11}, true);
        ASSERT_EQ(bench.frames.size(), 1u) << field;
        EXPECT_EQ(bench.frames[0].width, width) << field;
        EXPECT_EQ(bench.frames[0].height, 480u);
        const Bytes& file = bench.frames[0].data; // two tables: 623 bytes, then the scan and its end
        EXPECT_EQ(file.size(), 495u + 128 + 3);
        std::size_t at = 2;
        EXPECT_EQ(Segment(file, 0xC0, at)[4], width & 0xFF);
    }
}

TEST(JpegRTPMediaParser, StartsTheTimesAnewWithANewStream)
{
    platform::ManualClock clock(133'000'000'000'000'000);
    JpegBench bench;
    const auto picture = [&]
    {
        clock.AdvanceMs(40);
        bench.timestamp += 3600;
        bench.Send({0, 0, 0, 0, 1, 50, 8, 6, 0x11, 0x22, 0x33, 0x44}, true);
    };
    for (int i = 0; i < 200; ++i) // by then the rate of the timestamps is measured
        picture();
    clock.AdvanceMs(14'000);
    bench.timestamp += 0x40000000; // the new stream's base has nothing to do with the old one
    bench.parser.StartTimesAnew();
    for (int i = 0; i < 3; ++i)
        picture();
    const auto msOfMonth = [](const SYSTEMTIME& time)
    {
        return ((time.day * 24u + time.hour) * 60 + time.minute) * 60'000 + time.second * 1000u +
               time.milliseconds;
    };
    SYSTEMTIME now{};
    ASSERT_TRUE(platform::ToSystemTime(platform::Clock::UtcTicks(), now));
    EXPECT_LE(msOfMonth(bench.frames.back().time) - msOfMonth(now), 100u);
}

const Bytes kWhole = {0, 0, 0, 0, 1, 50, 8, 6, 0x11, 0x22, 0x33, 0x44};
const Bytes kLater = {0, 0, 0, 4, 1, 50, 8, 6, 0x55};

/// A whole picture of that Q, with the header of its tables: the reserved bytes and the length in bytes.
Bytes WithTables(std::uint8_t q, std::uint16_t reserved, std::uint16_t length, std::size_t bytesBehind)
{
    const auto high = static_cast<std::uint8_t>(length >> 8);
    return Bytes{0, 0,    0,
                 0, 1,    q,
                 8, 6,    static_cast<std::uint8_t>(reserved),
                 0, high, static_cast<std::uint8_t>(length)} +
           Bytes(bytesBehind, 0x77);
}

TEST(JpegRTPMediaParser, LosesOnePictureForALossAndNoneForLies)
{
    struct Sent
    {
        Bytes payload;
        bool marker = true;
        int skipped = 0;
    };
    for (const auto& [name, sent, frames] : Table<const char*, std::vector<Sent>, std::size_t>{
             {"two packets", {{kWhole, false}, {kLater}}, 1},
             {"a gap loses the picture and what is left of it",
              {{kWhole, false}, {kLater, true, 1}, {kLater}, {kWhole}},
              1},
             {"without a beginning", {{kLater}, {kLater}, {kWhole}}, 1},
             {"too short for its offset", {{{0, 0, 0}}, {kWhole}}, 1},
             {"a short packet in the middle", {{kWhole, false}, {{0, 0, 1}, false}, {kLater}}, 1},
             // The end that is added is its scan.
             {"headers alone", {{{0, 0, 0, 0, 1, 50, 8, 6}}, {kWhole}}, 2},
             {"restart header cut off", {{{0, 0, 0, 0, 65, 50, 8, 6, 0}}, {kWhole}}, 1},
             {"tables that aren't there", {{WithTables(255, 0, 128, 0)}, {kWhole}}, 1},
             {"a length behind a reserved byte that isn't 0", {{WithTables(255, 1, 128, 0)}, {kWhole}}, 2},
             {"tables that use it up", {{WithTables(255, 0, 2, 0)}, {kWhole}}, 1},
             {"no length of tables: made from Q", {{WithTables(255, 0, 0, 1)}}, 1},
             {"tables larger than a header has room for", {{WithTables(255, 0, 1024, 1034)}}, 0},
         })
    {
        JpegBench bench;
        for (const Sent& packet : sent)
            bench.Send(packet.payload, packet.marker, packet.skipped);
        EXPECT_EQ(bench.frames.size(), frames) << name;
    }

    JpegBench bench;
    bench.allocator.Refuse(true);
    bench.Send(kWhole, true);
    EXPECT_TRUE(bench.frames.empty());
    EXPECT_EQ(bench.driver.Texts(1),
              std::vector<std::string>{
                  "korvane::CJpegRTPMediaParser::ProcessFrame: Frame allocation error, device 127.0.0.1"});
}

TEST(JpegRTPMediaParser, GivesUpAPictureWhoseMarkerNeverComes)
{
    JpegBench bench;
    bench.SendWithoutEnd(kWhole, kLater);
    bench.Send(kWhole, true);
    EXPECT_EQ(bench.frames.size(), 1u);
}

} // namespace
} // namespace korvane
