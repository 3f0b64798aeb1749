#include "discovery/vivotek_camera_properties.h"

#include "discovery/device_query.h"

#include <gtest/gtest.h>

namespace korvane
{

using namespace test;

TEST(VivotekCameraProperties, FailsWithItsReason)
{
    const struct
    {
        const char* name;
        Parameters parameters;
        std::string refused;
        std::uint32_t status;
        std::uint32_t code; // 0: it does not fail
    } cases[] = {
        {"model refused", kCurrent, "system_info_modelname", 401, 1},
        {"model unanswered", kCurrent, "system_info_modelname", 0, 3},
        {"older model name refused", kServer, "system.modelname", 401, 1},
        {"no model name", {}, "", 0, 3},
        {"generation refused", kCurrent, "capability&status", 401, 1},
        {"generation in error", kCurrent, "capability&status", 500, 3},
        {"older groups not found", kServer, "system&video&network", 404, 3},
        {"unknown older model", With(kServer, {{"system.modelname", "IP3137"}}), "", 0, 3},
        {"older server without channels", With(kServer, {{"video.enable.0", ""}}), "", 0, 3},
        {"older camera without a name", With(kLegacyCamera, {{"network.accessname", ""}}), "", 0, 3},
        {"older camera without a port", With(kLegacyCamera, {{"network.rtspport", ""}}), "", 0, 3},
        {"no known codec", With(kCurrent, {{"capability_videoin_codec", "H264,svc"}}), "", 0, 3},
        {"no resolution", With(kCurrent, {{"capability_videoin_resolution", ""}}), "", 0, 3},
        {"no readable resolution", With(kCurrent, {{"capability_videoin_resolution", "auto"}}), "", 0, 3},
        {"capabilities refused", kCurrent, "capability", 401, 1},
        {"capabilities of an older device not found", kServer, "capability", 404, 3},
        {"preset names refused", kCurrent, "camctrl_c0_preset", 401, 0},
        {"video refused", kCurrent, "videoin", 401, 0},
        {"network refused", kCurrent, "network", 401, 1},
        {"network empty", kCurrent, "network", 204, 3},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        Query query(c.parameters);
        if (!c.refused.empty())
            query.book->Refuse(c.refused, c.status);
        EXPECT_EQ(query.Fetch(), c.code == 0);
        EXPECT_EQ(query.code, c.code == 0 ? 77 : c.code);
    }
}

TEST(VivotekCameraProperties, AsksForOneGroupAfterTheOtherUntilItIsCancelled)
{
    const struct
    {
        const Parameters& parameters;
        std::vector<std::string> queries;
    } cases[] = {{kCurrent,
                  {"system_info_modelname", "capability&status", "capability", "camctrl_c0_preset", "videoin",
                   "network"}},
                 {kLegacyCamera,
                  {"system_info_modelname", "system.modelname", "capability&status", "system&video&network",
                   "capability"}}};
    for (const auto& c : cases)
    {
        Query whole(c.parameters);
        EXPECT_TRUE(whole.Fetch());
        EXPECT_EQ(whole.book->Queries(), c.queries);
        for (std::size_t count = 1; count <= c.queries.size(); ++count)
        {
            Query query(c.parameters);
            query.book->OnRequest(
                [&](const std::string& asked)
                {
                    if (asked == c.queries[count - 1])
                        query.properties.CancelFetch();
                });
            EXPECT_FALSE(query.Fetch());
            EXPECT_EQ(query.book->Queries().size(), count);
        }
    }
}

} // namespace korvane
