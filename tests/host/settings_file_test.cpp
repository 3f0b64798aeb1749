// What the bench host writes has to mean to the driver what the person at the command line meant.

#include "host/device/settings_file.h"
#include "runtime/settings_file.h"

#include "host/frame_tests.h"

#include <gtest/gtest.h>

namespace larkmoor::host::test
{

TEST(SettingsText, MeansToTheDriverWhatWasAskedFor)
{
    const TemporaryFolder folder;
    const struct
    {
        Transport transport;
        std::optional<std::uint32_t> bitRate;
        korvane::RtpMode rtpMode;
        korvane::StreamingMode streamingMode;
    } cases[] = {
        {Transport::Udp, std::nullopt, korvane::RtpMode::kUdp, korvane::StreamingMode::kUnicast},
        {Transport::Tcp, 4'000'000, korvane::RtpMode::kInterleaved, korvane::StreamingMode::kUnicast},
        {Transport::Multicast, 10, korvane::RtpMode::kUdp, korvane::StreamingMode::kMulticast},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(static_cast<int>(c.transport));
        WriteFile(folder / kSettingsFileName, SettingsText(c.transport, c.bitRate));
        const korvane::CSettingsFile settings((folder / "").string(), "Larkmoor");
        const korvane::DEVICE_INFO device("10.0.0.1", 80, "", "", "");
        EXPECT_EQ(settings.ReadTransportSettings(device).rtpMode, c.rtpMode);
        EXPECT_EQ(settings.ReadStreamingMode(), c.streamingMode);
        const korvane::RateSettings rate = settings.ReadRateSettings(device, 3);
        EXPECT_EQ(rate.qualityMode, c.bitRate ? korvane::QualityMode::kCbr : korvane::QualityMode::kVbr);
        EXPECT_EQ(rate.maxBitrate, c.bitRate.value_or(korvane::RateSettings().maxBitrate));
        EXPECT_EQ(rate.minBitrate, c.bitRate.value_or(korvane::RateSettings().minBitrate));
    }
}

} // namespace larkmoor::host::test
