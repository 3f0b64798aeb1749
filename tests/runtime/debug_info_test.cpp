#include "runtime/debug_info.h"

#include "runtime/bastrel_supported_features.h"

#include <gtest/gtest.h>

namespace korvane
{
namespace
{

TEST(DebugInfo, TellsOldHostsLevelsThatTheyKnow)
{
    const struct
    {
        const char* name;
        platform::ProductVersion version;
        std::uint8_t level3;
        std::uint8_t level100;
    } cases[] = {
        {"unknown", {}, 2, 2},         {"5.11", {5, 11, 65535, 65535}, 2, 2},
        {"5.12", {5, 12, 0, 0}, 3, 3}, {"6.2", {6, 2, 65535, 65535}, 3, 3},
        {"6.3", {6, 3, 0, 0}, 3, 100}, {"7.0", {7, 0, 0, 0}, 3, 100},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(HostMessageLevel(1, c.version), 1);
        EXPECT_EQ(HostMessageLevel(2, c.version), 2);
        EXPECT_EQ(HostMessageLevel(3, c.version), c.level3);
        EXPECT_EQ(HostMessageLevel(100, c.version), c.level100);
    }
}

TEST(BastrelSupportedFeatures, FollowFromTheVersion)
{
    const struct
    {
        const char* name;
        std::optional<platform::ProductVersion> version;
        bool first, second, aac4;
    } cases[] = {
        {"unknown", std::nullopt, false, false, false},
        {"just below the first", platform::ProductVersion{6, 3, 9, 9}, false, false, false},
        {"first", platform::ProductVersion{6, 4, 0, 0}, true, false, false},
        {"just below the second", platform::ProductVersion{7, 4, 3, 70}, true, false, false},
        {"second", platform::ProductVersion{7, 4, 3, 71}, true, true, false},
        {"just below AAC", platform::ProductVersion{7, 4, 3, 65535}, true, true, false},
        {"AAC", platform::ProductVersion{7, 4, 4, 0}, true, true, true},
        {"the first part counts first", platform::ProductVersion{8, 0, 0, 0}, true, true, true},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        const CBastrelSupportedFeatures features(c.version);
        EXPECT_EQ(features.IsVersionKnown(), c.version.has_value());
        EXPECT_EQ(features.SupportsFirst(), c.first);
        EXPECT_EQ(features.SupportsSecond(), c.second);
        EXPECT_EQ(features.AllowsAac4(), c.aac4);
    }
}

} // namespace
} // namespace korvane
