#include "audio/ip_audio_capture.h"

#include <gtest/gtest.h>

namespace korvane
{
namespace
{

struct Creator final : IAudioChannelCreator
{
    struct Channel final : IAudioInputChannel
    {
        void RequestStop() override {}
        explicit Channel(Creator& creator) : owner(creator) {}
        ~Channel() override { owner.calls += " deleted"; }
        bool Start() override
        {
            owner.calls += " start";
            return owner.starts;
        }
        bool Stop() override
        {
            owner.calls += " stop";
            return true;
        }
        std::uint32_t GetState() const override { return 5; }
        Creator& owner;
    };
    IAudioInputChannel* CreateAudioInputChannel(std::uint32_t, std::uint32_t, ipcapture::IHostAudioClient*,
                                                ipcapture::IHostCodecList*) override
    {
        return makes ? new Channel(*this) : nullptr;
    }
    IAudioOutputChannel* CreateAudioOutputChannel(std::uint32_t, std::uint32_t, std::uint32_t,
                                                  std::uint32_t) override
    {
        return nullptr;
    }
    std::string calls;
    bool starts = true;
    bool makes = true;
};

TEST(AudioObjects, KeepAsManyChannelsAsTheDeviceHas)
{
    Creator creator;
    {
        CIPAudioCapture capture(&creator, 1);
        EXPECT_EQ(capture.GetChannelState(0), 0u);
        EXPECT_FALSE(capture.StopChannel(0));
        creator.makes = false;
        EXPECT_FALSE(capture.StartChannel(0, 0, nullptr, nullptr));
        creator.makes = true;
        creator.starts = false;
        EXPECT_FALSE(capture.StartChannel(0, 0, nullptr, nullptr));
        EXPECT_EQ(std::exchange(creator.calls, ""), " start stop deleted");
        creator.starts = true;
        EXPECT_TRUE(capture.StartChannel(4, 0, nullptr, nullptr));
        EXPECT_TRUE(capture.StartChannel(4, 0, nullptr, nullptr)) << "runs already";
        EXPECT_FALSE(capture.StartChannel(5, 0, nullptr, nullptr)) << "more than the device has";
        EXPECT_EQ(capture.GetChannelCount(), 1u);
        EXPECT_EQ(capture.GetChannelState(4), 5u);
        EXPECT_TRUE(capture.StopChannel(4));
        EXPECT_EQ(std::exchange(creator.calls, ""), " start stop deleted");
        EXPECT_TRUE(capture.StartChannel(5, 0, nullptr, nullptr));
    }
    EXPECT_EQ(creator.calls, " start stop deleted");

    struct : ipcapture::IHostOutgoingAudio
    {
        std::uint32_t GetChannel() override { return 0x100; }
    } frame;
    CIPAudioSender sender(&creator, 1);
    EXPECT_FALSE(sender.StartChannel(0, 0, 0, 0));
    EXPECT_EQ(sender.GetChannelCount(), 0u);
    EXPECT_FALSE(sender.SendFrame(&frame) || sender.SendFrame(nullptr) || sender.SetChannelValue(0, 1) ||
                 sender.StopChannel(0) || sender.ReservedCall1(0, 0, 0));
    EXPECT_EQ(sender.GetChannelValue(0), 0u);
}

} // namespace
} // namespace korvane
