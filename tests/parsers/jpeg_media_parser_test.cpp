#include "parsers/jpeg_media_parser.h"

#include "support/fake_driver.h"
#include "support/table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string_view>

namespace korvane
{
namespace
{

using test::Bytes;
using test::operator+;

class Receiver final : public IMediaReceiver
{
public:
    bool WantsFrames() override { return true; }
    bool OnMediaFrame(ipcapture::IHostFrame* frame) override
    {
        frames.push_back(static_cast<test::FakeFrame*>(frame)->Record());
        if (throws)
            throw std::runtime_error("the receiver throws");
        return true;
    }

    std::vector<test::FrameRecord> frames;
    bool throws = false;
};

Bytes Text(std::string_view text)
{
    return Bytes(text.begin(), text.end());
}

/// Baseline frame header: length 17, precision 8, height, width, three components.
Bytes FrameHeader(std::uint16_t width, std::uint16_t height)
{
    const auto high = [](std::uint16_t value) { return static_cast<std::uint8_t>(value >> 8); };
    const auto low = [](std::uint16_t value) { return static_cast<std::uint8_t>(value); };
    return {0xFF, 0xC0, 0x00, 0x11, 0x08, high(height), low(height), high(width), low(width), 0x03,
            0x01, 0x22, 0x00, 0x02, 0x11, 0x01,         0x03,        0x11,        0x01};
}

const Bytes kStart = {0xFF, 0xD8};
const Bytes kEnd = {0xFF, 0xD9};
const Bytes kScan = {0xFF, 0xDA, 0x00, 0x02, 0x12, 0xFF, 0x00, 0x34,
                     0xFF, 0xD0, 0x56, 0xFF, 0xFF, 0x00, 0x78};

/// A picture with a stuffed byte, a restart marker and a fill byte in its scan; `tag` tells pictures apart.
Bytes Picture(std::uint8_t tag, std::uint16_t width = 640, std::uint16_t height = 480)
{
    return kStart + FrameHeader(width, height) + kScan + Bytes{tag} + kEnd;
}

const Bytes kPart = Text("\r\n--boundary\r\nContent-Type: image/jpeg\r\nContent-Length: 39\r\n\r\n");

struct JpegMediaParser : testing::Test
{
    JpegMediaParser()
    {
        driver.allocator = &allocator;
        parser.SetReceiver(&receiver);
    }

    /// What a new parser makes of a body that comes in those blocks.
    std::vector<Bytes> Delivered(const std::vector<Bytes>& blocks)
    {
        CJpegMediaParser fresh(&driver);
        fresh.SetReceiver(&receiver);
        receiver.frames.clear();
        for (const Bytes& block : blocks)
            fresh.ParseData(block);
        std::vector<Bytes> frames;
        for (const auto& frame : receiver.frames)
            frames.push_back(frame.data);
        return frames;
    }

    test::FakeDriver driver;
    test::FakeAllocator allocator;
    Receiver receiver;
    CJpegMediaParser parser{&driver};
};

TEST_F(JpegMediaParser, CutsPicturesOutOfBlocks)
{
    const Bytes one = Picture(1);
    const Bytes two = Picture(2, 352, 288);
    const Bytes thumbnail = Picture(9, 160, 120);
    const Bytes withThumbnail =
        kStart + Bytes{0xFF, 0xE1, 0x00, 0x40} + thumbnail + FrameHeader(640, 480) + kScan + kEnd;
    const Bytes progressive = kStart + Bytes{0xFF, 0xC2, 0, 17, 8, 1, 0, 1, 0, 3, 1, 1} + kScan + kEnd;

    for (const auto& [name, blocks, frames] :
         test::Table<const char*, std::vector<Bytes>, std::vector<Bytes>>{
             {"two pictures in one block", {one + two}, {one, two}},
             {"multipart", {kPart + one + kPart + two + kPart}, {one, two}},
             {"text between blocks", {kPart, one, kPart, two}, {one, two}},
             {"head in one block, end in the next",
              {kPart + Bytes(one.begin(), one.begin() + 30), Bytes(one.begin() + 30, one.end()) + kPart},
              {one}},
             {"an end without a start", {kEnd + Text("x") + kEnd, one}, {one}},
             {"a picture cut short", {Bytes(one.begin(), one.end() - 2) + two}, {two}},
             {"a picture cut short, then a bare end", {Bytes(one.begin(), one.end() - 2), two + kEnd}, {two}},
             {"a fill byte before the start", {Bytes{0xFF} + one}, {one}},
             // The outer picture goes on behind the thumbnail's end, but is open no more.
             {"a thumbnail inside", {withThumbnail}, {thumbnail}},
             {"only baseline pictures have a size", {progressive, one}, {one}},
             {"the size stays for a picture without one",
              {one, kStart + kScan + kEnd},
              {one, kStart + kScan + kEnd}},
             {"empty and one-byte blocks", {{}, {0xFF}, {0xD8}, {}, one}, {one}},
             {"no width", {Picture(1, 0, 480), two}, {two}},
             {"no height", {Picture(1, 640, 0), two}, {two}},
         })
    {
        EXPECT_EQ(Delivered(blocks), frames) << name;
        EXPECT_EQ(allocator.Outstanding(), 0);
    }
}

TEST_F(JpegMediaParser, GivesTheSamePicturesHoweverTheBodyIsCut)
{
    const Bytes one = Picture(1);
    const Bytes two = Picture(2);
    const Bytes body = kPart + one + kPart + two + kPart;
    // A cut inside a marker, or inside the ten bytes of a frame header that hold the size, hides it.
    const auto hides = [&](std::size_t cut)
    {
        for (std::size_t at = cut >= 9 ? cut - 9 : 0; at < cut; ++at)
        {
            const std::uint8_t next = body[at] == 0xFF ? body[at + 1] : std::uint8_t{0};
            if (next == 0xC0 || ((next == 0xD8 || next == 0xD9) && at + 1 == cut))
                return true;
        }
        return false;
    };
    std::size_t hidden = 0;
    for (std::size_t cut = 0; cut <= body.size(); ++cut)
    {
        const auto at = body.begin() + static_cast<std::ptrdiff_t>(cut);
        const std::vector<Bytes> frames = Delivered({Bytes(body.begin(), at), Bytes(at, body.end())});
        const bool isHidden = cut < body.size() && hides(cut);
        hidden += isHidden ? 1 : 0;
        EXPECT_TRUE(isHidden || frames == (std::vector<Bytes>{one, two})) << cut;
    }
    EXPECT_EQ(hidden, 2u * (9 + 2)); // per picture: nine cuts in the header, one in the start, one in the end

    std::vector<Bytes> single;
    for (const std::uint8_t byte : body)
        single.push_back({byte});
    EXPECT_TRUE(Delivered(single).empty()) << "no block holds a marker";
}

TEST_F(JpegMediaParser, LosesAPictureThatTheHostDoesNotWant)
{
    allocator.Refuse(true);
    parser.ParseData(Picture(1));
    allocator.Refuse(false);
    allocator.Throw(true);
    parser.ParseData(Picture(2));
    allocator.Throw(false);
    driver.allocator = nullptr;
    parser.ParseData(Picture(3));
    driver.allocator = &allocator;
    EXPECT_TRUE(receiver.frames.empty());

    receiver.throws = true;
    parser.ParseData(Picture(4));
    EXPECT_EQ(allocator.Outstanding(), 0); // released although the receiver threw
    parser.SetReceiver(nullptr);
    parser.ParseData(Picture(5));
    EXPECT_EQ(allocator.Allocated(), 1);
    EXPECT_TRUE(driver.Messages().empty());
}

TEST_F(JpegMediaParser, BoundsWhatItCollects)
{
    const std::string line =
        "korvane::CHttpMediaParser::CheckBufferSize: Frame buffer overflow detected, device "
        "127.0.0.1:80";
    const Bytes head = kStart + FrameHeader(640, 480);
    const Bytes rest(CHttpMediaParser::kMaximumFrameBytes - head.size(), 0x11);

    parser.ParseData(head);
    parser.ParseData(rest); // exactly the limit
    EXPECT_TRUE(driver.Messages().empty());
    parser.ParseData(Bytes{0x11});
    EXPECT_EQ(driver.Texts(kLevelError), (std::vector<std::string>{line}));
    parser.ParseData(Bytes{0x11} + kEnd); // of the picture that was given up
    EXPECT_TRUE(receiver.frames.empty());
    parser.ParseData(Picture(1));
    EXPECT_EQ(receiver.frames.size(), 1u);

    // What is no picture counts too, and what stands before one doesn't count against it.
    parser.ParseData(Bytes(CHttpMediaParser::kMaximumFrameBytes - Picture(1).size(), 0x11));
    EXPECT_EQ(driver.Messages().size(), 1u);
    parser.ParseData(head);
    parser.ParseData(rest);
    EXPECT_EQ(driver.Messages().size(), 1u);
    parser.ParseData(kEnd);
    EXPECT_EQ(receiver.frames.size(), 2u);
    parser.ParseData(Bytes(CHttpMediaParser::kMaximumFrameBytes - 1, 0x11));
    EXPECT_EQ(driver.Messages().size(), 2u);
}

} // namespace
} // namespace korvane
