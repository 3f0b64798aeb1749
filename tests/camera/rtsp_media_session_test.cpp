#include "camera/rtsp/media_session.h"

#include <boost/asio/io_context.hpp>
#include <gtest/gtest.h>

#include <string>

namespace larkmoor::camera
{
namespace
{

/// An output that takes everything and remembers it; a "c" for control packets, else the number of the frame
/// at 100 frames a second.
class FakeOutput : public PacketOutput
{
public:
    FakeOutput(std::string& story, bool& full) : story_(story), full_(full) {}

    void Send(PacketBatch batch) override
    {
        if (batch.packets.front().control)
        {
            const auto packet = batch.packets.front().shared;
            story_ += packet[packet.size() - 7] == 203 ? "bye " : "report ";
            return;
        }
        const auto head = batch.packets.front().Head();
        const std::uint32_t timestamp = static_cast<std::uint32_t>(head[4]) << 24 |
                                        static_cast<std::uint32_t>(head[5]) << 16 |
                                        static_cast<std::uint32_t>(head[6]) << 8 | head[7];
        if (story_.empty())
            first_ = timestamp;
        story_ += std::to_string((timestamp - first_) / 900) + " ";
    }
    bool IsFull() const override { return full_; }
    bool IsHungry() const override { return false; }

private:
    std::string& story_;
    bool& full_;
    std::uint32_t first_ = 0;
};

class CameraMediaSession : public testing::Test
{
protected:
    CameraMediaSession()
    {
        VideoSettings settings;
        settings.width = 176;
        settings.height = 144;
        settings.frameRate = 100;
        settings.keyInterval = 100; // a key frame every ten
        stream_->Configure(settings);
        faults_.Begin();
        session_ = std::make_shared<MediaSession>(
            options_, services_, counters_,
            MediaSession::Setup{context_, stream_, std::make_unique<FakeOutput>(story_, full_), {}, 1});
        session_->Play();
    }

    void Pull(int frames)
    {
        for (int i = 0; i < frames; ++i)
            stream_->Pull(*session_);
    }

    boost::asio::io_context context_;
    StreamHub hub_{context_, VideoSource::Flood}; // without a clock: the test gives the pace
    FaultPlan faults_;
    Authenticator authenticator_{{}, faults_};
    RequestLog requests_;
    TruthLog truth_;
    UnitLog units_;
    RtspOptions options_;
    RtspServices services_{hub_, authenticator_, faults_, requests_, truth_, units_, nullptr};
    SendCounters counters_;
    std::shared_ptr<VideoStream> stream_ = hub_.Stream({0, 0});
    std::string story_;
    bool full_ = false;
    std::shared_ptr<MediaSession> session_;
};

TEST_F(CameraMediaSession, ASlowClientLosesWholeFramesUpToTheNextKeyFrame)
{
    Pull(3);
    full_ = true;
    Pull(2); // frames 3 and 4
    full_ = false;
    Pull(8);
    EXPECT_EQ(story_, "0 report 1 2 10 11 12 ");
    EXPECT_EQ(counters_.frames, 6u);
    EXPECT_EQ(counters_.dropped, 7u);
    full_ = true;
    Pull(10); // the key frame is among those that do not fit
    full_ = false;
    Pull(10);
    EXPECT_EQ(story_, "0 report 1 2 10 11 12 30 31 32 ");
}

TEST_F(CameraMediaSession, EndsWithOneGoodbye)
{
    Pull(2);
    session_->Stop();
    session_->Stop();
    EXPECT_EQ(story_, "0 report 1 bye ");
}

TEST_F(CameraMediaSession, SaysGoodbyeWhenTheCodecIsNoLongerTheDescribedOne)
{
    Pull(2);
    VideoSettings settings = stream_->Settings();
    settings.codec = VideoCodec::MotionJpeg;
    settings.quantizer = 40;
    stream_->Configure(settings);
    context_.run();
    Pull(3);
    EXPECT_EQ(story_, "0 report 1 bye ");
}

} // namespace
} // namespace larkmoor::camera
