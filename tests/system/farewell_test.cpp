#include "system/rig.h"

#include <gtest/gtest.h>

namespace larkmoor::test
{
namespace
{

using std::chrono::seconds;

/// Far below the signal-loss time-out of 10 s, far above a new session.
constexpr seconds kSoon(6);

TEST(Farewell, OfAnInterleavedStreamIsAnsweredAtOnce)
{
    Rig::Use(host::Transport::Tcp);
    TestCamera camera({});
    TestHost recorder(camera.Device(kH264, host::Transport::Tcp));
    ASSERT_TRUE(recorder.Start());
    ASSERT_TRUE(recorder.WaitForFrames(15)); // the camera says goodbye to no younger stream
    camera.Play("bye=media-stop");
    EXPECT_TRUE(recorder.WaitForState(2, kSoon));
    camera.End("bye");
    EXPECT_TRUE(recorder.WaitForState(0, kSoon));
    recorder.Stop();
    EXPECT_EQ(recorder.Close(), "");
}

} // namespace
} // namespace larkmoor::test
