#include "channels/base_rtp_channel.h"

#include "support/fake_driver.h"
#include "support/settings_folder.h"
#include "support/watched.h"

#include <gtest/gtest.h>

namespace korvane
{
namespace
{

/// A channel whose device takes settings, and streams or refuses to as the test says; the steps are kept as
/// words.
class ScriptedChannel final : public CBaseRTPChannel
{
public:
    explicit ScriptedChannel(IDriver* driver) : CBaseRTPChannel(0, driver, nullptr) {}
    ~ScriptedChannel() override { Stop(); }

    void OnRTCPBye() override {}

    test::WatchedWords steps;
    std::string refusedStep; ///< of `steps`

protected:
    std::uint32_t RunMulticast() override { return 0; }
    bool ConfigureDevice() override { return Take("configure"); }
    bool ApplyChange(std::uint32_t) override { return Take("change"); }
    void ProcessPacket(CRTPPacket&) override {}
    bool OpenStream(bool keep) override
    {
        const bool opened = Take(keep ? "keep" : "open");
        if (opened)
            stream_.frameEvent.Set();
        return opened;
    }

private:
    bool Take(const std::string& step)
    {
        steps.Add(step);
        return step != refusedStep;
    }
};

TEST(RTPChannel, MakesAWholeNewSessionWhenAKeptOneFails)
{
    const test::SettingsFolder folder;
    test::FakeDriver driver;
    driver.hostDirectory = folder.Path();
    ScriptedChannel channel(&driver);
    channel.refusedStep = "keep";
    ASSERT_TRUE(channel.Start({}));
    ASSERT_TRUE(channel.steps.WaitForWord("open"));
    channel.ChangeSettings({320, 240, 40});
    ASSERT_TRUE(channel.steps.WaitForWord("keep, configure, open")) << channel.steps.Get();
    channel.Stop();
    EXPECT_TRUE(channel.steps.Get().starts_with("configure, open, change, keep, configure"));
}

} // namespace
} // namespace korvane
