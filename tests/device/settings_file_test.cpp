#include "device/settings_file.h"

#include "support/settings_folder.h"
#include "support/table.h"

#include <gmock/gmock.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <atomic>
#include <latch>
#include <thread>

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
    const std::string mode = "<StreamingMode>multicast</StreamingMode>";
    const std::string whole = "<Configuration>" + mode + "</Configuration>";
    std::string deep, ends; // within the bound of the size, and far beyond that of the depth
    for (int i = 0; i < 140000; ++i)
    {
        deep += "<a>";
        ends += "</a>";
    }
    for (const auto& [name, content] : test::Table<const char*, std::string>{
             {"empty", ""},
             {"cut", "<Configuration>" + mode},
             {"two roots", whole + "<a/>"},
             {"another root", "<Settings>" + mode + "</Settings>"},
             {"no XML", "StreamingMode=multicast"},
             {"binary", {"\0\xFF\xFE<\0", 5}},
             {"too large", whole + std::string(16 * 1024 * 1024, ' ')},
             {"too deep", "<Configuration>" + deep + ends + mode + "</Configuration>"},
         })
    {
        SCOPED_TRACE(name);
        const CSettingsFile file = Raw(content);
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

TEST_F(SettingsFile, IsTheSystemsWhereTheHostHasNone)
{
    const test::SettingsFolder system;
    system.Write("<Configuration><StreamingMode>multicast</StreamingMode></Configuration>");
    const CSettingsFile file(folder_.Path(), "Larkmoor", system.Path());
    EXPECT_EQ(file.ReadStreamingMode(), StreamingMode::kMulticast);
    folder_.Write("<Configuration><StreamingMode>multicast primary</StreamingMode></Configuration>");
    EXPECT_EQ(file.ReadStreamingMode(), StreamingMode::kMulticastPrimary);
    folder_.Write("broken, and yet there");
    EXPECT_EQ(file.ReadStreamingMode(), StreamingMode::kUnicast);
    std::filesystem::remove(file.Path());
    EXPECT_EQ(file.ReadStreamingMode(), StreamingMode::kMulticast);
}

TEST_F(SettingsFile, SharesOneParseAmongReadersAtTheSameTime)
{
    constexpr int kReaders = 32;
    std::string devices;
    for (int i = 0; i < 30000; ++i)
        devices += Device("<RTPMode>UDP</RTPMode><VideoChannel/>", "10.0.0." + std::to_string(i));
    const CSettingsFile file = With("<StreamingMode>multicast</StreamingMode>" + devices); // over 2 MiB
    const int watch = inotify_init1(IN_NONBLOCK);
    // The system puts like events that follow each other together: a close keeps two openings apart.
    ASSERT_GE(inotify_add_watch(watch, file.Path().c_str(), IN_OPEN | IN_CLOSE_NOWRITE), 0);
    {
        std::latch ready(kReaders);
        std::vector<std::jthread> readers;
        for (int i = 0; i < kReaders; ++i)
            readers.emplace_back(
                [&]
                {
                    ready.arrive_and_wait();
                    EXPECT_EQ(file.ReadStreamingMode(), StreamingMode::kMulticast);
                });
    }
    int opened = 0;
    inotify_event event{};
    while (read(watch, &event, sizeof event) ==
           sizeof event) // a watched file's events have no name behind them
        opened += (event.mask & IN_OPEN) != 0 ? 1 : 0;
    close(watch);
    EXPECT_GE(opened, 1);
    EXPECT_LT(opened, kReaders / 2); // two, on a machine with nothing else to do
}

TEST_F(SettingsFile, ReadsWhatTheFileHoldsWhenItIsAsked)
{
    const CSettingsFile file(folder_.Path(), "Larkmoor");
    std::atomic<bool> isDone{false};
    std::vector<std::jthread> others;
    for (int i = 0; i < 3; ++i)
        others.emplace_back(
            [&]
            {
                while (!isDone)
                    file.ReadStreamingMode(); // also of a file that is half written
            });
    for (int round = 0; round < 200; ++round)
    {
        const bool isMulticast = round % 2 == 0;
        With(std::string("<StreamingMode>") + (isMulticast ? "multicast" : "unicast") + "</StreamingMode>");
        EXPECT_EQ(file.ReadStreamingMode(),
                  isMulticast ? StreamingMode::kMulticast : StreamingMode::kUnicast);
    }
    isDone = true;
}

TEST_F(SettingsFile, ChoosesOneNodeForTheRates)
{
    const std::string cbr = "<QualityMode>CBR</QualityMode>";
    const std::string own = "<VideoChannel id=\"1\"><QualityMode>AUTO</QualityMode></VideoChannel>";
    for (const auto& [name, content, channel, mode] :
         test::Table<const char*, std::string, std::uint32_t, QualityMode>{
             {"the default", Default(kCbr), 0, QualityMode::kCbr},
             {"the device before the default", Default(kCbr) + Device(kAuto), 0, QualityMode::kAuto},
             {"a device without channels hides the default", Default(kCbr) + Device(""), 0,
              QualityMode::kVbr},
             {"another device", Default(kCbr) + Device(kAuto, "192.168.1.2"), 0, QualityMode::kCbr},
             {"the channel's own id", Device(kCbr + own), 1, QualityMode::kAuto},
             {"no element with the id", Device(kCbr + own), 0, QualityMode::kCbr},
             {"the first, whatever its id", Device(own + kCbr), 2, QualityMode::kAuto},
             {"a key missing in the channel's own", Device("<VideoChannel id=\"0\"/>" + std::string(kCbr)), 0,
              QualityMode::kVbr},
             {"deeper inside", Default("<VideoChannel><Encoder>" + cbr + "</Encoder></VideoChannel>"), 0,
              QualityMode::kCbr},
         })
    {
        SCOPED_TRACE(name);
        EXPECT_EQ(With(content).ReadRateSettings(kDevice, channel).qualityMode, mode);
    }
    DEVICE_INFO otherPort = kDevice;
    otherPort.port = 8080;
    EXPECT_EQ(With(Device(kCbr)).ReadRateSettings(otherPort, 0).qualityMode, QualityMode::kVbr);
}

TEST_F(SettingsFile, ConvertsTheRates)
{
    const auto read = [this](const std::string& content)
    { return With(Default("<VideoChannel>" + content + "</VideoChannel>")).ReadRateSettings(kDevice, 0); };
    for (const auto& [quality, video, qualityMode, videoMode] :
         test::Table<const char*, const char*, QualityMode, VideoMode>{
             {"cbr auto", "auto quality", QualityMode::kCbr, VideoMode::kQuality},
             {"cbrvbr", "qualityframerate", QualityMode::kVbr, VideoMode::kFrameRate},
             {"none", "AUTO", QualityMode::kVbr, VideoMode::kAuto},
         })
    {
        SCOPED_TRACE(quality);
        const RateSettings rates = read("<QualityMode>" + std::string(quality) + "</QualityMode><VideoMode>" +
                                        video + "</VideoMode>");
        EXPECT_EQ(rates.qualityMode, qualityMode);
        EXPECT_EQ(rates.videoMode, videoMode);
    }
    const RateSettings equal = read("<MinBitrate>1000</MinBitrate><MaxBitrate>1000</MaxBitrate>");
    EXPECT_EQ(equal.minBitrate, 1000u);
    EXPECT_EQ(equal.maxBitrate, 1000u);
    for (const std::string lowest :
         {"<MinBitrate>2000</MinBitrate>", "<MinBitrate>1 000</MinBitrate>", "<MinBitrate> 1000</MinBitrate>",
          ""}) // white space is a part of the text
    {
        const RateSettings rates = read(lowest + "<MaxBitrate>1500</MaxBitrate>");
        EXPECT_EQ(rates.minBitrate, 10u) << lowest;
        EXPECT_EQ(rates.maxBitrate, 8000000u) << lowest;
    }
}

TEST_F(SettingsFile, DecidesTheTransportKeyByKey)
{
    for (const auto& [name, content, mode, blocksize] :
         test::Table<const char*, std::string, RtpMode, std::uint32_t>{
             {"default", Default("<RTPMode>rtpoverrtsp</RTPMode><RTPBlocksize>101</RTPBlocksize>"),
              RtpMode::kInterleaved, 101},
             {"device without the keys", Default("<RTPMode>RTPOVERRTSP</RTPMode>") + Device("<PTZ/>"),
              RtpMode::kInterleaved, 0},
             {"device wins", Default("<RTPMode>RTPOVERRTSP</RTPMode>") + Device("<RTPMode>UDP</RTPMode>"),
              RtpMode::kUdp, 0},
             {"an empty key is a missing one",
              Default("<RTPBlocksize>200</RTPBlocksize>") + Device("<RTPBlocksize></RTPBlocksize>"),
              RtpMode::kUdp, 200},
             {"blocksize of 100", Default("<RTPBlocksize>100</RTPBlocksize>"), RtpMode::kUdp, 0},
             {"CDATA and a comment before it",
              Default("<RTPMode><!-- as text --><![CDATA[RTPOVERRTSP]]></RTPMode>"), RtpMode::kInterleaved,
              0},
         })
    {
        SCOPED_TRACE(name);
        const TransportSettings settings = With(content).ReadTransportSettings(kDevice);
        EXPECT_EQ(settings.rtpMode, mode);
        EXPECT_EQ(settings.blocksize, blocksize);
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
