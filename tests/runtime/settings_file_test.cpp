#include "runtime/settings_file.h"

#include "support/settings_folder.h"

#include <gmock/gmock.h>

using namespace korvane;
using ::testing::SizeIs;

namespace
{

const DEVICE_INFO kDevice("192.168.1.20", 80, "root", "", "");

class SettingsFile : public ::testing::Test
{
protected:
    /// The settings of a file that holds `content` as it stands.
    CSettingsFile Raw(const std::string& content)
    {
        folder_.Write(content);
        return CSettingsFile(folder_.Path(), "Larkmoor");
    }

    CSettingsFile With(const std::string& content)
    {
        return Raw("<?xml version=\"1.0\"?>\n<Configuration>" + content + "</Configuration>\n");
    }

    static std::string Device(const std::string& content, const std::string& address = "192.168.1.20")
    {
        return "<Device address=\"" + address + "\" port=\"80\">" + content + "</Device>";
    }

    static std::string Default(const std::string& content) { return "<Default>" + content + "</Default>"; }

    const test::SettingsFolder folder_;
};

constexpr const char* kCbr = "<VideoChannel><QualityMode>CBR</QualityMode></VideoChannel>";
constexpr const char* kAuto = "<VideoChannel><QualityMode>AUTO</QualityMode></VideoChannel>";

TEST_F(SettingsFile, IsOptional)
{
    const std::string deep = [] // within the bound of the size, and far beyond that of the depth
    {
        std::string text;
        for (int i = 0; i < 140000; ++i)
            text += "<a>";
        for (int i = 0; i < 140000; ++i)
            text += "</a>";
        return text;
    }();
    const struct
    {
        const char* name;
        std::string content;
    } cases[] = {
        {"empty", ""},
        {"cut", "<Configuration><StreamingMode>multicast</StreamingMode>"},
        {"two roots", "<Configuration><StreamingMode>multicast</StreamingMode></Configuration><a/>"},
        {"another root", "<Settings><StreamingMode>multicast</StreamingMode></Settings>"},
        {"no XML", "StreamingMode=multicast"},
        {"binary", std::string("\0\xFF\xFE<\0", 5)},
        {"too large", "<Configuration><StreamingMode>multicast</StreamingMode></Configuration>" +
                          std::string(1024 * 1024, ' ')},
        {"too deep", "<Configuration>" + deep + "<StreamingMode>multicast</StreamingMode></Configuration>"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        const CSettingsFile file = Raw(c.content);
        EXPECT_EQ(file.ReadStreamingMode(), StreamingMode::kUnicast);
        EXPECT_EQ(file.ReadRateSettings(kDevice, 0).maxBitrate, 8000000u);
    }

    std::filesystem::remove(CSettingsFile(folder_.Path(), "Larkmoor").Path());
    const CSettingsFile missing(folder_.Path(), "Larkmoor");
    const RateSettings rates = missing.ReadRateSettings(kDevice, 0);
    EXPECT_EQ(rates.qualityMode, QualityMode::kVbr);
    EXPECT_EQ(rates.minBitrate, 10u);
    EXPECT_EQ(rates.maxBitrate, 8000000u);
    EXPECT_EQ(rates.videoMode, VideoMode::kFrameRate);
    const TransportSettings transport = missing.ReadTransportSettings(kDevice);
    EXPECT_EQ(transport.rtpMode, RtpMode::kUdp);
    EXPECT_EQ(transport.defaultPTZ.maxMove, 7u);
    EXPECT_EQ(transport.defaultPTZ.maxZoom, 6u);
    EXPECT_EQ(missing.ReadAudioCodecs(kDevice).input, "");
    EXPECT_EQ(CSettingsFile("", "").ReadStreamingMode(), StreamingMode::kUnicast);
}

TEST_F(SettingsFile, ChoosesOneNodeForTheRates)
{
    const std::string own = "<VideoChannel id=\"1\"><QualityMode>AUTO</QualityMode></VideoChannel>";
    const struct
    {
        const char* name;
        std::string content;
        std::uint32_t channel;
        QualityMode mode;
    } cases[] = {
        {"the default", Default(kCbr), 0, QualityMode::kCbr},
        {"the device before the default", Default(kCbr) + Device(kAuto), 0, QualityMode::kAuto},
        {"a device without channels hides the default", Default(kCbr) + Device(""), 0, QualityMode::kVbr},
        {"another device", Default(kCbr) + Device(kAuto, "192.168.1.2"), 0, QualityMode::kCbr},
        {"the channel's own id", Device(kCbr + own), 1, QualityMode::kAuto},
        {"no element with the id", Device(kCbr + own), 0, QualityMode::kCbr},
        {"the first, whatever its id", Device(own + kCbr), 2, QualityMode::kAuto},
        {"a key missing in the channel's own", Device("<VideoChannel id=\"0\"/>" + std::string(kCbr)), 0,
         QualityMode::kVbr},
        {"deeper inside",
         Default("<VideoChannel><Encoder><QualityMode>CBR</QualityMode></Encoder>"
                 "</VideoChannel>"),
         0, QualityMode::kCbr},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(With(c.content).ReadRateSettings(kDevice, c.channel).qualityMode, c.mode);
    }
    DEVICE_INFO otherPort = kDevice;
    otherPort.port = 8080;
    EXPECT_EQ(With(Device(kCbr)).ReadRateSettings(otherPort, 0).qualityMode, QualityMode::kVbr);
}

TEST_F(SettingsFile, ConvertsTheRates)
{
    const struct
    {
        const char* content;
        QualityMode quality;
        VideoMode video;
        std::uint32_t lowest;
        std::uint32_t highest;
    } cases[] = {
        {"<QualityMode>cbr auto</QualityMode><VideoMode>auto quality</VideoMode>", QualityMode::kCbr,
         VideoMode::kQuality, 10, 8000000},
        {"<QualityMode>cbrvbr</QualityMode><VideoMode>qualityframerate</VideoMode>", QualityMode::kVbr,
         VideoMode::kFrameRate, 10, 8000000},
        {"<QualityMode>none</QualityMode><VideoMode>AUTO</VideoMode>", QualityMode::kVbr, VideoMode::kAuto,
         10, 8000000},
        {"<MinBitrate>1000</MinBitrate><MaxBitrate>1000</MaxBitrate>", QualityMode::kVbr,
         VideoMode::kFrameRate, 1000, 1000},
        {"<MinBitrate>2000</MinBitrate><MaxBitrate>1000</MaxBitrate>", QualityMode::kVbr,
         VideoMode::kFrameRate, 10, 8000000},
        {"<MinBitrate>1 000</MinBitrate><MaxBitrate>2000</MaxBitrate>", QualityMode::kVbr,
         VideoMode::kFrameRate, 10, 8000000},
        {"<MinBitrate> 1000</MinBitrate><MaxBitrate>2000</MaxBitrate>", QualityMode::kVbr,
         VideoMode::kFrameRate, 10, 8000000}, // white space is a part of the text
        {"<MaxBitrate>2000</MaxBitrate>", QualityMode::kVbr, VideoMode::kFrameRate, 10, 8000000},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.content);
        const RateSettings rates =
            With(Default("<VideoChannel>" + std::string(c.content) + "</VideoChannel>"))
                .ReadRateSettings(kDevice, 0);
        EXPECT_EQ(rates.qualityMode, c.quality);
        EXPECT_EQ(rates.videoMode, c.video);
        EXPECT_EQ(rates.minBitrate, c.lowest);
        EXPECT_EQ(rates.maxBitrate, c.highest);
    }
}

TEST_F(SettingsFile, DecidesTheTransportKeyByKey)
{
    const struct
    {
        const char* name;
        std::string content;
        RtpMode mode;
        std::uint32_t blocksize;
    } cases[] = {
        {"default", Default("<RTPMode>rtpoverrtsp</RTPMode><RTPBlocksize>101</RTPBlocksize>"),
         RtpMode::kInterleaved, 101},
        {"device without the keys", Default("<RTPMode>RTPOVERRTSP</RTPMode>") + Device("<PTZ/>"),
         RtpMode::kInterleaved, 0},
        {"device wins", Default("<RTPMode>RTPOVERRTSP</RTPMode>") + Device("<RTPMode>UDP</RTPMode>"),
         RtpMode::kUdp, 0},
        {"an empty key is a missing one",
         Default("<RTPBlocksize>200</RTPBlocksize>") + Device("<RTPBlocksize></RTPBlocksize>"), RtpMode::kUdp,
         200},
        {"blocksize of 100", Default("<RTPBlocksize>100</RTPBlocksize>"), RtpMode::kUdp, 0},
        {"CDATA and a comment before it",
         Default("<RTPMode><!-- as text --><![CDATA[RTPOVERRTSP]]></RTPMode>"), RtpMode::kInterleaved, 0},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        const TransportSettings settings = With(c.content).ReadTransportSettings(kDevice);
        EXPECT_EQ(settings.rtpMode, c.mode);
        EXPECT_EQ(settings.blocksize, c.blocksize);
    }

    const CSettingsFile audio = With(Default("<AudioInputChannel><Codec>g711</Codec></AudioInputChannel>"
                                             "<AudioOutputChannel><Codec>g726</Codec></AudioOutputChannel>") +
                                     Device("<AudioInputChannel><Codec>aac4</Codec></AudioInputChannel>"));
    EXPECT_EQ(audio.ReadAudioCodecs(kDevice).input, "aac4");
    EXPECT_EQ(audio.ReadAudioCodecs(kDevice).output, "g726");
}

TEST_F(SettingsFile, TheExampleOfTheDocumentationIsRead)
{
    const CSettingsFile file(LARKMOOR_SOURCE_DIR "/docs", "larkmoor-settings");
    EXPECT_EQ(file.ReadRateSettings(kDevice, 1).qualityMode, QualityMode::kCbr);
    EXPECT_EQ(file.ReadRateSettings(kDevice, 1).maxBitrate, 1000000u);
    EXPECT_EQ(file.ReadRateSettings(kDevice, 0).qualityMode, QualityMode::kVbr);
    EXPECT_EQ(file.ReadTransportSettings(kDevice).rtpMode, RtpMode::kInterleaved);
    EXPECT_THAT(file.ReadTransportSettings(kDevice).specialPTZ, SizeIs(2));
    EXPECT_EQ(file.ReadAudioCodecs(kDevice).input, "aac4");
}

} // namespace
