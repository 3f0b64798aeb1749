#include "host/contract/stream_client.h"

#include "host/base/stopwatch.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace larkmoor::host
{

using namespace korvane::ipcapture;

namespace
{

std::string Stamp(std::int64_t sent, unsigned number)
{
    char text[64];
    std::snprintf(text, sizeof text, "LarkmoorStamp001%016llX%08X", static_cast<unsigned long long>(sent),
                  number);
    return text;
}

std::span<const std::uint8_t> Span(const std::string& text)
{
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

class RefusingReceiver final : public IFrameReceiver
{
public:
    bool TakeFrame(FrameHold /*frame*/) override { return false; }
};

struct Fixture
{
    FaultList faults;
    FrameAllocator allocator{faults};
    DelayHistogram delays;

    bool Deliver(StreamClient& client, const std::string& bytes, std::uint32_t format = kFormatH264Delta)
    {
        IHostFrame* frame =
            allocator.AllocateVideoFrame(format, static_cast<std::uint32_t>(bytes.size()), "Test");
        std::copy(bytes.begin(), bytes.end(), frame->GetData());
        frame->SetDataSize(static_cast<std::uint32_t>(bytes.size()));
        frame->SetTimeNow();
        const bool taken = client.DeliverFrame(frame);
        allocator.ReleaseFrame(frame);
        return taken;
    }
};

} // namespace

TEST(FrameStamp, IsFoundAtBothEndsAndNowhereElse)
{
    const std::string stamp = Stamp(0x1234567890ABC, 0xFFFFFFFE);
    const std::string filler(2000, 'x');
    const struct
    {
        const char* name;
        std::string frame;
        bool found;
    } cases[] = {
        {"JPEG comment", "\xFF\xD8\xFF\xFE*" + stamp + filler, true},
        {"last unit before the delimiter", filler + stamp + std::string("\0\0\1\x09\x30", 5), true},
        {"nothing else", stamp, true},
        {"in the middle", filler + stamp + filler, false},
        {"cut off", filler + stamp.substr(0, 39), false},
        {"damaged time", filler + "LarkmoorStamp001" + "00012345 7890ABC00000001", false},
        {"empty", "", false},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        const auto found = FindStamp(Span(c.frame));
        EXPECT_EQ(found.has_value(), c.found);
        if (found && c.found)
        {
            EXPECT_EQ(found->sent, 0x1234567890ABC);
            EXPECT_EQ(found->number, 0xFFFFFFFE);
        }
    }
}

TEST(StreamClient, CountsFramesThatWereSentAndDidNotCome)
{
    Fixture f;
    StreamClient client(f.allocator, f.faults, nullptr, &f.delays);
    // One missing over the wrap; then the camera begins anew, which is no loss; then two are missing.
    for (const unsigned number : {0xFFFFFFFEu, 0xFFFFFFFFu, 1u, 2u, 0x70000000u, 0x70000003u})
        EXPECT_TRUE(f.Deliver(client, Stamp(WallMicroseconds(), number)));
    const StreamCounts counts = client.Counts();
    EXPECT_EQ(counts.stamped, 6u);
    EXPECT_EQ(counts.missingByStamp, 3u);
    EXPECT_EQ(f.delays.Count(), 6u);
    EXPECT_LT(f.delays.Quantile(1), 10'000'000u);
}

TEST(StreamClient, CountsWhatItGets)
{
    Fixture f;
    StreamClient client(f.allocator, f.faults, nullptr, nullptr);
    EXPECT_TRUE(f.Deliver(client, "abc", kFormatH264Key));
    EXPECT_TRUE(f.Deliver(client, "de"));
    client.SignalLost();
    const StreamCounts counts = client.Counts();
    EXPECT_EQ(counts.frames, 2u);
    EXPECT_EQ(counts.keyFrames, 1u);
    EXPECT_EQ(counts.bytes, 5u);
    EXPECT_EQ(counts.signalLostCount, 1u);
    EXPECT_EQ(f.allocator.Outstanding(), 0u);

    RefusingReceiver receiver;
    StreamClient refusing(f.allocator, f.faults, &receiver, nullptr);
    EXPECT_FALSE(f.Deliver(refusing, "abc"));
    EXPECT_EQ(refusing.Counts().refused, 1u);
    EXPECT_EQ(refusing.Counts().frames, 0u);
    EXPECT_EQ(f.faults.Count(), 0u);
}

} // namespace larkmoor::host
