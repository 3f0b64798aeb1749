#include "camera/rtsp/h264_access_unit.h"
#include "camera/rtsp/h264_truth.h"
#include "camera/rtsp/media_faults.h"
#include "camera/rtsp/rtp_stream.h"
#include "camera/rtsp/session_description.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <numeric>

namespace larkmoor::camera
{
namespace
{

using namespace std::chrono_literals;

const Bytes kSps = {0x67, 0x42, 0x00, 0x1F};
const Bytes kPps = {0x68, 0xCE, 0x3C, 0x80};

/// A frame of these slices, a key frame if the first is one of an IDR picture.
std::shared_ptr<EncodedFrame> FrameOf(const std::vector<Bytes>& slices)
{
    auto frame = std::make_shared<EncodedFrame>();
    frame->key = (slices.front()[0] & 0x1F) == 5;
    for (const Bytes& slice : slices)
    {
        frame->bytes.insert(frame->bytes.end(), {0, 0, 0, 1});
        frame->units.push_back({frame->bytes.size(), slice.size()});
        frame->bytes.insert(frame->bytes.end(), slice.begin(), slice.end());
    }
    auto sets = std::make_shared<ParameterSets>();
    sets->sps = kSps;
    sets->pps = kPps;
    frame->parameterSets = sets;
    return frame;
}

Bytes Counting(std::uint8_t header, std::size_t size)
{
    Bytes bytes(size);
    std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
    bytes[0] = header;
    return bytes;
}

std::vector<Bytes> PayloadsOf(const H264AccessUnit& unit)
{
    std::vector<Bytes> all;
    for (const RtpPayload& payload : unit.Payloads())
    {
        Bytes bytes(payload.own.begin(), payload.own.begin() + payload.ownBytes);
        bytes.insert(bytes.end(), payload.shared.begin(), payload.shared.end());
        EXPECT_EQ(payload.marker, &payload == &unit.Payloads().back());
        all.push_back(std::move(bytes));
    }
    return all;
}

Bytes operator+(Bytes left, const Bytes& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

const Bytes kCode = {0, 0, 1};
const Bytes kEnd = {0, 0, 1, 9, 0x30};
TEST(CameraH264Payload, IsCutAsTheFormatSays)
{
    const Bytes idr = {0x65, 1, 2, 3, 4, 5, 6, 7, 8, 9}; // nal_ref_idc 3
    const Bytes small = {0x41, 0x9A, 0x02};              // nal_ref_idc 2
    H264Shape shape;
    shape.payloadBytes = 10;
    EXPECT_EQ(PayloadsOf(H264AccessUnit(FrameOf({small}), shape, "")), std::vector<Bytes>{small});
    EXPECT_EQ(PayloadsOf(H264AccessUnit(FrameOf({idr}), shape, "")), (std::vector<Bytes>{kSps, kPps, idr}));

    shape.payloadBytes = 6; // pieces of four bytes behind the NAL header, which travels in the FU header
    EXPECT_EQ(PayloadsOf(H264AccessUnit(FrameOf({idr, small}), shape, "")),
              (std::vector<Bytes>{
                  kSps, kPps, {0x7C, 0x85, 1, 2, 3, 4}, {0x7C, 0x05, 5, 6, 7, 8}, {0x7C, 0x45, 9}, small}));

    shape.payloadBytes = 13;
    shape.aggregate = true;
    shape.delimiters = true;
    const auto payloads = PayloadsOf(H264AccessUnit(FrameOf({idr}), shape, "stamp"));
    ASSERT_EQ(payloads.size(), 4u);
    EXPECT_EQ(payloads[0], (Bytes{0x09, 0x30}));
    EXPECT_EQ(payloads[1], (Bytes{0x78, 0, 4, 0x67, 0x42, 0x00, 0x1F, 0, 4, 0x68, 0xCE, 0x3C, 0x80}));
    EXPECT_EQ(payloads[3], (Bytes{0x17, 's', 't', 'a', 'm', 'p'}));

    shape.payloadBytes = 12; // one byte too few for both sets in one packet
    shape.setsInBand = true;
    shape.delimiters = false;
    EXPECT_EQ(PayloadsOf(H264AccessUnit(FrameOf({idr}), shape, "")), (std::vector<Bytes>{kSps, kPps, idr}));
    shape.setsInBand = false;
    EXPECT_EQ(PayloadsOf(H264AccessUnit(FrameOf({idr}), shape, "")), std::vector<Bytes>{idr});
}

TEST(CameraH264Truth, FollowsTheRulesOfARightReceiver)
{
    const Bytes idr = Counting(0x65, 300);
    const Bytes idrRest = Counting(0x65, 50);
    const Bytes slice = Counting(0x41, 300);
    const Bytes sliceRest = Counting(0x41, 50);
    const ParameterSets none;
    ParameterSets described;
    described.sps = {0x67, 0x64};
    described.pps = {0x68, 0xEE};
    const H264Shape plain{100, true, false, false, false};
    H264Shape bare = plain;
    bare.setsInBand = false;
    H264Shape aggregated = plain;
    aggregated.aggregate = true;
    H264Shape delimited = plain;
    delimited.delimiters = true;
    const struct
    {
        const char* name;
        std::vector<Bytes> slices;
        H264Shape shape;
        const ParameterSets& described;
        std::string stamp;
        std::optional<Bytes> frame;
        bool key;
    } cases[] = {
        {"small slice", {sliceRest}, plain, none, "", kCode + sliceRest + kEnd, false},
        {"key in band", {idr}, plain, described, "", kCode + kSps + kCode + kPps + kCode + idr + kEnd, true},
        {"key, sets aggregated",
         {idr},
         aggregated,
         none,
         "",
         kCode + kSps + kCode + kPps + kCode + idr + kEnd,
         true},
        {"key, sets described only",
         {idr, idrRest},
         bare,
         described,
         "",
         kCode + described.sps + kCode + described.pps + kCode + idr + kCode + idrRest + kEnd,
         true},
        {"key, sets nowhere", {idr}, bare, none, "", kCode + idr + kEnd, false},
        {"two long slices: the second opens the frame anew",
         {slice, slice},
         plain,
         none,
         "",
         kCode + slice + kEnd,
         false},
        {"a long slice behind a short one", {sliceRest, slice}, plain, none, "", kCode + slice + kEnd, false},
        {"a short slice behind a long one",
         {slice, sliceRest},
         plain,
         none,
         "",
         kCode + slice + kCode + sliceRest + kEnd,
         false},
        {"two long key slices",
         {idr, idr},
         plain,
         none,
         "",
         kCode + kSps + kCode + kPps + kCode + idr + kCode + idr + kEnd,
         true},
        {"delimiter before a slice", {sliceRest}, delimited, none, "", std::nullopt, false},
        {"delimiter before a key",
         {idr},
         delimited,
         none,
         "",
         kCode + kSps + kCode + kPps + kCode + idr + kEnd,
         true},
        {"stamp",
         {sliceRest},
         plain,
         none,
         "now",
         kCode + sliceRest + kCode + Bytes{0x17, 'n', 'o', 'w'} + kEnd,
         false},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        const H264AccessUnit unit(FrameOf(c.slices), c.shape, c.stamp);
        const auto expected = WorkOutFrame(unit.Units(), c.described);
        EXPECT_EQ(expected.has_value(), c.frame.has_value());
        if (expected && c.frame)
        {
            EXPECT_EQ(expected->bytes, *c.frame);
            EXPECT_EQ(expected->key, c.key);
        }
    }
}

TEST(CameraRtpStream, WritesHeadersAndReports)
{
    RtpStream stream(Dice(1, "test"), 96);
    const std::uint16_t sequence = stream.NextSequence();
    const std::uint32_t ssrc = stream.Ssrc();
    RtpPayload payload;
    payload.own = {0x7C, 0x85};
    payload.ownBytes = 2;
    payload.marker = true;
    payload.shared = kSps;
    EXPECT_EQ(stream.TimestampOf(5s),
              stream.FirstTimestamp()); // whenever a stream starts, it starts at the first
    const OutPacket packet = stream.Make(payload, stream.TimestampOf(5s + 40ms));
    const std::uint32_t timestamp = stream.FirstTimestamp() + 3600;
    const auto byte = [](std::uint32_t value, int shift)
    { return static_cast<std::uint8_t>(value >> shift); };
    const Bytes head(packet.Head().begin(), packet.Head().end());
    EXPECT_EQ(head, (Bytes{0x80, 0xE0, byte(sequence, 8), byte(sequence, 0), byte(timestamp, 24),
                           byte(timestamp, 16), byte(timestamp, 8), byte(timestamp, 0), byte(ssrc, 24),
                           byte(ssrc, 16), byte(ssrc, 8), byte(ssrc, 0), 0x7C, 0x85}));
    EXPECT_EQ(packet.Size(), 18u);
    EXPECT_EQ(stream.NextSequence(), static_cast<std::uint16_t>(sequence + 1));

    // 2000-01-01 00:00:00.5: 3155673600 s since 1900 are BC 17 C2 00, and a half is 80 00 00 00.
    const auto now = std::chrono::system_clock::time_point(std::chrono::seconds(946'684'800)) + 500ms;
    const Bytes bye = stream.Bye(now, 0x01020304);
    ASSERT_EQ(bye.size(), 28u + 28u + 8u);
    EXPECT_EQ(Bytes(bye.begin(), bye.begin() + 4), (Bytes{0x80, 200, 0, 6}));
    EXPECT_EQ(Bytes(bye.begin() + 8, bye.begin() + 28),
              (Bytes{0xBC, 0x17, 0xC2, 0x00, 0x80, 0, 0, 0, 1, 2, 3, 4, 0, 0, 0, 1, 0, 0, 0, 6}));
    EXPECT_EQ(Bytes(bye.begin() + 28, bye.begin() + 32), (Bytes{0x81, 202, 0, 6}));
    EXPECT_EQ(Bytes(bye.begin() + 36, bye.begin() + 38), (Bytes{1, 15}));
    EXPECT_EQ(Bytes(bye.begin() + 56, bye.end()),
              (Bytes{0x81, 203, 0, 1, byte(ssrc, 24), byte(ssrc, 16), byte(ssrc, 8), byte(ssrc, 0)}));
}

/// Frames of three packets through the faults of `text`; gives what arrives as sequence numbers from 0 on,
/// with a
/// "|" behind each frame that was intact and a "-" behind the others.
std::string Played(const char* text, int frames)
{
    FaultPlan plan;
    std::string error;
    EXPECT_TRUE(plan.Add(text, error)) << error;
    plan.Begin();
    MediaFaults faults(plan, 7);
    RtpStream stream(Dice(1, "test"), 96);
    const std::uint16_t first = stream.NextSequence();
    std::string story;
    for (int frame = 0; frame < frames; ++frame)
    {
        faults.BeforeFrame(stream);
        PacketBatch batch;
        for (int i = 0; i < 3; ++i)
        {
            RtpPayload payload;
            payload.marker = i == 2;
            batch.packets.push_back(stream.Make(payload, 0));
        }
        const PacketFates fates = faults.Play(batch);
        for (const OutPacket& packet : batch.packets)
        {
            const auto head = packet.Head();
            story += std::to_string(static_cast<std::uint16_t>((head[2] << 8 | head[3]) - first)) + " ";
        }
        story += fates.intact ? "| " : "- ";
    }
    return story;
}

TEST(CameraMediaFaults, TellWhatTheyDid)
{
    EXPECT_EQ(Played("rtp-loss=0", 3), "0 1 2 | 3 4 5 | 6 7 8 | ");
    EXPECT_EQ(Played("rtp-loss=1", 2), "- - ");
    EXPECT_EQ(Played("rtp-dup=1", 2), "0 0 1 1 2 2 - 3 3 4 4 5 5 - ");
    EXPECT_EQ(Played("rtp-reorder=1", 2),
              "1 0 - 3 2 5 4 - "); // what is late comes behind the next, in other frames too
    EXPECT_EQ(Played("no-marker", 1), "0 1 2 - ");
    EXPECT_TRUE(Played("seq-jump", 26).ends_with("72 73 74 | 5075 5076 5077 | "));
    EXPECT_TRUE(Played("seq-jump=once", 27).ends_with("5075 5076 5077 | 78 79 80 | "));
    // The same seed has the same fates, and they come in the ratio that was asked for.
    const std::string some = Played("rtp-loss=0.1", 1000);
    EXPECT_EQ(some, Played("rtp-loss=0.1", 1000));
    const auto sent = std::count(some.begin(), some.end(), ' ') - 1000;
    EXPECT_NEAR(static_cast<double>(sent), 2700, 60);
}

TEST(CameraMediaFaults, DoublesBehindTheLastPacketLeaveAFrameWhole)
{
    FaultPlan plan;
    std::string error;
    ASSERT_TRUE(plan.Add("rtp-dup=1", error));
    plan.Begin();
    MediaFaults faults(plan, 1);
    PacketBatch batch;
    batch.packets.resize(1);
    EXPECT_TRUE(faults.Play(batch).intact);
    EXPECT_EQ(batch.packets.size(), 2u);
}

TEST(CameraSessionDescription, TellsTheStreamAndItsFaults)
{
    ParameterSets sets;
    sets.sps = {0x67, 0x42, 0x00, 0x1F, 0xFB};
    sets.pps = {0x68, 0xCE, 0x3C, 0x80};
    RtspTarget target;
    target.group = "239.128.1.1";
    target.port = 5510;
    const auto describe = [&](const char* fault)
    {
        FaultPlan plan;
        std::string error;
        EXPECT_TRUE(*fault == 0 || plan.Add(fault, error)) << error;
        plan.Begin();
        return DescribeVideo({target, "127.0.0.1", "trackID=1", sets, 25, 96}, plan);
    };
    const std::string good =
        "v=0\r\no=- 1 1 IN IP4 127.0.0.1\r\ns=RTSP server\r\nt=0 0\r\na=control:*\r\n"
        "a=range:npt=now-\r\nm=video 5510 RTP/AVP 96\r\nc=IN IP4 239.128.1.1/15\r\n"
        "a=rtpmap:96 H264/90000\r\na=fmtp:96 packetization-mode=1;profile-level-id=42001F;"
        "sprop-parameter-sets=Z0IAH/s=,aM48gA==\r\na=framerate:25\r\na=control:trackID=1\r\n";
    EXPECT_EQ(describe(""), good);
    EXPECT_EQ(describe("sprop-missing").find("sprop"), std::string::npos);
    EXPECT_NE(describe("sprop-missing").find("a=fmtp:96 packetization-mode=1;profile-level-id=42001F\r\n"),
              std::string::npos);
    EXPECT_EQ(describe("sprop-missing=no-line").find("a=fmtp"), std::string::npos);
    const std::string broken = describe("sdp-broken");
    for (const char* piece : {"m=video -5 ", "c=IN IP6 ", "m=whatever ", "a=control:trackID=1  \r\n"})
        EXPECT_NE(broken.find(piece), std::string::npos) << piece;
    EXPECT_EQ(broken.find("o="), std::string::npos);
    target.announceGroup = false;
    EXPECT_NE(describe("").find("m=video 0 RTP/AVP 96\r\nc=IN IP4 0.0.0.0\r\n"), std::string::npos);
}

} // namespace
} // namespace larkmoor::camera
