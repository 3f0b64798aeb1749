#include "runtime/stream_path_table.h"

#include <gtest/gtest.h>

namespace korvane
{
namespace
{

TEST(StreamPathTable, FindsPathsByChannelAndStream)
{
    const CStreamPathTable camera("2;video.mjpg!video2.mjpg;live.sdp!live2.sdp");
    EXPECT_EQ(camera.StreamCount(), 2u);
    EXPECT_EQ(camera.HttpPath(0, 1), "video2.mjpg");
    EXPECT_EQ(camera.RtspPath(0, 0), "live.sdp");
    EXPECT_EQ(camera.RtspPath(0, 2), "");
    EXPECT_EQ(camera.RtspPath(1, 0), "");

    const CStreamPathTable server("1;a,b;c,d");
    EXPECT_EQ(server.HttpPath(1, 0), "b");
    EXPECT_EQ(server.RtspPath(0, 0), "c");
    EXPECT_EQ(server.RtspPath(1, 1), "");
}

TEST(StreamPathTable, AcceptsAnyText)
{
    const struct
    {
        const char* text;
        std::uint32_t streamCount;
        const char* http; // of channel 0, stream 0
        const char* rtsp;
    } cases[] = {
        {"", 4, "", ""},      {"(none)", 4, "", ""},    {"2;a!b", 4, "", ""},   {"2;a;b;", 4, "", ""},
        {"2;;", 2, "", ""},   {"1;a;", 1, "a", ""}, // a device without RTSP still has its HTTP path
        {"1;;b", 1, "", "b"}, {"2;!a,b;,c", 2, "", ""}, {"x;a;b", 0, "a", "b"}, {";;", 0, "", ""},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.text);
        const CStreamPathTable table(c.text);
        EXPECT_EQ(table.StreamCount(), c.streamCount);
        EXPECT_EQ(table.HttpPath(0, 0), c.http);
        EXPECT_EQ(table.RtspPath(0, 0), c.rtsp);
    }
}

} // namespace
} // namespace korvane
