#include "camera/fault/fault_plan.h"
#include "camera/rtsp/h264_access_unit.h"
#include "camera/rtsp/rtp_stream.h"
#include "camera/rtsp/session_description.h"

#include <gtest/gtest.h>

#include <chrono>

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
