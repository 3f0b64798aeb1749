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

struct ClientBench
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

TEST(StreamClient, CountsFramesThatWereSentAndDidNotCome)
{
    ClientBench f;
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

} // namespace larkmoor::host
