#include "camera/device/parameter_store.h"
#include "camera/device/profile.h"

#include <gtest/gtest.h>

using namespace larkmoor::camera;

namespace
{

void Fill(ParameterStore& store)
{
    store.Define("system_info_modelname", "IP8332", "");
    store.Define("video.maxframe", "30", "1..30");
    store.Define("video.maxframe.0", "25", "1..30");
    store.Define("videoin_c0_options", "", "framerate|quality");
    store.Define("sizes", "320x240,640x480", "");
    store.Define("videoin_c0_s0_resolution", "640x480", "{sizes}");
    store.Define("text", "a", "*");
}

} // namespace

TEST(ParameterStore, ReadsByKeyAndByGroup)
{
    ParameterStore store;
    Fill(store);
    const struct
    {
        const char* query;
        const char* answer;
    } cases[] = {
        {"system_info_modelname", "system_info_modelname='IP8332'\r\n"},
        {"system", "system_info_modelname='IP8332'\r\n"},
        // "video" heads the dotted keys and must not take those of "videoin" along.
        {"video", "video.maxframe='30'\r\nvideo.maxframe.0='25'\r\n"},
        {"video.maxframe.0", "video.maxframe.0='25'\r\n"},
        {"system&videoin_c0", "system_info_modelname='IP8332'\r\nvideoin_c0_options=''\r\n"
                              "videoin_c0_s0_resolution='640x480'\r\n"},
        {"&&text", "text='a'\r\n"},
        {"capability&status", ""},
        {"videoi", ""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(store.Read(c.query), c.answer) << c.query;
    EXPECT_NE(store.Read("").find("text='a'\r\n"), std::string::npos);
}

TEST(ParameterStore, TakesWhatObeysTheRules)
{
    const struct
    {
        const char* key;
        const char* value;
        bool taken;
    } cases[] = {
        {"system_info_modelname", "IP8332", true}, // read-only, but nothing new
        {"system_info_modelname", "IP1", false},
        {"unknown", "1", false},
        {"video.maxframe", "1", true},
        {"video.maxframe", "30", true},
        {"video.maxframe", "0", false},
        {"video.maxframe", "31", false},
        {"video.maxframe", "-1", false},
        {"video.maxframe", "4294967297", false},
        {"video.maxframe", "", false},
        {"videoin_c0_options", "quality", true},
        {"videoin_c0_options", "framerate|quality", false},
        {"videoin_c0_options", "qual", false},
        {"videoin_c0_s0_resolution", "320x240", true},
        {"videoin_c0_s0_resolution", "320x24", false},
        {"videoin_c0_s0_resolution", "", false},
        {"text", "any text", true},
        {"text", "a'b", false}, // would tear the answers' lines
        {"text", "a\r\nb", false},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(std::string(c.key) + "=" + c.value);
        ParameterStore store;
        Fill(store);
        const std::string before = store.Get(c.key);
        EXPECT_EQ(store.Change({{c.key, c.value}}).empty(), c.taken);
        EXPECT_EQ(store.Get(c.key), c.taken ? c.value : before);
    }
}

TEST(ParameterStore, ChangesAllOrNothingAndTellsWhatIsNew)
{
    ParameterStore store;
    Fill(store);
    std::vector<std::vector<std::string>> told;
    const std::uint32_t listener = store.AddListener(
        [&](const auto& keys)
        {
            told.push_back(keys);
            if (keys.front() == "text")
                store.Put("system_info_modelname", "IP9"); // from within a call, as the device's own rules do
        });

    EXPECT_EQ(store.Change({{"text", "b"}, {"video.maxframe", "99"}, {"no", "1"}}),
              (ParameterStore::Items{{"video.maxframe", "99"}, {"no", "1"}}));
    EXPECT_EQ(store.Get("text"), "a");
    EXPECT_TRUE(told.empty());

    EXPECT_TRUE(store.Change({{"text", "b"}, {"video.maxframe", "30"}, {"video.maxframe.0", "5"}}).empty());
    EXPECT_EQ(told, (std::vector<std::vector<std::string>>{{"text", "video.maxframe.0"},
                                                           {"system_info_modelname"}}));

    store.RemoveListener(listener);
    EXPECT_TRUE(store.Change({{"text", "c"}}).empty());
    EXPECT_EQ(told.size(), 2u);
}

TEST(ParameterStore, ReadsQueries)
{
    EXPECT_EQ(ParseQuery("&a=1&&b=x%20y+z%3d&c&=d&e=%4&f=%zz"),
              (ParameterStore::Items{
                  {"a", "1"}, {"b", "x y z="}, {"c", ""}, {"", "d"}, {"e", "%4"}, {"f", "%zz"}}));
}

TEST(Profile, NamesEachStreamOnce)
{
    const std::optional<Profile> server = Profile::Find("server");
    ASSERT_TRUE(server);
    ParameterStore store;
    server->Fill(store);
    EXPECT_EQ(store.Read("network_rtsp_c1_s0"), "network_rtsp_c1_s0_accessname='live2_1.sdp'\r\n"
                                                "network_rtsp_c1_s0_multicast_alwaysmulticast='0'\r\n"
                                                "network_rtsp_c1_s0_multicast_ipaddress='239.128.2.1'\r\n"
                                                "network_rtsp_c1_s0_multicast_ttl='15'\r\n"
                                                "network_rtsp_c1_s0_multicast_videoport='5210'\r\n");
    EXPECT_EQ(store.Get("videoin_c1_s1_resolution"), "4CIF");
    EXPECT_FALSE(store.Has("videoin_c2_s0_resolution"));
    EXPECT_FALSE(Profile::Find("_current")) << "a part of profiles is none itself";
}

TEST(Profile, StartsWithValuesThatItsOwnRulesTake)
{
    for (const Profile& profile : Profile::All())
    {
        ParameterStore store;
        profile.Fill(store);
        for (const Profile::Parameter& parameter : profile.parameters)
            EXPECT_TRUE(store.Change({{parameter.key, parameter.value}}).empty())
                << profile.name << " " << parameter.key << "='" << parameter.value << "' " << parameter.rule;
    }
}
