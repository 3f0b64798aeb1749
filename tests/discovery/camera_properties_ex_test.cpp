#include "discovery/camera_properties_ex.h"

#include "discovery/stream_access_names.h"
#include "support/fake_capability_store.h"

#include <gmock/gmock.h>

namespace korvane
{

namespace
{

class Properties : public CCameraPropertiesEx
{
public:
    Properties() : CCameraPropertiesEx(DEVICE_INFO("10.0.0.9", 8080, "root", "p w", ""), 0) {}
    bool FetchProperties(std::uint32_t*) override { return false; }
    using CCameraPropertiesEx::AudioInput;
    using CCameraPropertiesEx::AudioOutput;
};

const std::vector<std::string> kConnection = {"field 1 = 10.0.0.9", "field 2 = 8080", "field 3 = root",
                                              "field 4 = p w"};

std::vector<std::string> operator+(std::vector<std::string> lines, const std::vector<std::string>& more)
{
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}

} // namespace

TEST(CameraPropertiesEx, SavesNothingThatTheDeviceLacks)
{
    Properties properties;
    test::FakeCapabilityStore store;
    EXPECT_FALSE(properties.SaveProperties(nullptr));
    EXPECT_TRUE(properties.SaveProperties(&store));
    EXPECT_EQ(
        store.Lines(),
        (std::vector<std::string>{"model = ", "value 0 = 0", "value 11 = 0", "value 12 = 0"} + kConnection));
}

TEST(CameraPropertiesEx, SavesAllInOrder)
{
    Properties properties;
    properties.SetModel("Vivotek VS1");
    properties.SetChannelCount(3);
    properties.SetInputCount(4);
    properties.SetOutputCount(5);
    properties.SetHasAudio(true);
    properties.SetHasPTZ(true);
    properties.SetModernStream1(true);
    for (const std::uint32_t code : {16u, 1u, 4u, 99u, 1u})
        properties.AddCodec(code);
    CameraResolution size(640, 480);
    properties.AddResolution(size); // without a frame time
    size.AddFrameTime(33);
    properties.AddResolution(size); // the same again
    size = CameraResolution(640, 360);
    size.AddFrameTime(40);
    size.AddFrameTime(50);
    properties.AddResolution(size);
    properties.AudioInput().count = 2;
    properties.AudioInput().stereo = true;
    properties.AudioOutput().count = 1;

    test::FakeCapabilityStore store;
    EXPECT_TRUE(properties.SaveProperties(&store));
    EXPECT_EQ(store.Lines(),
              (std::vector<std::string>{"model = Vivotek VS1", "value 0 = 3", "value 2 = 4", "value 3 = 5",
                                        "value 4 = 1", "value 1 = 1", "value 11 = 1", "value 12 = 0",
                                        "value 7 = 1", "value 7 = 1", "value 6 = 1", "value 8 = 1",
                                        "size 640x480 = 640 480 0", "size 640x360 = 640 360 40"} +
               kConnection +
               std::vector<std::string>{
                   "value 4 = 2", "parameter 101 \"Audio Input Parameters\" text = Count=2; IsStereo=1",
                   "parameter 102 \"Audio Output Parameters\" text = Count=1; IsStereo=0"}));
}

TEST(StreamAccessNames, MakeTheTextThatTravelsThroughTheHost)
{
    const struct
    {
        StreamAccessNames names;
        const char* text;
    } cases[] = {
        {{2, {{"a", "b"}}, {{"c", "d"}}}, "2;a!b;c!d"},
        {{1, {{"a"}, {"b"}}, {{"c"}, {"d"}}}, "1;a,b;c,d"},
        {{3, {{"a", "", "b"}}, {{"", "", ""}}}, "3;a!!b;!!"},
        {{4, {}, {}}, "4;;"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.names.Text(), c.text);
}

} // namespace korvane
